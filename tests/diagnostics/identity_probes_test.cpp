// SPDX-License-Identifier: MIT
#include "diagnostics/identity_probes.h"

#include "accounts/credential_fingerprint.h"
#include "accounts/credential_store_error.h"
#include "accounts/ended_sessions.h"
#include "support/await.h"
#include "support/fake_clock.h"
#include "support/fake_credential_store.h"
#include "support/fake_http_session.h"
#include "support/fake_preferences.h"
#include "support/file_lock.h"
#include "support/test_main.h"

#include <QDir>
#include <QTemporaryDir>
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
    QStringList m_endedSessions;
    std::unique_ptr<QTemporaryDir> m_locks;

    QStringList texts(const QList<qint64> &ids)
    {
        IdentityProbeServices services;
        services.network.session = m_session;
        services.network.clock = &m_clock;
        services.credentials = m_store;
        services.endpoints.api = QUrl(QStringLiteral("https://api.test"));
        services.endedSessions = m_endedSessions;
        services.locks = {{m_locks->path()}, QStringLiteral("service")};
        const auto findings = awaitValue(runProbes(identityProbes(services, ids, m_counts), 10s, {}));
        QStringList texts;
        for (const Finding &finding : findings)
            texts.append(finding.label + QStringLiteral(": ") + finding.text);
        return texts;
    }

    [[nodiscard]] QString lockOf(qint64 id) const
    {
        return m_locks->filePath(QStringLiteral("service-%1.lock").arg(id));
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
        m_endedSessions.clear();
        m_locks = std::make_unique<QTemporaryDir>();
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

    void aTokenThatAnotherProgramIsRenewingIsTold()
    {
        store(7, "old", m_clock.now() - 1s);
        auto other = FileLock::tryLock(lockOf(7));
        QCOMPARE(texts({7}),
            QStringList{QStringLiteral("identity 1: another Velmora program is renewing its token, or is stopped while "
                                       "it does")});
        other.reset();
        QVERIFY(texts({7}).first().endsWith(QLatin1String("it is renewed when it is used next")));
    }

    void aRenewalThatWasCutOffIsTold()
    {
        store(7, "old", m_clock.now() - 1s);
        QVERIFY(FileLock::tryLock(lockOf(7))->setNote(fingerprint(m_store->credentials.value(7))));
        QCOMPARE(texts({7}),
            QStringList{QStringLiteral("identity 1: to be connected again: a program was ended while it renewed the "
                                       "token")});
        QCOMPARE(m_counts->toReconnect, 1);
        // The account has been connected again since.
        store(7, "new", m_clock.now() - 1s);
        QVERIFY(texts({7}).first().endsWith(QLatin1String("it is renewed when it is used next")));
    }

    void lookingAtTheLocksMakesNone()
    {
        store(7, "old", m_clock.now() - 1s);
        QCOMPARE(texts({7}).size(), 1);
        QVERIFY(QDir(m_locks->path()).isEmpty());
    }

    void otherAnswersAreToldWithoutTheirContent_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("text");
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

    void aRefusedTokenIsToldWithWhatBecomesOfIt()
    {
        store(7, "one");
        m_session->enqueue(401, "{\"login\":\"secret\"}");
        QCOMPARE(texts({7}),
            QStringList{QStringLiteral("identity 1: GitHub refuses its token (HTTP 401); it is renewed when it is used "
                                       "next, and if that fails, it is to be connected again")});
        QCOMPARE(m_store->saves, 0);
        QCOMPARE(m_session->requests.size(), 1);
    }

    void aTokenThatWasReplacedMeanwhileIsAskedWithAnew()
    {
        store(7, "one");
        m_session->handler = [this](const HTTPRequest &request) {
            if (request.headers.first().second == "Bearer one") {
                store(7, "two");
                return FakeHTTPSession::response(401, {});
            }
            return FakeHTTPSession::response(404, {});
        };
        QCOMPARE(texts({7}), QStringList{QStringLiteral("identity 1: no rate limits")});
        QCOMPARE(m_session->requests.size(), 2);
    }

    void aSessionThatHasEndedIsToldAndNotTried()
    {
        store(7, "one");
        FakePreferences preferences;
        EndedSessions(&preferences).add(7, m_store->credentials.value(7));
        m_endedSessions = preferences.stringList(EndedSessions::key());
        QCOMPARE(texts({7}),
            QStringList{QStringLiteral("identity 1: to be connected again: GitHub has refused its token for good")});
        QVERIFY(m_session->requests.isEmpty());
        QCOMPARE(m_counts->toReconnect, 1);
        QCOMPARE(m_counts->connected, 0);
    }

    void aTokenThatCannotBeRenewedIsTold_data()
    {
        QTest::addColumn<bool>("hasRefreshToken");
        QTest::newRow("no refresh token") << false;
        QTest::newRow("one that has expired") << true;
    }

    void aTokenThatCannotBeRenewedIsTold()
    {
        QFETCH(bool, hasRefreshToken);
        store(7, "one", m_clock.now() - 1s);
        auto &credential = m_store->credentials[7];
        credential.refreshTokenExpiresAt = m_clock.now() - 1s;
        if (!hasRefreshToken)
            credential.refreshToken.reset();
        QCOMPARE(texts({7}),
            QStringList{
                QStringLiteral("identity 1: to be connected again: the token has expired and cannot be renewed")});
        QVERIFY(m_session->requests.isEmpty());
    }

    void aLockedKeyringIsTold()
    {
        m_store->loadFailure = std::make_exception_ptr(CredentialStoreError::keychain(CredentialStoreError::Locked));
        const QString expected = CredentialStoreError::keychain(CredentialStoreError::Locked).description();
        QCOMPARE(texts({7}), QStringList{QStringLiteral("identity 1: ") + expected});
        QCOMPARE(m_counts->connected + m_counts->toReconnect, 0);
    }
};

VELMORA_TEST(IdentityProbesTest)
#include "identity_probes_test.moc"
