// SPDX-License-Identifier: MIT
#include "accounts/authentication_store.h"

#include "accounts/account_removal_error.h"
#include "accounts/credential_fingerprint.h"
#include "accounts/credential_store_error.h"
#include "accounts/installation_page.h"
#include "github/github_client_error.h"
#include "platform/pasteboard.h"
#include "platform/url_opener.h"
#include "support/await.h"
#include "support/fake_clock.h"
#include "support/fake_credential_store.h"
#include "support/fake_http_session.h"
#include "support/fake_preferences.h"
#include "support/file_lock.h"
#include "support/json.h"
#include "support/test_main.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

using Status = GitHubSessionStatus;

namespace
{

/// Records the order in which platform and stores are used.
struct Journal {
    QStringList lines;
};

class FakePasteboard final : public Pasteboard
{
public:
    explicit FakePasteboard(Journal *journal)
        : m_journal(journal)
    {
    }
    bool setText(const QString &text) override
    {
        m_journal->lines.append(QStringLiteral("copy ") + text);
        return isPresent;
    }

    bool isPresent = true;

private:
    Journal *m_journal;
};

class FakeURLOpener final : public URLOpener
{
public:
    explicit FakeURLOpener(Journal *journal)
        : m_journal(journal)
    {
    }

protected:
    bool start(const WebAddress &address, const QString &) override
    {
        m_journal->lines.append(QStringLiteral("open ") + address.text());
        return true;
    }

private:
    Journal *m_journal;
};

QByteArray quoted(QByteArray text)
{
    return text.replace('\'', '"');
}

const QByteArray kDevice = quoted("{'device_code':'DC','user_code':'ABCD-1234','verification_uri':"
                                  "'https://github.test/device','expires_in':900,'interval':5}");
const QByteArray kPending = quoted("{'error':'authorization_pending'}");
const QByteArray kToken = quoted("{'access_token':'new','expires_in':28800,'refresh_token':'new-refresh'}");

QByteArray userJSON(qint64 id, const QByteArray &login)
{
    return quoted("{'id':" + QByteArray::number(id) + ",'login':'" + login + "','avatar_url':null}");
}

GitHubCredential credential(const QString &token, std::optional<Instant> expiresAt = std::nullopt)
{
    return {token, expiresAt, token + QStringLiteral("-refresh"), std::nullopt};
}

GitHubAccount account(qint64 id, const QString &login)
{
    return {id, login, std::nullopt};
}

} // namespace

class AuthenticationStoreTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_journal = std::make_unique<Journal>();
        m_clock = std::make_unique<FakeClock>();
        m_http = std::make_shared<FakeHTTPSession>();
        m_credentials = std::make_shared<FakeCredentialStore>();
        m_defaults = std::make_unique<FakePreferences>();
        m_pasteboard = std::make_unique<FakePasteboard>(m_journal.get());
        m_opener = std::make_unique<FakeURLOpener>(m_journal.get());
        m_installationPage = std::make_unique<InstallationPage>(
            WebAddress(QStringLiteral("https://github.test/install")), m_opener.get(), m_clock.get());
        m_lockFolder.clear();
    }

    void cleanup()
    {
        m_store.reset();
        drainEvents();
    }

    // Restoring

    void withoutAStoredListThereAreNoAccounts()
    {
        makeStore();
        QVERIFY(m_store->sessions().isEmpty());
        QVERIFY(m_store->isRestored());
        QVERIFY(m_store->connectionState() == Status::Disconnected);
    }

    void aCorruptListLeavesNoAccountsAndIsNotOverwritten()
    {
        const QByteArray corrupt = quoted("[{'id':1}]");
        m_defaults->values.insert(kKey, corrupt);
        makeStore();
        QVERIFY(m_store->sessions().isEmpty());
        QVERIFY(m_defaults->writes.isEmpty());
        QCOMPARE(m_defaults->data(kKey), std::optional(corrupt));
    }

    void accountsAreListedAtOnceInStoredOrderAndTheirStatusesFollow()
    {
        m_credentials->credentials.insert(2, credential(QStringLiteral("b")));
        m_credentials->isHolding = true;
        storeAccounts({account(3, QStringLiteral("zed")), account(2, QStringLiteral("bob"))});
        makeStore();
        QSignalSpy restored(m_store.get(), &AuthenticationStore::restored);
        QCOMPARE(statuses(), QStringLiteral("zed reconnectRequired, bob reconnectRequired"));
        QVERIFY(!m_store->isRestored());
        m_credentials->release();
        m_credentials->release();
        QCOMPARE(statuses(), QStringLiteral("zed reconnectRequired, bob connected"));
        QVERIFY(m_store->isRestored());
        QCOMPARE(restored.count(), 1);
    }

    void anAccountWhoseCredentialIsGoneMustReconnectAndIsNotAskedForAgain()
    {
        storeAccounts({account(1, QStringLiteral("alice"))});
        makeStore();
        QCOMPARE(statuses(), QStringLiteral("alice reconnectRequired"));
        QCOMPARE(m_clock->sleeperCount(), 0);
    }

    void aCredentialThatCannotBeDecodedCountsAsNone()
    {
        m_credentials->credentials.insert(1, credential(QStringLiteral("a")));
        m_credentials->loadFailure = std::make_exception_ptr(DecodingError(QStringLiteral("bad")));
        storeAccounts({account(1, QStringLiteral("alice"))});
        makeStore();
        QCOMPARE(statuses(), QStringLiteral("alice reconnectRequired"));
        QCOMPARE(m_clock->sleeperCount(), 0);
    }

    void aLockedStoreIsTriedAgainQuietlyAndThenPutsTheAccountsRight()
    {
        m_credentials->credentials.insert(1, credential(QStringLiteral("a")));
        m_credentials->loadFailure = locked();
        storeAccounts({account(1, QStringLiteral("alice")), account(2, QStringLiteral("bob"))});
        makeStore();
        QVERIFY(m_store->isRestored());
        QCOMPARE(statuses(), QStringLiteral("alice reconnectRequired, bob reconnectRequired"));
        for (int i = 0; i < 4; ++i)
            QVERIFY(m_clock->advanceToNextWake());
        QCOMPARE(m_clock->requestedSleeps, QList<std::chrono::milliseconds>({5s, 15s, 60s, 60s, 60s}));
        m_credentials->loadFailure = nullptr;
        QVERIFY(m_clock->advanceToNextWake());
        QCOMPARE(statuses(), QStringLiteral("alice connected, bob reconnectRequired"));
        QCOMPARE(m_clock->sleeperCount(), 0);
        QVERIFY(m_defaults->writes.isEmpty());
    }

    void aStatusThatHasChangedMeanwhileIsNotOverwrittenByALateAnswer()
    {
        m_credentials->isHolding = true;
        storeAccounts({account(1, QStringLiteral("alice"))});
        makeStore();
        m_credentials->isHolding = false;
        m_http->handler = standardGitHub(1, "alice");
        connectCompletely();
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
        m_credentials->releaseWith(std::nullopt);
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void anAccountRemovedMeanwhileStaysRemoved()
    {
        m_credentials->credentials.insert(1, credential(QStringLiteral("a")));
        m_credentials->isHolding = true;
        storeAccounts({account(1, QStringLiteral("alice"))});
        makeStore();
        m_credentials->isHolding = false;
        awaitValue(m_store->remove(1));
        m_credentials->release();
        QVERIFY(m_store->sessions().isEmpty());
        QVERIFY(m_store->isRestored());
    }

    void theEndOfTheStoreEndsItsRetries()
    {
        m_credentials->loadFailure = locked();
        storeAccounts({account(1, QStringLiteral("alice"))});
        makeStore();
        QCOMPARE(m_clock->sleeperCount(), 1);
        m_store.reset();
        QCOMPARE(m_clock->sleeperCount(), 0);
    }

    void theEndOfTheStoreWhileTheCredentialStoreAnswersIsQuiet()
    {
        m_credentials->isHolding = true;
        storeAccounts({account(1, QStringLiteral("alice"))});
        makeStore();
        m_store.reset();
        m_credentials->release();
        QCOMPARE(m_credentials->loads, 1);
    }

    void whatAnotherProcessChangesIsFollowed()
    {
        m_credentials->credentials.insert(1, credential(QStringLiteral("a")));
        m_credentials->credentials.insert(2, credential(QStringLiteral("b")));
        storeAccounts({account(1, QStringLiteral("alice"))});
        makeStore();
        QSignalSpy changes(m_store.get(), &AuthenticationStore::sessionsChanged);
        const QList<GitHubAccount> both{account(1, QStringLiteral("alice")), account(2, QStringLiteral("bob"))};
        m_defaults->setValue(kKey, encodeJSON(both));
        QCOMPARE(statuses(), QStringLiteral("alice connected, bob connected"));
        const QList<GitHubAccount> second{account(2, QStringLiteral("bob"))};
        m_defaults->setValue(kKey, encodeJSON(second));
        QCOMPARE(statuses(), QStringLiteral("bob connected"));
        const auto count = changes.count();
        m_defaults->setValue(kKey, QByteArray("garbage"));
        QCOMPARE(statuses(), QStringLiteral("bob connected"));
        QCOMPARE(changes.count(), count);
    }

    // Connecting

    void connectingGoesThroughItsStatesAndDoesEverythingInOrder()
    {
        makeStore();
        QStringList states;
        connect(m_store.get(), &AuthenticationStore::connectionChanged, this, [this, &states] {
            states.append(rawValue(m_store->connectionState()));
            m_journal->lines.append(states.last());
        });
        m_http->handler = standardGitHub(7, "alice");
        m_credentials->journal = &m_journal->lines;
        m_store->startConnecting();
        QVERIFY(m_store->connectionState() == Status::AwaitingAuthorization);
        QCOMPARE(m_store->pendingAuthorization()->userCode, QStringLiteral("ABCD-1234"));
        QVERIFY(m_store->isCodeCopied());
        m_clock->advance(5s);
        QCOMPARE(states,
            QStringList({QStringLiteral("requestingCode"), QStringLiteral("awaitingAuthorization"),
                QStringLiteral("connected")}));
        QCOMPARE(m_journal->lines,
            QStringList({QStringLiteral("requestingCode"), QStringLiteral("copy ABCD-1234"),
                QStringLiteral("awaitingAuthorization"), QStringLiteral("open https://github.test/device"),
                QStringLiteral("save 7 new asking"), QStringLiteral("connected"),
                QStringLiteral("open https://github.test/install")}));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
        QVERIFY(!m_store->pendingAuthorization() && !m_store->errorMessage());
        QVERIFY(m_store->lastConnectedAccount() == account(7, QStringLiteral("alice")));
        QCOMPARE(m_defaults->data(kKey), std::optional(quoted("[{'id':7,'login':'alice'}]")));
        QCOMPARE(m_credentials->credentials.value(7).accessToken, QStringLiteral("new"));
    }

    void aUserWhoCannotBeAskedForIsAskedForAgain()
    {
        makeStore();
        int asked = 0;
        m_http->handler = [&asked, standard = standardGitHub(7, "alice")](const HTTPRequest &request) {
            const bool isUser = request.url.path().endsWith(QStringLiteral("/user"));
            return isUser && ++asked < 3 ? FakeHTTPSession::response(502, {}) : standard(request);
        };
        connectCompletely();
        m_clock->advance(5s);
        QVERIFY(m_store->connectionState() == Status::AwaitingAuthorization);
        m_clock->advance(5s);
        QCOMPARE(asked, 3);
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void aUserWhomGitHubRefusesToNameEndsTheConnection()
    {
        makeStore();
        m_http->handler = [standard = standardGitHub(7, "alice")](const HTTPRequest &request) {
            const bool isUser = request.url.path().endsWith(QStringLiteral("/user"));
            return isUser ? FakeHTTPSession::response(403, {}) : standard(request);
        };
        connectCompletely();
        QVERIFY(m_store->connectionState() == Status::ReconnectRequired);
        QCOMPARE(m_clock->sleeperCount(), 0);
    }

    void aUserWhoCannotBeAskedForIsGivenUpWhenTheCodeWouldHaveExpired()
    {
        makeStore();
        m_http->handler = [standard = standardGitHub(7, "alice")](const HTTPRequest &request) {
            const bool isUser = request.url.path().endsWith(QStringLiteral("/user"));
            return isUser ? FakeHTTPSession::response(502, {}) : standard(request);
        };
        connectCompletely();
        while (m_clock->advanceToNextWake()) { }
        QVERIFY(m_store->connectionState() == Status::ReconnectRequired);
        QVERIFY(m_clock->now() >= FakeClock().now() + 900s);
    }

    void aCodeThatCouldNotBeCopiedIsSaidToBeSo()
    {
        m_pasteboard->isPresent = false;
        makeStore();
        m_http->handler = standardGitHub(7, "alice");
        m_store->startConnecting();
        QVERIFY(!m_store->isCodeCopied());
    }

    void aSecondStartWhileOneRunsIsIgnored()
    {
        makeStore();
        m_store->startConnecting();
        m_store->startConnecting();
        QCOMPARE(m_http->requests.size(), 1);
        QVERIFY(m_store->connectionState() == Status::RequestingCode);
    }

    void denyingAccessLeavesAMessage()
    {
        makeStore();
        m_http->enqueue(200, kDevice);
        m_http->enqueue(200, quoted("{'error':'access_denied'}"));
        m_store->startConnecting();
        m_clock->advance(5s);
        QVERIFY(m_store->connectionState() == Status::ReconnectRequired);
        QCOMPARE(m_store->errorMessage(), std::optional(QStringLiteral("GitHub authorization was cancelled.")));
        QVERIFY(!m_store->pendingAuthorization());
        QVERIFY(m_store->sessions().isEmpty());
        m_http->handler = standardGitHub(7, "alice");
        connectCompletely();
        QVERIFY(!m_store->errorMessage());
    }

    void withoutAClientIdConnectingFailsAtOnce()
    {
        m_clientID.clear();
        makeStore();
        m_clientID = QStringLiteral("client");
        m_store->startConnecting();
        QVERIFY(m_store->connectionState() == Status::ReconnectRequired);
        QVERIFY(m_store->errorMessage().has_value());
        QVERIFY(m_http->requests.isEmpty());
    }

    void cancellingWhileWaitingLeavesNoMessage()
    {
        makeStore();
        m_http->handler = standardGitHub(7, "alice");
        m_store->startConnecting();
        m_store->cancelConnection();
        QVERIFY(m_store->connectionState() == Status::Disconnected);
        QVERIFY(!m_store->errorMessage() && !m_store->pendingAuthorization() && !m_store->isCodeCopied());
        drainEvents();
        QCOMPARE(m_clock->sleeperCount(), 0);
        QVERIFY(m_store->connectionState() == Status::Disconnected);
    }

    void aCancellationFromElsewhereIsNoFailure()
    {
        makeStore();
        m_http->enqueueFailure(std::make_exception_ptr(CancellationError()));
        m_store->startConnecting();
        QVERIFY(m_store->connectionState() == Status::Disconnected);
        QVERIFY(!m_store->errorMessage());
    }

    void aNewConnectionRightAfterACancelledOneIsNotDisturbedByIt()
    {
        makeStore();
        m_store->startConnecting();
        m_store->cancelConnection();
        m_store->startConnecting();
        drainEvents();
        QVERIFY(m_store->connectionState() == Status::RequestingCode);
        QCOMPARE(m_http->requests.size(), 2);
        m_http->handler = standardGitHub(7, "alice");
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, kDevice)));
        QVERIFY(m_store->connectionState() == Status::AwaitingAuthorization);
        m_clock->advance(5s);
        QVERIFY(m_store->connectionState() == Status::Connected);
    }

    void anObserverThatCancelsSeesNoBrowser()
    {
        makeStore();
        connect(m_store.get(), &AuthenticationStore::connectionChanged, this, [this] {
            if (m_store->connectionState() == Status::AwaitingAuthorization)
                m_store->cancelConnection();
        });
        m_http->handler = standardGitHub(7, "alice");
        m_store->startConnecting();
        QCOMPARE(m_journal->lines, QStringList(QStringLiteral("copy ABCD-1234")));
    }

    void anAccountWhoseCredentialCannotBeSavedIsNotAdded()
    {
        makeStore();
        m_http->handler = standardGitHub(7, "alice");
        m_credentials->saveFailure = locked();
        connectCompletely();
        QVERIFY(m_store->connectionState() == Status::ReconnectRequired);
        QVERIFY(m_store->errorMessage().has_value());
        QVERIFY(m_store->sessions().isEmpty());
        QVERIFY(!m_defaults->data(kKey).has_value());
    }

    void cancellingWhileTheKeyringWaitsTakesTheCredentialBack()
    {
        makeStore();
        m_http->handler = standardGitHub(7, "alice");
        m_credentials->isHolding = true;
        connectCompletely();
        m_store->cancelConnection();
        m_credentials->isHolding = false;
        m_credentials->release();
        drainEvents();
        QVERIFY(m_store->sessions().isEmpty());
        QVERIFY(m_credentials->credentials.isEmpty());
        QVERIFY(m_store->connectionState() == Status::Disconnected);
    }

    void reconnectingReplacesTheCredentialAndTheSession()
    {
        storeAccounts({account(7, QStringLiteral("old-name"))});
        makeStore();
        QCOMPARE(statuses(), QStringLiteral("old-name reconnectRequired"));
        m_http->handler = standardGitHub(7, "alice");
        connectCompletely();
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
        QCOMPARE(m_credentials->credentials.value(7).accessToken, QStringLiteral("new"));
    }

    void accountsAreKeptInAlphabeticalOrderRegardlessOfCase()
    {
        makeStore();
        qint64 id = 0;
        for (const char *login : {"zed", "Alice", "bob"}) {
            m_http->handler = standardGitHub(++id, login);
            connectCompletely();
        }
        QCOMPARE(statuses(), QStringLiteral("Alice connected, bob connected, zed connected"));
        QCOMPARE(m_defaults->data(kKey),
            std::optional(quoted("[{'id':2,'login':'Alice'},{'id':3,'login':'bob'},{'id':1,'login':'zed'}]")));
    }

    void theEndOfTheStoreEndsAConnectionQuietly_data()
    {
        QTest::addColumn<int>("phase");
        QTest::newRow("asking for the code") << 0;
        QTest::newRow("waiting for the person") << 1;
        QTest::newRow("saving") << 2;
    }

    void theEndOfTheStoreEndsAConnectionQuietly()
    {
        QFETCH(int, phase);
        makeStore();
        if (phase > 0)
            m_http->handler = standardGitHub(7, "alice");
        m_credentials->isHolding = true;
        m_store->startConnecting();
        if (phase > 1)
            m_clock->advance(5s);
        int changes = 0;
        connect(m_store.get(), &AuthenticationStore::connectionChanged, this, [&changes] { ++changes; });
        m_store.reset();
        m_credentials->release();
        drainEvents();
        QCOMPARE(changes, 0);
        QCOMPARE(m_clock->sleeperCount(), 0);
        QVERIFY(!m_journal->lines.contains(QStringLiteral("open https://github.test/install")));
    }

    // Valid credentials

    void aCredentialThatDoesNotExpireIsUsedAsItIs()
    {
        makeStoreWith(credential(QStringLiteral("old")));
        QVERIFY(awaitValue(m_store->validCredential(1)) == credential(QStringLiteral("old")));
        QVERIFY(m_http->requests.isEmpty());
    }

    void aCredentialIsRefreshedWhenLessThan300SecondsAreLeft_data()
    {
        QTest::addColumn<qint64>("secondsLeft");
        QTest::addColumn<bool>("isRefreshed");
        QTest::newRow("301") << qint64(301) << false;
        QTest::newRow("300") << qint64(300) << false;
        QTest::newRow("299") << qint64(299) << true;
        QTest::newRow("none") << qint64(0) << true;
        QTest::newRow("expired") << qint64(-3600) << true;
    }

    void aCredentialIsRefreshedWhenLessThan300SecondsAreLeft()
    {
        QFETCH(qint64, secondsLeft);
        QFETCH(bool, isRefreshed);
        makeStoreWith(credential(QStringLiteral("old"), m_clock->now() + std::chrono::seconds(secondsLeft)));
        m_http->handler = standardGitHub(1, "alice");
        QSignalSpy changes(m_store.get(), &AuthenticationStore::sessionsChanged);
        const auto valid = awaitValue(m_store->validCredential(1));
        QCOMPARE(valid.accessToken, isRefreshed ? QStringLiteral("new") : QStringLiteral("old"));
        QVERIFY(m_credentials->credentials.value(1) == valid);
        QCOMPARE(m_http->requests.size(), isRefreshed ? 1 : 0);
        QCOMPARE(changes.count(), isRefreshed ? 2 : 0); // one for refreshing, one for connected
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void aRefreshIsStoredBeforeItIsReturnedAndAsksNobody()
    {
        makeStoreWith(expired());
        m_http->handler = standardGitHub(1, "alice");
        m_credentials->isHoldingSaves = true;
        m_credentials->journal = &m_journal->lines;
        const auto valid = start(m_store->validCredential(1));
        QVERIFY(!valid->isDone);
        QCOMPARE(statuses(), QStringLiteral("alice refreshing"));
        m_credentials->release();
        QVERIFY(valid->isDone);
        QCOMPARE(m_journal->lines, QStringList(QStringLiteral("save 1 new quietly")));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void withoutACredentialTheAccountMustReconnect()
    {
        makeStoreWith(credential(QStringLiteral("old")));
        m_credentials->credentials.clear();
        const auto outcome = await(m_store->validCredential(1));
        QVERIFY(outcome.failedWith(GitHubClientError::missingAccessToken()));
        QCOMPARE(statuses(), QStringLiteral("alice reconnectRequired"));
    }

    void aStoreThatCannotBeReadIsThrownAndTheStatusIsNotTouched()
    {
        makeStoreWith(credential(QStringLiteral("old")));
        m_credentials->loadFailure = locked();
        QVERIFY(await(m_store->validCredential(1)).failedWithType<CredentialStoreError>());
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void aStoreThatCanBeReadAgainPutsItsAccountRight()
    {
        m_credentials->loadFailure = locked();
        makeStoreWith(credential(QStringLiteral("old")));
        QCOMPARE(statuses(), QStringLiteral("alice reconnectRequired"));
        m_credentials->loadFailure = nullptr;
        awaitValue(m_store->validCredential(1));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void aRefreshThatFailsIsThrownAndTheAccountMustReconnect_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QString>("description");
        QTest::newRow("GitHub is out of order") << 502 << QByteArray() << QStringLiteral("GitHub returned HTTP 502.");
        QTest::newRow("the App is refused") << 200 << quoted("{'error':'incorrect_client_credentials'}")
                                            << QStringLiteral("GitHub did not return an access token.");
    }

    void aRefreshThatFailsIsThrownAndTheAccountMustReconnect()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, answer);
        makeStoreWith(expired());
        m_http->enqueue(status, answer);
        const auto outcome = await(m_store->validCredential(1));
        QTEST(outcome.description(), "description");
        QCOMPARE(statuses(), QStringLiteral("alice reconnectRequired"));
        QVERIFY(!m_store->hasEnded(1));
        QVERIFY(m_credentials->credentials.value(1) == expired());
        m_http->handler = standardGitHub(1, "alice");
        QCOMPARE(awaitValue(m_store->validCredential(1)).accessToken, QStringLiteral("new"));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void aFinalRefusalEndsTheTriesUntilAnotherCredentialIsStored()
    {
        makeStoreWith(expired());
        m_http->enqueue(200, quoted("{'error':'bad_refresh_token'}"));
        QVERIFY(await(m_store->validCredential(1)).failedWith(GitHubClientError::missingAccessToken()));
        QCOMPARE(statuses(), QStringLiteral("alice reconnectRequired"));
        QVERIFY(m_store->hasEnded(1));
        QVERIFY(m_credentials->credentials.value(1) == expired());
        QSignalSpy changes(m_store.get(), &AuthenticationStore::sessionsChanged);
        for (int i = 0; i < 3; ++i) {
            const auto outcome = await(m_store->validCredential(1));
            QVERIFY(outcome.failedWith(GitHubClientError::missingRefreshToken()));
            QCOMPARE(outcome.description(), QStringLiteral("This GitHub account needs to be connected again."));
        }
        QCOMPARE(m_http->requests.size(), 1);
        QCOMPARE(changes.count(), 0); // no intermediate status is shown
        m_credentials->credentials.insert(1, credential(QStringLiteral("elsewhere")));
        QCOMPARE(awaitValue(m_store->validCredential(1)).accessToken, QStringLiteral("elsewhere"));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
        QVERIFY(!m_store->hasEnded(1));
    }

    void aSessionThatHasEndedIsNotCalledConnectedByTheNextProgram()
    {
        makeStoreWith(expired());
        m_http->enqueue(200, quoted("{'error':'bad_refresh_token'}"));
        QVERIFY(await(m_store->validCredential(1)).failure != nullptr);
        const QStringList kept = m_defaults->stringList(QStringLiteral("github.endedSessions"));
        QCOMPARE(kept.size(), 1);
        QVERIFY(kept.first().startsWith(QStringLiteral("1:")) && !kept.first().contains(QStringLiteral("old")));
        m_store.reset();
        makeStore();
        QCOMPARE(statuses(), QStringLiteral("alice reconnectRequired"));
        QVERIFY(m_store->hasEnded(1));
        QVERIFY(await(m_store->validCredential(1)).failedWith(GitHubClientError::missingRefreshToken()));
        QCOMPARE(m_http->requests.size(), 1);
        m_http->handler = standardGitHub(1, "alice");
        connectCompletely();
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
        QVERIFY(!m_store->hasEnded(1));
        QVERIFY(m_defaults->stringList(QStringLiteral("github.endedSessions")).isEmpty());
    }

    void whatIsRemovedLeavesNoTraceOfItsEnd()
    {
        makeStoreWith(expired());
        m_http->enqueue(200, quoted("{'error':'bad_refresh_token'}"));
        QVERIFY(await(m_store->validCredential(1)).failure != nullptr);
        awaitValue(m_store->remove(1));
        QVERIFY(m_defaults->stringList(QStringLiteral("github.endedSessions")).isEmpty());
        QVERIFY(!m_store->hasEnded(1));
    }

    void aRefusedRefreshTokenThatAnotherProcessHasUsedIsNoEnd()
    {
        makeStoreWith(expired());
        const auto outcome = start(m_store->validCredential(1));
        m_credentials->credentials.insert(1, credential(QStringLiteral("elsewhere")));
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, quoted("{'error':'bad_refresh_token'}"))));
        QCOMPARE(outcome->value->accessToken, QStringLiteral("elsewhere"));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
        QVERIFY(!m_store->hasEnded(1));
    }

    void aCredentialThatAnotherProcessHasRenewedPutsTheAccountRight()
    {
        makeStoreWith(expired());
        m_http->enqueueFailure(std::make_exception_ptr(TransportError(TransportError::Kind::Network, {})));
        QVERIFY(await(m_store->validCredential(1)).failedWithType<TransportError>());
        QCOMPARE(statuses(), QStringLiteral("alice reconnectRequired"));
        m_credentials->credentials.insert(1, credential(QStringLiteral("elsewhere")));
        awaitValue(m_store->validCredential(1));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void aStopEndsTheWaitingForTheCredentialStore()
    {
        makeStoreWith(credential(QStringLiteral("old")));
        m_credentials->isHolding = true;
        std::stop_source source;
        const auto outcome = start(m_store->validCredential(1, source.get_token()));
        source.request_stop();
        drainEvents();
        QVERIFY(outcome->failedWithType<CancellationError>());
        m_credentials->release();
    }

    // Refused tokens

    void aRefusedTokenGivesWayToANewerOneInTheStore()
    {
        makeStoreWith(credential(QStringLiteral("newer")));
        QSignalSpy changes(m_store.get(), &AuthenticationStore::sessionsChanged);
        const auto next = awaitValue(afterRefusal(QStringLiteral("old")));
        QCOMPARE(next.accessToken, QStringLiteral("newer"));
        QVERIFY(m_http->requests.isEmpty());
        QCOMPARE(changes.count(), 0); // a late refusal of an old token changes nothing
        QCOMPARE(awaitValue(m_store->validCredential(1)).accessToken, QStringLiteral("newer"));
    }

    void aRefusedTokenIsRenewedThoughItIsNotDue()
    {
        makeStoreWith(credential(QStringLiteral("old"), m_clock->now() + 10h));
        m_http->handler = standardGitHub(1, "alice");
        QCOMPARE(awaitValue(afterRefusal(QStringLiteral("old"))).accessToken, QStringLiteral("new"));
        QCOMPARE(m_http->requests.size(), 1);
        QCOMPARE(m_credentials->credentials.value(1).accessToken, QStringLiteral("new"));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void aRefusedTokenIsRenewedOnceForAllWhoMetTheRefusal()
    {
        makeStoreWith(credential(QStringLiteral("old"), m_clock->now() + 10h));
        const auto first = start(afterRefusal(QStringLiteral("old")));
        const auto second = start(afterRefusal(QStringLiteral("old")));
        const auto third = start(m_store->validCredential(1));
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, kToken)));
        QCOMPARE(m_http->requests.size(), 1);
        QCOMPARE(first->value->accessToken, QStringLiteral("new"));
        QCOMPARE(second->value->accessToken, QStringLiteral("new"));
        QCOMPARE(third->value->accessToken, QStringLiteral("new"));
    }

    void aRenewalThatDoesNotMendTheRefusalEndsTheSession()
    {
        makeStoreWith(credential(QStringLiteral("old"), m_clock->now() + 10h));
        m_http->handler = standardGitHub(1, "alice");
        awaitValue(afterRefusal(QStringLiteral("old")));
        QVERIFY(await(afterRefusal(QStringLiteral("new"))).failedWith(GitHubClientError::requestFailed(401)));
        QCOMPARE(m_http->requests.size(), 1);
        QCOMPARE(statuses(), QStringLiteral("alice reconnectRequired"));
        QVERIFY(m_store->hasEnded(1));
        QVERIFY(await(m_store->validCredential(1)).failedWith(GitHubClientError::missingRefreshToken()));
        QCOMPARE(m_http->requests.size(), 1);
    }

    void aTokenThatWasAcceptedOnceIsRenewedAgainWhenItIsRefusedLater()
    {
        makeStoreWith(credential(QStringLiteral("old"), m_clock->now() + 10h));
        m_http->handler = standardGitHub(1, "alice");
        awaitValue(afterRefusal(QStringLiteral("old")));
        m_store->credentials()->recordAccepted(1, QStringLiteral("new"));
        awaitValue(afterRefusal(QStringLiteral("new")));
        QCOMPARE(m_http->requests.size(), 2);
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void aRefusedTokenIsNotUsedAgainWhileItsRenewalFails()
    {
        makeStoreWith(credential(QStringLiteral("old"), m_clock->now() + 10h));
        m_http->enqueue(502, {});
        QVERIFY(await(afterRefusal(QStringLiteral("old"))).failedWith(GitHubClientError::requestFailed(502)));
        QCOMPARE(statuses(), QStringLiteral("alice reconnectRequired"));
        QVERIFY(!m_store->hasEnded(1));
        m_http->handler = standardGitHub(1, "alice");
        QCOMPARE(awaitValue(m_store->validCredential(1)).accessToken, QStringLiteral("new"));
        QCOMPARE(m_http->requests.size(), 2);
    }

    void aRefusedTokenThatCannotBeRenewedEndsTheSession()
    {
        auto old = credential(QStringLiteral("old"));
        old.refreshToken.reset();
        makeStoreWith(old);
        QVERIFY(await(afterRefusal(QStringLiteral("old"))).failedWith(GitHubClientError::missingRefreshToken()));
        QVERIFY(m_http->requests.isEmpty());
        QVERIFY(m_store->hasEnded(1));
    }

    void aRefusalWithoutAStoredCredentialEndsTheSession()
    {
        makeStoreWith(credential(QStringLiteral("old")));
        m_credentials->credentials.clear();
        QVERIFY(await(afterRefusal(QStringLiteral("old"))).failedWith(GitHubClientError::missingAccessToken()));
        QVERIFY(m_store->hasEnded(1));
    }

    void credentialsOfAStoreThatHasGoneAreCancelled()
    {
        makeStoreWith(credential(QStringLiteral("old")));
        const auto credentials = m_store->credentials();
        m_store.reset();
        QVERIFY(await(awaited(credentials)).failedWithType<CancellationError>());
        credentials->recordAccepted(1, QStringLiteral("old"));
    }

    // Connected again elsewhere

    void anAccountThatAnotherProcessConnectsAgainIsNoticedThoughItsRecordIsTheSame()
    {
        makeStoreWith(expired());
        m_http->enqueue(200, quoted("{'error':'bad_refresh_token'}"));
        QVERIFY(await(m_store->validCredential(1)).failure != nullptr);
        QSignalSpy news(m_store.get(), &AuthenticationStore::credentialChanged);
        AuthenticationStore other(client(), m_credentials, services());
        m_http->handler = standardGitHub(1, "alice");
        other.startConnecting();
        m_clock->advance(5s);
        QVERIFY(other.connectionState() == Status::Connected);
        QCOMPARE(news.count(), 1);
        QCOMPARE(news.first().first().toLongLong(), 1);
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
        QVERIFY(!m_store->hasEnded(1));
    }

    void anOwnConnectionIsToldOnce()
    {
        makeStoreWith(credential(QStringLiteral("old")));
        QSignalSpy news(m_store.get(), &AuthenticationStore::credentialChanged);
        m_http->handler = standardGitHub(1, "alice");
        connectCompletely();
        QCOMPARE(news.count(), 1);
        QCOMPARE(m_defaults->stringList(QStringLiteral("github.connections")), QStringList(QStringLiteral("1:1")));
        connectCompletely();
        QCOMPARE(news.count(), 2);
        QCOMPARE(m_defaults->stringList(QStringLiteral("github.connections")), QStringList(QStringLiteral("1:2")));
    }

    void aConnectionElsewhereOfAnAccountThatIsNotListedIsNoNews()
    {
        makeStoreWith(credential(QStringLiteral("old")));
        QSignalSpy news(m_store.get(), &AuthenticationStore::credentialChanged);
        m_defaults->setValue(QStringLiteral("github.connections"), QStringList({QStringLiteral("2:1")}));
        m_defaults->setValue(QStringLiteral("github.connections"), QStringList({QStringLiteral("nonsense")}));
        QCOMPARE(news.count(), 0);
    }

    void aConnectionElsewhereHasOpenedTheInstallationPage()
    {
        makeStoreWith(credential(QStringLiteral("old")));
        QVERIFY(!m_installationPage->wasOpenedLately());
        m_defaults->setValue(QStringLiteral("github.connections"), QStringList({QStringLiteral("1:1")}));
        QVERIFY(m_installationPage->wasOpenedLately());
        QVERIFY(m_journal->lines.filter(QStringLiteral("install")).isEmpty());
    }

    void aRenewalUnderWayDoesNotReplaceWhatAnotherProcessConnected()
    {
        makeStoreWith(expired());
        const auto renewal = start(m_store->validCredential(1));
        m_credentials->credentials.insert(1, credential(QStringLiteral("elsewhere")));
        m_defaults->setValue(QStringLiteral("github.connections"), QStringList({QStringLiteral("1:1")}));
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, kToken)));
        QVERIFY(renewal->isDone);
        QCOMPARE(m_credentials->credentials.value(1).accessToken, QStringLiteral("elsewhere"));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void anAccountConnectedElsewhereIsReadAtOnceWhileOthersAreTriedAgain()
    {
        m_credentials->loadFailure = locked();
        m_credentials->credentials.insert(1, credential(QStringLiteral("a")));
        storeAccounts({account(1, QStringLiteral("alice"))});
        makeStore();
        QCOMPARE(m_clock->sleeperCount(), 1);
        m_credentials->loadFailure = nullptr;
        m_defaults->setValue(QStringLiteral("github.connections"), QStringList({QStringLiteral("1:1")}));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void withoutARefreshTokenTheAccountMustReconnect()
    {
        auto old = expired();
        old.refreshToken.reset();
        makeStoreWith(old);
        QVERIFY(await(m_store->validCredential(1)).failedWith(GitHubClientError::missingRefreshToken()));
        QCOMPARE(statuses(), QStringLiteral("alice reconnectRequired"));
        QVERIFY(m_http->requests.isEmpty());
    }

    void aFreshCredentialThatCannotBeSavedIsKeptAndSavedFirstNextTime()
    {
        makeStoreWith(expired());
        m_http->handler = standardGitHub(1, "alice");
        m_credentials->saveFailure = locked();
        QVERIFY(await(m_store->validCredential(1)).failedWithType<CredentialStoreError>());
        QCOMPARE(statuses(), QStringLiteral("alice reconnectRequired"));
        QVERIFY(await(m_store->validCredential(1)).failedWithType<CredentialStoreError>());
        m_credentials->saveFailure = nullptr;
        QCOMPARE(awaitValue(m_store->validCredential(1)).accessToken, QStringLiteral("new"));
        QCOMPARE(m_http->requests.size(), 1);
        QCOMPARE(m_credentials->credentials.value(1).accessToken, QStringLiteral("new"));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void anUnsavedCredentialGivesWayToANewerOneInTheStore()
    {
        makeStoreWith(expired());
        m_http->handler = standardGitHub(1, "alice");
        m_credentials->saveFailure = locked();
        QVERIFY(await(m_store->validCredential(1)).failedWithType<CredentialStoreError>());
        m_credentials->saveFailure = nullptr;
        m_credentials->credentials.insert(1, credential(QStringLiteral("elsewhere")));
        QCOMPARE(awaitValue(m_store->validCredential(1)).accessToken, QStringLiteral("elsewhere"));
    }

    void anUnsavedCredentialThatHasExpiredIsSavedAndRefreshed()
    {
        makeStoreWith(expired());
        m_http->handler = standardGitHub(1, "alice");
        m_credentials->saveFailure = locked();
        QVERIFY(await(m_store->validCredential(1)).failedWithType<CredentialStoreError>());
        m_credentials->saveFailure = nullptr;
        m_clock->advance(9h);
        awaitValue(m_store->validCredential(1));
        QCOMPARE(m_http->requests.size(), 2);
        QVERIFY(m_http->requests.last().body->contains("refresh_token=new-refresh"));
        QVERIFY(m_credentials->credentials.value(1).expiresAt > m_clock->now() + 1h);
    }

    void ofTwoCallersOneRefreshesAndTheOtherFindsItsResult()
    {
        makeStoreWith(expired());
        const auto first = start(m_store->validCredential(1));
        const auto second = start(m_store->validCredential(1));
        QCOMPARE(m_http->requests.size(), 1);
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, kToken)));
        QVERIFY(first->isDone && second->isDone);
        QCOMPARE(m_http->requests.size(), 1);
        QVERIFY(first->value == second->value && first->value->accessToken == QStringLiteral("new"));
    }

    void afterAFailedRefreshTheSecondCallerTriesItself()
    {
        makeStoreWith(expired());
        const auto first = start(m_store->validCredential(1));
        const auto second = start(m_store->validCredential(1));
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(500, {})));
        QVERIFY(first->failure != nullptr);
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, kToken)));
        QCOMPARE(second->value->accessToken, QStringLiteral("new"));
    }

    void accountsAreRefreshedIndependently()
    {
        m_credentials->credentials.insert(2, expired());
        m_credentials->credentials.insert(1, expired());
        storeAccounts({account(1, QStringLiteral("alice")), account(2, QStringLiteral("bob"))});
        makeStore();
        const auto first = start(m_store->validCredential(1));
        const auto second = start(m_store->validCredential(2));
        QCOMPARE(m_http->requests.size(), 2);
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(500, {})));
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, kToken)));
        QVERIFY(first->failure != nullptr && second->value.has_value());
    }

    void aStopEndsTheWaitingForATurn()
    {
        makeStoreWith(expired());
        const auto first = start(m_store->validCredential(1));
        std::stop_source source;
        const auto second = start(m_store->validCredential(1, source.get_token()));
        source.request_stop();
        drainEvents();
        QVERIFY(second->failedWithType<CancellationError>());
        QVERIFY(await(m_store->validCredential(1, source.get_token())).failedWithType<CancellationError>());
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, kToken)));
        QVERIFY(first->value.has_value());
    }

    void aStopDoesNotAbandonARefreshUnderWay()
    {
        makeStoreWith(expired());
        std::stop_source source;
        const auto stopped = start(m_store->validCredential(1, source.get_token()));
        QCOMPARE(m_http->requests.size(), 1);
        source.request_stop();
        drainEvents();
        QVERIFY(stopped->failedWithType<CancellationError>());
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, kToken)));
        QCOMPARE(m_credentials->credentials.value(1).accessToken, QStringLiteral("new"));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void aRefreshUnderWayIsStoredEvenAfterTheEndOfTheStore()
    {
        makeStoreWith(expired());
        const auto outcome = start(m_store->validCredential(1));
        m_store.reset();
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, kToken)));
        drainEvents();
        QCOMPARE(m_credentials->credentials.value(1).accessToken, QStringLiteral("new"));
        QVERIFY(outcome->isDone);
    }

    void aRenewalIsUnderWayUntilItIsStored()
    {
        makeStoreWith(expired());
        QSignalSpy finished(m_store.get(), &AuthenticationStore::renewalsFinished);
        QVERIFY(!m_store->isRenewing());
        const auto outcome = start(m_store->validCredential(1));
        QVERIFY(m_store->isRenewing());
        m_credentials->isHolding = true;
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, kToken)));
        QVERIFY(m_store->isRenewing());
        QCOMPARE(finished.count(), 0);
        m_credentials->release();
        QVERIFY(!m_store->isRenewing());
        QCOMPARE(finished.count(), 1);
        QVERIFY(outcome->value);
    }

    void aRenewalThatFailsIsNotUnderWayAnyMore()
    {
        makeStoreWith(expired());
        QSignalSpy finished(m_store.get(), &AuthenticationStore::renewalsFinished);
        const auto outcome = start(m_store->validCredential(1));
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(500, "")));
        QVERIFY(outcome->failure);
        QVERIFY(!m_store->isRenewing());
        QCOMPARE(finished.count(), 1);
    }

    void theLastOfSeveralRenewalsFinishesThem()
    {
        m_credentials->credentials.insert(2, expired());
        makeStoreWith(expired());
        QSignalSpy finished(m_store.get(), &AuthenticationStore::renewalsFinished);
        const auto first = start(m_store->validCredential(1));
        const auto second = start(m_store->validCredential(2));
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, kToken)));
        QVERIFY(m_store->isRenewing());
        QCOMPARE(finished.count(), 0);
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, kToken)));
        QCOMPARE(finished.count(), 1);
        QVERIFY(first->value && second->value);
    }

    void atTheEndNoRenewalBeginsAndTheOneUnderWayIsFinished()
    {
        m_credentials->credentials.insert(2, expired());
        m_credentials->credentials.insert(3, GitHubCredential{QStringLiteral("fit"), {}, {}, {}});
        makeStoreWith(expired());
        const auto underWay = start(m_store->validCredential(1));
        const auto waiting = start(m_store->validCredential(1));
        m_store->closeRenewals();
        QVERIFY(await(m_store->validCredential(2)).failedWithType<CancellationError>());
        QCOMPARE(awaitValue(m_store->validCredential(3)).accessToken, QStringLiteral("fit"));
        QCOMPARE(m_http->requests.size(), 1);
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, kToken)));
        QCOMPARE(underWay->value->accessToken, QStringLiteral("new"));
        QCOMPARE(m_credentials->credentials.value(1).accessToken, QStringLiteral("new"));
        // Callers that already waited for the refresh get its result.
        QVERIFY(waitUntil([&] { return waiting->isDone; }));
        QCOMPARE(waiting->value->accessToken, QStringLiteral("new"));
        QCOMPARE(m_credentials->credentials.value(2), expired());
    }

    void callersEndWithTheStore()
    {
        makeStoreWith(expired());
        m_credentials->isHolding = true;
        const auto outcome = start(m_store->validCredential(1));
        m_store.reset();
        m_credentials->release();
        QVERIFY(outcome->failedWithType<CancellationError>());
    }

    void twoProcessesTakeTurns()
    {
        const QTemporaryDir folder;
        m_lockFolder = folder.filePath(QStringLiteral("locks"));
        makeStoreWith(expired());
        const QString path = m_lockFolder + QStringLiteral("/service-1.lock");
        QVERIFY(QDir().mkpath(m_lockFolder));
        auto other = FileLock::tryLock(path);
        const auto outcome = start(m_store->validCredential(1));
        QVERIFY(m_http->requests.isEmpty() && !outcome->isDone);
        std::stop_source source;
        const auto stopped = start(m_store->validCredential(1, source.get_token()));
        source.request_stop();
        drainEvents();
        QVERIFY(stopped->failedWithType<CancellationError>());
        m_credentials->credentials.insert(1, credential(QStringLiteral("elsewhere")));
        other.reset();
        while (!outcome->isDone && m_clock->advanceToNextWake()) { }
        QCOMPARE(outcome->value->accessToken, QStringLiteral("elsewhere"));
        QVERIFY(m_http->requests.isEmpty());
        QVERIFY(FileLock::tryLock(path) != nullptr);
    }

    void theLockIsReleasedBeforeTheCallerGoesOn()
    {
        const QTemporaryDir folder;
        m_lockFolder = folder.path();
        makeStoreWith(expired());
        m_http->handler = standardGitHub(1, "alice");
        const auto outcome = start(m_store->validCredential(1));
        QVERIFY(outcome->value.has_value());
        QVERIFY(FileLock::tryLock(folder.filePath(QStringLiteral("service-1.lock"))) != nullptr);
    }

    void aRenewalThatCannotHaveItsTurnFailsForThatAccountAlone()
    {
        const QTemporaryDir folder;
        m_lockFolder = folder.path();
        makeStoreWith(expired());
        const auto other = FileLock::tryLock(folder.filePath(QStringLiteral("service-1.lock")));
        const auto outcome = start(m_store->validCredential(1));
        m_clock->advance(15s);
        drainEvents();
        QVERIFY(outcome->failedWith(CredentialBusyError::otherProcess()));
        QVERIFY(m_http->requests.isEmpty());
    }

    void aRenewalInTheMiddleOfWhichAProgramWasKilledIsNotSentAgain()
    {
        const QTemporaryDir folder;
        m_lockFolder = folder.path();
        leaveWord(fingerprint(expired()));
        makeStoreWith(expired());
        const auto outcome = start(m_store->validCredential(1));
        QVERIFY(outcome->failedWith(GitHubClientError::missingAccessToken()));
        QVERIFY(m_http->requests.isEmpty());
        QCOMPARE(statuses(), QStringLiteral("alice reconnectRequired"));
        QCOMPARE(m_store->advice(1), std::optional(QStringLiteral("Connect alice again.")));
        m_http->handler = standardGitHub(1, "alice");
        connectCompletely();
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void theWordOfAnotherCredentialsRenewalMeansNothing()
    {
        const QTemporaryDir folder;
        m_lockFolder = folder.path();
        leaveWord(fingerprint(credential(QStringLiteral("another"))));
        makeStoreWith(expired());
        m_http->handler = standardGitHub(1, "alice");
        const auto outcome = start(m_store->validCredential(1));
        QCOMPARE(outcome->value->accessToken, QStringLiteral("new"));
    }

    void theWordOfARenewalIsTakenBackWhenItEnds_data()
    {
        QTest::addColumn<int>("httpStatus");
        QTest::newRow("well") << 200;
        QTest::newRow("in a way that a later try may mend") << 502;
    }

    void theWordOfARenewalIsTakenBackWhenItEnds()
    {
        QFETCH(int, httpStatus);
        const QTemporaryDir folder;
        m_lockFolder = folder.path();
        makeStoreWith(expired());
        const auto outcome = start(m_store->validCredential(1));
        QCOMPARE(wordLeft(), fingerprint(expired()));
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(httpStatus, kToken)));
        QVERIFY(waitUntil([&] { return outcome->isDone; }));
        QCOMPARE(wordLeft(), QByteArray());
    }

    void theWordOfARenewalStaysUntilTheNewCredentialIsStored()
    {
        const QTemporaryDir folder;
        m_lockFolder = folder.path();
        makeStoreWith(expired());
        m_http->handler = standardGitHub(1, "alice");
        m_credentials->saveFailure = locked();
        const auto failed = start(m_store->validCredential(1));
        QVERIFY(failed->failedWith(CredentialStoreError::keychain(CredentialStoreError::Locked)));
        QCOMPARE(wordLeft(), fingerprint(expired()));
        m_credentials->saveFailure = nullptr;
        const auto stored = start(m_store->validCredential(1));
        QCOMPARE(stored->value->accessToken, QStringLiteral("new"));
        QCOMPARE(wordLeft(), QByteArray());
    }

    void anAccountThatIsConnectedIsStoredEvenOutOfTurn()
    {
        const QTemporaryDir folder;
        m_lockFolder = folder.path();
        makeStore();
        m_http->handler = standardGitHub(1, "alice");
        const auto other = FileLock::tryLock(folder.filePath(QStringLiteral("service-1.lock")));
        connectCompletely();
        QVERIFY(m_credentials->credentials.isEmpty());
        m_clock->advance(15s);
        drainEvents();
        QCOMPARE(m_credentials->credentials.value(1).accessToken, QStringLiteral("new"));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
        QVERIFY(m_store->connectionState() == Status::Connected);
    }

    void aRenewalThatWasStillUnderWayDoesNotReplaceWhatWasConnected()
    {
        makeStoreWith(expired());
        const auto renewal = start(m_store->validCredential(1));
        m_http->handler = standardGitHub(1, "alice");
        connectCompletely();
        m_clock->advance(15s);
        drainEvents();
        QCOMPARE(m_credentials->credentials.value(1).accessToken, QStringLiteral("new"));
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, quoted("{'access_token':'late'}"))));
        QVERIFY(renewal->isDone);
        QCOMPARE(m_credentials->credentials.value(1).accessToken, QStringLiteral("new"));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    // Unlocking

    void aRequestOfTheUserUnlocksAllAccountsAtOnce()
    {
        m_credentials->loadFailure = locked();
        storeAccounts({account(1, QStringLiteral("alice")), account(2, QStringLiteral("bob"))});
        makeStore();
        m_credentials->credentials.insert(1, credential(QStringLiteral("a")));
        m_credentials->onUnlock = [this] {
            m_credentials->loadFailure = nullptr;
        };
        QVERIFY(m_credentials->unlocked.isEmpty());
        awaitValue(m_store->unlock());
        QCOMPARE(m_credentials->unlocked, QList<QList<qint64>>({{1, 2}}));
        QCOMPARE(awaitValue(m_store->validCredential(1)).accessToken, QStringLiteral("a"));
        QCOMPARE(statuses(), QStringLiteral("alice connected, bob reconnectRequired"));
    }

    void aDeclinedQuestionIsNoFailure()
    {
        makeStoreWith(credential(QStringLiteral("old")));
        m_credentials->unlockFailure = locked();
        QVERIFY(!await(m_store->unlock()).failure);
        QCOMPARE(m_credentials->unlocked.size(), 1);
    }

    void theBackgroundUnlocksNothing()
    {
        m_credentials->loadFailure = locked();
        storeAccounts({account(1, QStringLiteral("alice"))});
        makeStore();
        QVERIFY(await(m_store->validCredential(1)).failure);
        m_clock->advance(std::chrono::seconds(5));
        QVERIFY(m_credentials->unlocked.isEmpty());
        QCOMPARE(m_credentials->preparations, 0);
    }

    void withoutAKeyringTheBrowserIsNotOpened()
    {
        makeStore();
        m_http->handler = standardGitHub(1, "alice");
        m_credentials->prepareFailure
            = std::make_exception_ptr(CredentialStoreError::keychain(CredentialStoreError::NoProvider));
        m_store->startConnecting();
        QVERIFY(waitUntil([&] { return m_store->connectionState() == GitHubSessionStatus::ReconnectRequired; }));
        QVERIFY(m_store->errorMessage().value_or(QString()).startsWith(QStringLiteral("There is no keyring")));
        QCOMPARE(m_journal->lines.filter(QStringLiteral("open ")), QStringList());
        QCOMPARE(m_journal->lines.filter(QStringLiteral("copy ")), QStringList());
    }

    void aConnectionThatIsCancelledWhileTheKeyringAsksOpensNothing()
    {
        makeStore();
        m_http->handler = standardGitHub(1, "alice");
        m_credentials->isHoldingQuestions = true;
        m_store->startConnecting();
        QVERIFY(waitUntil([&] { return m_credentials->preparations == 1; }));
        m_store->cancelConnection();
        QVERIFY(m_credentials->release());
        drainEvents();
        QCOMPARE(m_store->connectionState(), GitHubSessionStatus::Disconnected);
        QCOMPARE(m_journal->lines.filter(QStringLiteral("open ")), QStringList());
    }

    // Removing

    void aTokenIsRemovedEvenWhenItsLockCannotBeHad()
    {
        const QTemporaryDir folder;
        m_lockFolder = folder.path();
        makeStoreWith(credential(QStringLiteral("old")));
        const auto other = FileLock::tryLock(folder.filePath(QStringLiteral("service-1.lock")));
        const auto removal = start(m_store->remove(1));
        QVERIFY(!removal->isDone);
        m_clock->advance(15s);
        drainEvents();
        QVERIFY(removal->isDone && !removal->failure);
        QVERIFY(m_store->sessions().isEmpty());
        QVERIFY(m_credentials->credentials.isEmpty());
    }

    void removingForgetsTheAccountAndItsCredential()
    {
        m_credentials->credentials.insert(2, credential(QStringLiteral("b")));
        m_credentials->credentials.insert(1, credential(QStringLiteral("a")));
        storeAccounts({account(1, QStringLiteral("alice")), account(2, QStringLiteral("bob"))});
        makeStore();
        awaitValue(m_store->remove(1));
        QCOMPARE(statuses(), QStringLiteral("bob connected"));
        QCOMPARE(m_credentials->credentials.keys(), QList<qint64>({2}));
        QCOMPARE(m_defaults->data(kKey), std::optional(quoted("[{'id':2,'login':'bob'}]")));
    }

    void anAccountStaysListedUntilItsCredentialIsDeleted()
    {
        makeStoreWith(credential(QStringLiteral("old")));
        m_credentials->isHolding = true;
        QSignalSpy changes(m_store.get(), &AuthenticationStore::sessionsChanged);
        const auto removal = start(m_store->remove(1));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
        QCOMPARE(changes.count(), 0);
        QVERIFY(!removal->isDone);
        m_credentials->release();
        QVERIFY(removal->isDone && !removal->failure);
        QVERIFY(m_store->sessions().isEmpty());
        QCOMPARE(changes.count(), 1);
        QCOMPARE(m_defaults->data(kKey), std::optional(QByteArray("[]")));
    }

    void anAccountWhoseCredentialCannotBeDeletedStays()
    {
        makeStoreWith(credential(QStringLiteral("old")));
        const auto before = m_defaults->data(kKey);
        m_credentials->removeFailure = locked();
        const auto removal = await(m_store->remove(1));
        QVERIFY(removal.failedWithType<AccountRemovalError>());
        QCOMPARE(removal.description(),
            QStringLiteral("alice was not removed. The keyring is locked. Unlock it, or connect the account again."));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
        QCOMPARE(m_defaults->data(kKey), before);
        m_credentials->removeFailure = nullptr;
        awaitValue(m_store->remove(1));
        QVERIFY(m_store->sessions().isEmpty());
    }

    void aRemovalThatWaitsOutlivesTheStore()
    {
        makeStoreWith(credential(QStringLiteral("old")));
        m_credentials->isHolding = true;
        const auto removal = start(m_store->remove(1));
        m_store.reset();
        m_credentials->release();
        QVERIFY(removal->isDone && !removal->failure);
        QVERIFY(m_credentials->credentials.isEmpty());
    }

    void ofTwoRemovalsTheSecondFindsNothing()
    {
        makeStoreWith(credential(QStringLiteral("old")));
        m_credentials->isHolding = true;
        const auto first = start(m_store->remove(1));
        const auto second = start(m_store->remove(1));
        m_credentials->release();
        QVERIFY(waitUntil([&] { return first->isDone && second->isDone; }));
        QVERIFY(!first->failure && !second->failure);
        QVERIFY(!m_credentials->release());
    }

    void removingAnUnknownAccountChangesNothing()
    {
        makeStoreWith(credential(QStringLiteral("old")));
        QSignalSpy changes(m_store.get(), &AuthenticationStore::sessionsChanged);
        awaitValue(m_store->remove(99));
        QCOMPARE(changes.count(), 0);
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
    }

    void aRefreshUnderWayDoesNotBringARemovedCredentialBack()
    {
        makeStoreWith(expired());
        const auto refresh = start(m_store->validCredential(1));
        const auto removal = start(m_store->remove(1));
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(200, kToken)));
        QVERIFY(refresh->value.has_value());
        QVERIFY(waitUntil([&] { return removal->isDone; }));
        QVERIFY(!removal->failure);
        QVERIFY(m_store->sessions().isEmpty());
        QVERIFY(m_credentials->credentials.isEmpty());
        QCOMPARE(m_credentials->saves, 1);
    }

    void anAccountConnectedAgainKeepsItsNewCredential()
    {
        makeStoreWith(expired());
        const auto refresh = start(m_store->validCredential(1));
        const auto removal = start(m_store->remove(1));
        m_http->handler = standardGitHub(1, "alice");
        connectCompletely(); // its save waits for the refresh and the removal
        QCOMPARE(m_credentials->saves, 0);
        QVERIFY(m_http->answerNext(FakeHTTPSession::response(500, {})));
        QVERIFY(waitUntil([&] { return removal->isDone && m_credentials->saves == 1; }));
        QCOMPARE(statuses(), QStringLiteral("alice connected"));
        QCOMPARE(m_credentials->credentials.value(1).accessToken, QStringLiteral("new"));
    }

