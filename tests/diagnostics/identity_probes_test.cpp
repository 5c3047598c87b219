// SPDX-License-Identifier: MIT
#include "diagnostics/identity_probes.h"

#include "accounts/credential_store_error.h"
#include "support/await.h"
#include "support/fake_clock.h"
#include "support/fake_credential_store.h"
#include "support/fake_http_session.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

class IdentityProbesTest : public QObject
{
    Q_OBJECT

private:
    FakeClock m_clock;
    std::shared_ptr<FakeHTTPSession> m_session;
    std::shared_ptr<FakeCredentialStore> m_store;
    std::shared_ptr<IdentityCounts> m_counts;

    QStringList texts(const QList<qint64> &ids)
    {
        IdentityProbeServices services;
        services.network.session = m_session;
        services.network.clock = &m_clock;
        services.credentials = m_store;
        services.endpoints.api = QUrl(QStringLiteral("https://api.test"));
        const auto sections = awaitValue(runProbes(identityProbes(services, ids, m_counts), {}, 10s, {}));
        QStringList texts;
        for (const Finding &finding : sections.first().findings)
            texts.append(finding.label + QStringLiteral(": ") + finding.text);
        return texts;
    }

    void store(qint64 id, const char *token, std::optional<Instant> expiresAt = std::nullopt)
    {
        GitHubCredential credential;
        credential.accessToken = QString::fromLatin1(token);
        credential.refreshToken = QStringLiteral("refresh");
        credential.expiresAt = expiresAt;
        m_store->credentials.insert(id, credential);
    }

private Q_SLOTS:
    void init()
    {
        m_session = std::make_shared<FakeHTTPSession>();
        m_store = std::make_shared<FakeCredentialStore>();
        m_counts = std::make_shared<IdentityCounts>();
    }

    void eachIdentityIsANumber()
    {
        store(7, "one");
        m_session->enqueue(200, R"({"resources":{"graphql":{"limit":5000,"remaining":4312,"reset":0}}})");
        const QStringList expected{QStringLiteral("identity 1: graphql 4,312 of 5,000 left"),
            QStringLiteral("identity 2: to be connected again: the keyring has no token")};
        QCOMPARE(texts({7, 8}), expected);
        QCOMPARE(m_counts->connected, 1);
        QCOMPARE(m_counts->toReconnect, 1);
        QCOMPARE(m_session->requests.size(), 1);
        QCOMPARE(m_session->requests.first().url, QUrl(QStringLiteral("https://api.test/rate_limit")));
        QCOMPARE(m_session->requests.first().headers.first().second, QByteArray("Bearer one"));
    }

    void aTokenThatHasExpiredIsNeitherUsedNorRenewed()
    {
        store(7, "old", m_clock.now() - 1s);
        QVERIFY(texts({7}).first().contains(QLatin1String("has expired")));
        QVERIFY(m_session->requests.isEmpty());
        QCOMPARE(m_store->saves, 0);
    }

    void otherAnswersAreToldWithoutTheirContent_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("text");
        QTest::newRow("refused") << 401 << "identity 1: GitHub refuses its token (HTTP 401)";
        QTest::newRow("switched off") << 404 << "identity 1: no rate limits";
        QTest::newRow("broken") << 500 << "identity 1: no rate limits told (HTTP 500)";
        QTest::newRow("unreadable") << 200 << "identity 1: no rate limits told (HTTP 200)";
    }
    void otherAnswersAreToldWithoutTheirContent()
    {
        QFETCH(int, status);
        QFETCH(QString, text);
        store(7, "one");
        m_session->enqueue(status, "{\"login\":\"secret\"}");
        QCOMPARE(texts({7}), QStringList{text});
    }

    void aLockedKeyringIsTold()
    {
        m_store->loadFailure = std::make_exception_ptr(CredentialStoreError::keychain(CredentialStoreError::Locked));
        const QString expected = CredentialStoreError::keychain(CredentialStoreError::Locked).description();
        QCOMPARE(texts({7}), QStringList{QStringLiteral("identity 1: ") + expected});
        QCOMPARE(m_counts->connected + m_counts->toReconnect, 0);
    }
};

QTEST_GUILESS_MAIN(IdentityProbesTest)
#include "identity_probes_test.moc"
