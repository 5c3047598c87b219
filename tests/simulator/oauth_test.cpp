// SPDX-License-Identifier: MIT
#include "simulator/client.h"

#include "support/test_main.h"

using namespace velmora::simulator;
using namespace velmora::testing;
using namespace Qt::Literals::StringLiterals;

// tests/contract compares the answers with the documented ones.
class OAuthTest final : public QObject
{
    Q_OBJECT

    static Request form(const QByteArray &body)
    {
        return {
            "POST", "/", {}, {{"Accept", "application/json"}}, "client_id=" + demoClientID().toLatin1() + '&' + body};
    }
    static QJsonObject json(const Response &response) { return QJsonDocument::fromJson(response.body).object(); }

    World m_world = artificialWorld({.identities = 3}, 0, QUrl());
    QUrl m_web{u"http://127.0.0.1:1"_s};

    QJsonObject poll(OAuth &oauth, const QJsonObject &code, Milliseconds now)
    {
        const QByteArray deviceCode = code["device_code"_L1].toString().toLatin1();
        return json(oauth.accessToken(
            form("grant_type=urn:ietf:params:oauth:grant-type:device_code&device_code=" + deviceCode), m_world, now));
    }
    QJsonObject begin(OAuth &oauth, Milliseconds now) { return json(oauth.deviceCode(form({}), m_web, now)); }

private Q_SLOTS:
    void codesThatApproveThemselvesGoToEachPersonInTurn()
    {
        OAuthSettings settings;
        settings.autoApproveAfter = 2'000;
        OAuth oauth(settings, 1);
        QStringList logins;
        for (int i = 0; i < 4; ++i) {
            const QJsonObject code = begin(oauth, 0);
            QCOMPARE(poll(oauth, code, 1'999)["error"_L1], u"authorization_pending"_s);
            const QString token = poll(oauth, code, 6'999)["access_token"_L1].toString();
            logins.append(oauth.loginOf(token, 7'000));
        }
        QCOMPARE(logins, QStringList({u"user-1"_s, u"user-2"_s, u"user-3"_s, u"user-1"_s}));
    }

    void theEleventhTokenOfAPersonEndsTheFirst()
    {
        OAuth oauth({}, 1);
        QStringList tokens;
        for (int i = 0; i <= OAuth::kMostTokensOfOne; ++i)
            tokens.append(oauth.issueAccessToken(u"user-1"_s, 0));
        QVERIFY(oauth.loginOf(tokens[0], 0).isEmpty());
        QCOMPARE(oauth.loginOf(tokens[1], 0), u"user-1"_s);
    }

    void anAccessTokenEndsWithItsLifetime()
    {
        OAuthSettings settings;
        settings.accessTokenSeconds = 10;
        OAuth oauth(settings, 1);
        const QString token = oauth.issueAccessToken(u"user-1"_s, 0);
        QCOMPARE(oauth.loginOf(token, 9'999), u"user-1"_s);
        QVERIFY(oauth.loginOf(token, 10'000).isEmpty());
    }

    void aDecisionIsTakenOnce()
    {
        OAuth oauth({}, 1);
        const QString userCode = begin(oauth, 0)["user_code"_L1].toString();
        QCOMPARE(oauth.pendingUserCodes(), QStringList(userCode));
        QVERIFY(oauth.deny(userCode));
        QVERIFY(!oauth.approve(userCode, u"user-1"_s));
        QVERIFY(!oauth.expire(u"ABCD-EFGH"_s));
        QVERIFY(oauth.pendingUserCodes().isEmpty());
    }

    void theNumberOfCodesIsBounded()
    {
        OAuth oauth({}, 1);
        for (std::size_t i = 0; i < OAuth::kMostDeviceCodes + 5; ++i)
            begin(oauth, 0);
        QCOMPARE(std::size_t(oauth.pendingUserCodes().size()), OAuth::kMostDeviceCodes);
        begin(oauth, 1'800'001);
        QCOMPARE(oauth.pendingUserCodes().size(), 1);
    }

    void valuesMayComeAsJSONOrInTheQuery()
    {
        OAuth oauth({}, 1);
        const QByteArray id = demoClientID().toLatin1();
        QCOMPARE(oauth.deviceCode({"POST", "/", "client_id=" + id, {}, {}}, m_web, 0).status, 200);
        const Request asJSON{"POST", "/", {}, {{"Content-Type", "application/json"}}, "{\"client_id\":\"" + id + "\"}"};
        QCOMPARE(oauth.deviceCode(asJSON, m_web, 0).status, 200);
        QCOMPARE(oauth.deviceCode({"POST", "/", {}, {}, {}}, m_web, 0).status, 404);
    }
};

VELMORA_TEST(OAuthTest)
#include "oauth_test.moc"