private:
    static inline const QString kKey = QStringLiteral("github.accounts");

    static std::exception_ptr locked()
    {
        return std::make_exception_ptr(CredentialStoreError::keychain(CredentialStoreError::Locked));
    }

    [[nodiscard]] GitHubCredential expired() const
    {
        return credential(QStringLiteral("old"), Instant(std::chrono::sys_days(std::chrono::year(2026) / 1 / 1)));
    }

    void storeAccounts(const QList<GitHubAccount> &accounts) { m_defaults->values.insert(kKey, encodeJSON(accounts)); }

    [[nodiscard]] GitHubClient client() const
    {
        GitHubClient client;
        client.clientID = m_clientID;
        client.session = m_http;
        client.apiURL = QUrl(QStringLiteral("https://api.github.test"));
        client.loginURL = QUrl(QStringLiteral("https://github.test/login"));
        client.clock = m_clock.get();
        return client;
    }

    [[nodiscard]] AuthenticationStore::Services services() const
    {
        AuthenticationStore::Services services;
        services.defaults = m_defaults.get();
        services.pasteboard = m_pasteboard.get();
        services.urlOpener = m_opener.get();
        services.clock = m_clock.get();
        services.installationPage = m_installationPage.get();
        if (!m_lockFolder.isEmpty())
            services.locks = {{m_lockFolder}, QStringLiteral("service")};
        return services;
    }

    /// Writes the note of a lock holder into the lock file of alice.
    void leaveWord(const QByteArray &word) const
    {
        QFile file(m_lockFolder + QStringLiteral("/service-1.lock"));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(word) == word.size());
    }
    [[nodiscard]] QByteArray wordLeft() const
    {
        QFile file(m_lockFolder + QStringLiteral("/service-1.lock"));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
    }

    void makeStore() { m_store = std::make_unique<AuthenticationStore>(client(), m_credentials, services()); }

    [[nodiscard]] QCoro::Task<GitHubCredential> afterRefusal(const QString &token) const
    {
        return m_store->credentials()->credentialAfterRefusal(1, token, {});
    }

    /// Wrapped in a coroutine, because validCredential() may throw before it returns a task.
    static QCoro::Task<GitHubCredential> awaited(std::shared_ptr<CredentialSource> credentials)
    {
        auto credential = co_await credentials->validCredential(1, std::stop_token());
        co_return credential;
    }

    /// Makes a store with the account alice, id 1.
    void makeStoreWith(const GitHubCredential &stored)
    {
        m_credentials->credentials.insert(1, stored);
        storeAccounts({account(1, QStringLiteral("alice"))});
        makeStore();
    }

    static FakeHTTPSession::Handler standardGitHub(qint64 id, const QByteArray &login)
    {
        return [id, login](const HTTPRequest &request) {
            const QString path = request.url.path();
            if (path.endsWith(QStringLiteral("/device/code")))
                return FakeHTTPSession::response(200, kDevice);
            if (path.endsWith(QStringLiteral("/oauth/access_token")))
                return FakeHTTPSession::response(200, kToken);
            if (path.endsWith(QStringLiteral("/user")))
                return FakeHTTPSession::response(200, userJSON(id, login));
            return FakeHTTPSession::response(404, {});
        };
    }

    void connectCompletely()
    {
        m_store->startConnecting();
        m_clock->advance(5s);
    }

    [[nodiscard]] QString statuses() const
    {
        QStringList lines;
        for (const auto &session : m_store->sessions())
            lines.append(session.account.login + QLatin1Char(' ') + rawValue(session.status));
        return lines.join(QStringLiteral(", "));
    }

    QString m_clientID = QStringLiteral("client");
    QString m_lockFolder;
    std::unique_ptr<Journal> m_journal;
    std::unique_ptr<FakeClock> m_clock;
    std::shared_ptr<FakeHTTPSession> m_http;
    std::shared_ptr<FakeCredentialStore> m_credentials;
    std::unique_ptr<FakePreferences> m_defaults;
    std::unique_ptr<FakePasteboard> m_pasteboard;
    std::unique_ptr<FakeURLOpener> m_opener;
    std::unique_ptr<InstallationPage> m_installationPage;
    std::unique_ptr<AuthenticationStore> m_store;
};

VELMORA_TEST(AuthenticationStoreTest)
#include "authentication_store_test.moc"
