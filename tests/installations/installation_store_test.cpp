// SPDX-License-Identifier: MIT
#include "installations/installation_store.h"

#include "accounts/installation_page.h"
#include "support/await.h"
#include "support/fake_clock.h"
#include "support/fake_credential_store.h"
#include "support/fake_http_session.h"
#include "support/fake_preferences.h"
#include "support/fake_url_opener.h"
#include "support/json.h"
#include "support/test_main.h"

#include <QDateTime>
#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

using Case = InstallationLoadingState::Case;

namespace
{

QByteArray quoted(QByteArray text)
{
    return text.replace('\'', '"');
}

QByteArray installationJSON(qint64 id, const QByteArray &login)
{
    return quoted("{'id':" + QByteArray::number(id) + ",'account':{'id':" + QByteArray::number(id + 1000) + ",'login':'"
        + login + "','avatar_url':null,'type':'Organization'},'repository_selection':'all'}");
}

QByteArray repositoryJSON(const QByteArray &name, const QByteArray &nodeID)
{
    return quoted("{'id':1,'node_id':'" + nodeID + "','full_name':'" + name + "','html_url':'https://github.test/"
        + name + "','private':false}");
}

QByteArray installationsJSON(const QByteArrayList &installations)
{
    return quoted("{'total_count':0,'installations':[" + installations.join(',') + "]}");
}

QByteArray repositoriesJSON(const QByteArrayList &repositories)
{
    return quoted("{'total_count':0,'repositories':[" + repositories.join(',') + "]}");
}

QStringList texts(std::initializer_list<const char *> list)
{
    QStringList result;
    for (const char *item : list)
        result.append(QString::fromLatin1(item));
    return result;
}

QByteArray tokenOf(const HTTPRequest &request)
{
    for (const auto &[name, value] : request.headers) {
        if (name == "Authorization")
            return value.mid(7);
    }
    return {};
}

} // namespace

class InstallationStoreTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_clock = std::make_unique<FakeClock>();
        m_http = std::make_shared<FakeHTTPSession>();
        m_credentials = std::make_shared<FakeCredentialStore>();
        m_defaults = std::make_unique<FakePreferences>();
        m_ledger = std::make_shared<RateLimitLedger>();
        m_answers.clear();
        m_http->handler = [this](const HTTPRequest &request) {
            return answer(request);
        };
    }

    void cleanup()
    {
        m_store.reset();
        m_authentication.reset();
        m_page.reset();
        drainEvents();
    }

    void startsEmpty()
    {
        makeStore({});
        QVERIFY(m_store->installations().isEmpty() && m_store->repositories().isEmpty());
        QVERIFY(m_store->monitoredRepositories().isEmpty());
        QVERIFY(m_store->state() == state(Case::Disconnected));
        QVERIFY(!m_store->lastRefreshedAt().has_value());
    }

    void withoutSessionsEverythingIsEmptiedAndTheTimeStays()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {repositoryJSON("acme/site", "R1")});
        refresh();
        const auto before = m_store->lastRefreshedAt();
        QVERIFY(before.has_value());
        awaitValue(m_authentication->remove(1));
        m_clock->advance(1h);
        const auto requests = m_http->requests.size();
        refresh();
        QVERIFY(m_store->installations().isEmpty() && m_store->repositories().isEmpty());
        QVERIFY(m_store->state() == state(Case::Disconnected));
        QVERIFY(m_store->lastRefreshedAt() == before);
        QCOMPARE(m_http->requests.size(), requests);
    }

    void gathersTheInstallationsAndRepositoriesOfEveryIdentityOneRequestAtATime()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        grant("alice", 10, "zeta", {repositoryJSON("zeta/b", "R1"), repositoryJSON("zeta/a", "R2")});
        grant("alice", 11, "Acme", {});
        grant("bob", 12, "mid", {repositoryJSON("mid/x", "R3")});
        QStringList states;
        connect(m_store.get(), &InstallationStore::stateChanged, this,
            [&] { states.append(QString::number(static_cast<int>(m_store->state().state))); });
        refresh();
        QCOMPARE(keys(), QStringLiteral("1:11,2:12,1:10"));
        QCOMPARE(names(), QStringLiteral("mid/x,zeta/a,zeta/b"));
        QVERIFY(m_store->state() == state(Case::Ready));
        QVERIFY(m_store->lastRefreshedAt() == m_clock->now());
        QCOMPARE(states, QStringList({QStringLiteral("1"), QStringLiteral("2")}));
        QCOMPARE(m_http->mostOpenRequests, 1);
        QCOMPARE(paths(),
            QStringLiteral("alice /user/installations,alice /user/installations/10/repositories,"
                           "alice /user/installations/11/repositories,bob /user/installations,"
                           "bob /user/installations/12/repositories"));
        const auto &record = m_store->repositories().at(0);
        QCOMPARE(record.identityID, 2);
        QCOMPARE(record.installationID, 12);
        QCOMPARE(record.installationAccount.login, QStringLiteral("mid"));
    }

    void oneFailedIdentityLeavesTheOthersAndAMessage()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        grant("alice", 10, "acme", {repositoryJSON("acme/site", "R1")});
        m_answers.insert("bob /user/installations", FakeHTTPSession::response(500, {}));
        refresh();
        QCOMPARE(keys(), QStringLiteral("1:10"));
        QVERIFY(m_store->state() == state(Case::Stale, QStringLiteral("bob: GitHub returned HTTP 500.")));
        QVERIFY(m_store->lastRefreshedAt().has_value());
        const QList<InstallationFailure> expected{
            {2, QStringLiteral("bob"), QStringLiteral("GitHub returned HTTP 500."), false}};
        QVERIFY(m_store->failures() == expected);
    }

    void failuresStandInTheOrderOfTheSessions()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        m_credentials->credentials.remove(1);
        m_answers.insert("bob /user/installations", FakeHTTPSession::response(404, {}));
        refresh();
        QCOMPARE(m_store->state().message,
            QStringLiteral("alice: GitHub did not return an access token. Connect alice again.\n"
                           "bob: GitHub returned HTTP 404."));
    }

    void anIdentityWhoseSecondInstallationFailsContributesNothing()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        grant("alice", 10, "acme", {repositoryJSON("acme/site", "R1")});
        grant("alice", 11, "beta", {});
        m_answers.insert("alice /user/installations/11/repositories", FakeHTTPSession::response(502, {}));
        grant("bob", 10, "acme", {repositoryJSON("acme/site", "R1")});
        refresh();
        QCOMPARE(keys(), QStringLiteral("2:10"));
        QCOMPARE(m_store->repositories().at(0).identityID, 2);
    }

    void anIdentityThatFailsLosesItsEarlierRecords()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {repositoryJSON("acme/site", "R1")});
        refresh();
        m_answers.insert("alice /user/installations", FakeHTTPSession::response(500, {}));
        refresh();
        QVERIFY(m_store->installations().isEmpty() && m_store->repositories().isEmpty());
        QVERIFY(m_store->state().state == Case::Stale);
    }

    void aDisabledInstallationIsFetchedAndListedButNotMonitored()
    {
        makeStore({QStringLiteral("alice")});
        m_defaults->values.insert(kDisabled, QStringList(QStringLiteral("1:10")));
        grant("alice", 10, "acme", {repositoryJSON("acme/site", "R1")});
        grant("alice", 11, "beta", {repositoryJSON("beta/app", "R2")});
        refresh();
        QCOMPARE(names(), QStringLiteral("acme/site,beta/app"));
        QVERIFY(!m_store->installations().at(0).isEnabled && m_store->installations().at(1).isEnabled);
        QCOMPARE(monitored(), QStringLiteral("beta/app"));
    }

    void namesAreSortedRegardlessOfCaseAndEqualOnesKeepTheirOrder()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme",
            {repositoryJSON("b/x", "R1"), repositoryJSON("a/z", "R2"), repositoryJSON("A/y", "R3"),
                repositoryJSON("A/Z", "R4")});
        grant("alice", 11, "ACME", {});
        grant("alice", 12, "Aardvark", {});
        refresh();
        QCOMPARE(names(), QStringLiteral("A/y,a/z,A/Z,b/x"));
        QCOMPARE(keys(), QStringLiteral("1:12,1:10,1:11"));
    }

    void theFirstSightingOfARepositoryCounts()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        grant("alice", 20, "zeta", {repositoryJSON("acme/site", "R1")});
        grant("alice", 10, "acme", {repositoryJSON("acme/site", "R1")});
        grant("bob", 5, "other", {repositoryJSON("acme/site", "R1")});
        refresh();
        QCOMPARE(names(), QStringLiteral("acme/site"));
        QCOMPARE(m_store->repositories().at(0).identityID, 1);
        QCOMPARE(m_store->repositories().at(0).installationID, 20);
        m_store->setInstallation(QStringLiteral("1:20"), false);
        QCOMPARE(monitored(), QString());
    }

    void switchingAnInstallationSavesTheKeysOfAllThatAreOff()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 11, "beta", {});
        grant("alice", 10, "acme", {repositoryJSON("acme/site", "R1")});
        refresh();
        QSignalSpy changes(m_store.get(), &InstallationStore::installationsChanged);
        m_store->setInstallation(QStringLiteral("1:11"), false);
        m_store->setInstallation(QStringLiteral("1:10"), false);
        QCOMPARE(m_defaults->stringList(kDisabled), QStringList({QStringLiteral("1:10"), QStringLiteral("1:11")}));
        QVERIFY(!m_defaults->value(kExcluded).has_value());
        m_store->setInstallation(QStringLiteral("1:10"), false);
        QCOMPARE(changes.count(), 2);
        m_store->setInstallation(QStringLiteral("1:10"), true);
        QCOMPARE(m_defaults->stringList(kDisabled), QStringList(QStringLiteral("1:11")));
        QCOMPARE(monitored(), QStringLiteral("acme/site"));
        QVERIFY(m_store->state() == state(Case::Ready));
    }

    void switchingARepositorySavesTheNodeIdsOfAllThatAreOff()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {repositoryJSON("acme/b", "R2"), repositoryJSON("acme/a", "R1")});
        refresh();
        QSignalSpy changes(m_store.get(), &InstallationStore::repositoriesChanged);
        m_store->setRepository(QStringLiteral("R2"), false);
        QCOMPARE(m_defaults->stringList(kExcluded), QStringList(QStringLiteral("R2")));
        QCOMPARE(monitored(), QStringLiteral("acme/a"));
        m_store->setRepository(QStringLiteral("R1"), false);
        QCOMPARE(m_defaults->stringList(kExcluded), QStringList({QStringLiteral("R1"), QStringLiteral("R2")}));
        m_store->setRepository(QStringLiteral("R1"), false);
        QCOMPARE(changes.count(), 2);
        QVERIFY(!m_defaults->value(kDisabled).has_value());
    }

    void anUnknownKeyOrNodeIdChangesAndSavesNothing()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        refresh();
        m_defaults->writes.clear();
        m_store->setInstallation(QStringLiteral("1:99"), false);
        m_store->setRepository(QStringLiteral("R99"), false);
        QVERIFY(m_defaults->writes.isEmpty());
        QCOMPARE(monitored(), QStringLiteral("acme/a"));
    }

    void allRepositoriesCanBeSwitchedAtOnce()
    {
        makeStore({QStringLiteral("alice")});
        m_store->setAllRepositories(false);
        QVERIFY(m_defaults->value(kExcluded) == Preferences::Value(QStringList()));
        grant("alice", 10, "acme", {repositoryJSON("acme/b", "R2"), repositoryJSON("acme/a", "R1")});
        refresh();
        QSignalSpy changes(m_store.get(), &InstallationStore::repositoriesChanged);
        m_store->setAllRepositories(false);
        QCOMPARE(m_defaults->stringList(kExcluded), QStringList({QStringLiteral("R1"), QStringLiteral("R2")}));
        QVERIFY(m_store->monitoredRepositories().isEmpty());
        m_store->setAllRepositories(true);
        QVERIFY(m_defaults->value(kExcluded) == Preferences::Value(QStringList()));
        m_store->setAllRepositories(true);
        QCOMPARE(changes.count(), 2);
    }

    void choicesOfAMalformedKindReadAsNone()
    {
        makeStore({QStringLiteral("alice")});
        m_defaults->values.insert(kExcluded, QStringLiteral("R1"));
        m_defaults->values.insert(kDisabled, true);
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        refresh();
        QCOMPARE(monitored(), QStringLiteral("acme/a"));
    }

    void aChoiceOfARecordThatIsGoneIsDroppedWithTheNextSave()
    {
        makeStore({QStringLiteral("alice")});
        m_defaults->values.insert(kExcluded, QStringList({QStringLiteral("GONE"), QStringLiteral("R1")}));
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1"), repositoryJSON("acme/b", "R2")});
        refresh();
        QCOMPARE(monitored(), QStringLiteral("acme/b"));
        QCOMPARE(m_defaults->stringList(kExcluded).size(), 2);
        m_store->setRepository(QStringLiteral("R2"), false);
        QCOMPARE(m_defaults->stringList(kExcluded), QStringList({QStringLiteral("R1"), QStringLiteral("R2")}));
    }

    void aChoiceMadeDuringARefreshIsNotUndone()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1"), repositoryJSON("acme/b", "R2")});
        refresh();
        m_http->handler = nullptr;
        const auto running = start(m_store->refresh(m_authentication.get()));
        m_store->setRepository(QStringLiteral("R2"), false);
        m_store->setInstallation(QStringLiteral("1:10"), false);
        answerAll(running);
        QVERIFY(!m_store->installations().at(0).isEnabled);
        QVERIFY(!m_store->repositories().at(1).isIncluded);
    }

    void choicesOfAnotherProcessAreFollowed()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1"), repositoryJSON("acme/b", "R2")});
        refresh();
        QSignalSpy installations(m_store.get(), &InstallationStore::installationsChanged);
        QSignalSpy repositories(m_store.get(), &InstallationStore::repositoriesChanged);
        m_defaults->setValue(kExcluded, QStringList(QStringLiteral("R1")));
        QCOMPARE(monitored(), QStringLiteral("acme/b"));
        m_defaults->setValue(kDisabled, QStringList(QStringLiteral("1:10")));
        QCOMPARE(monitored(), QString());
        m_defaults->setValue(QStringLiteral("other"), true);
        QCOMPARE(installations.count(), 1);
        QCOMPARE(repositories.count(), 1);
    }

    void aRefreshWithoutNewsIsSilentAboutTheRecords()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        refresh();
        QSignalSpy installations(m_store.get(), &InstallationStore::installationsChanged);
        QSignalSpy repositories(m_store.get(), &InstallationStore::repositoriesChanged);
        refresh();
        QCOMPARE(installations.count() + repositories.count(), 0);
    }

    void onlyTheIdentitiesAskedForAreRefreshedAndTheOthersStay()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob"), QStringLiteral("carol")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        m_answers.insert("bob /user/installations", FakeHTTPSession::response(500, {}));
        m_answers.insert("carol /user/installations", FakeHTTPSession::response(503, {}));
        refresh();
        const auto refreshedAt = m_store->lastRefreshedAt();
        m_clock->advance(5s);
        m_http->requests.clear();
        grant("bob", 11, "beta", {repositoryJSON("beta/b", "R2")});
        QList<Case> states;
        connect(m_store.get(), &InstallationStore::stateChanged, this, [&] { states.append(m_store->state().state); });
        awaitValue(m_store->refreshIdentities(m_authentication.get(), QSet<qint64>({2})));
        QCOMPARE(names(), QStringLiteral("acme/a,beta/b"));
        QVERIFY(paths().startsWith(QStringLiteral("bob ")) && !paths().contains(QStringLiteral("carol")));
        QVERIFY(m_store->state() == state(Case::Stale, QStringLiteral("carol: GitHub returned HTTP 503.")));
        QVERIFY(m_store->lastRefreshedAt() == refreshedAt);
        QVERIFY(!states.contains(Case::Loading));
    }

    void aTokenThatIsRefusedOnTheWayIsRenewedAndTheSeriesGoesOn()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        grant("alice-2", 10, "acme", {repositoryJSON("acme/a", "R1")});
        m_credentials->credentials[1].refreshToken = QStringLiteral("refresh");
        m_answers.insert("alice /user/installations/10/repositories", FakeHTTPSession::response(401, {}));
        m_answers.insert(" /login/oauth/access_token", FakeHTTPSession::response(200, R"({"access_token":"alice-2"})"));
        refresh();
        QCOMPARE(names(), QStringLiteral("acme/a"));
        QVERIFY(m_store->state() == state(Case::Ready));
        QCOMPARE(paths(),
            QStringLiteral("alice /user/installations,alice /user/installations/10/repositories,"
                           " /login/oauth/access_token,alice-2 /user/installations/10/repositories"));
    }

    void anIdentityWhoseCredentialIsNotAtHandKeepsItsRecordsAndHoldsNobodyUp()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        grant("bob", 11, "beta", {repositoryJSON("beta/b", "R2")});
        refresh();
        grant("bob", 11, "beta", {repositoryJSON("beta/b", "R2"), repositoryJSON("beta/c", "R3")});
        m_credentials->isHolding = true;
        const auto running = start(m_store->refreshIdentities(m_authentication.get(), QSet<qint64>({1, 2})));
        m_credentials->isHolding = false;
        m_clock->advance(5s);
        drainEvents();
        QVERIFY(running->isDone);
        QCOMPARE(names(), QStringLiteral("acme/a,beta/b,beta/c"));
        QVERIFY(m_store->state() == state(Case::Ready));
        m_credentials->release();
    }

    void anIdentityThatHasNoRecordsYetSaysThatItIsWaitedFor()
    {
        makeStore({QStringLiteral("alice")});
        m_credentials->isHolding = true;
        const auto running = start(m_store->refreshIdentities(m_authentication.get(), QSet<qint64>({1})));
        m_clock->advance(5s);
        drainEvents();
        QVERIFY(running->isDone);
        QVERIFY(m_store->state()
            == state(Case::Stale, QStringLiteral("alice: Velmora is still waiting for the token of this account.")));
        m_credentials->release();
    }

    void aUserIsServedHoweverLongTheCredentialTakes()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        m_credentials->isHolding = true;
        const auto running = start(m_store->refresh(m_authentication.get()));
        m_clock->advance(60s);
        drainEvents();
        QVERIFY(!running->isDone);
        m_credentials->release();
        drainEvents();
        QVERIFY(running->isDone);
        QCOMPARE(names(), QStringLiteral("acme/a"));
    }

    void aSessionThatHasEndedSaysWhatToDo()
    {
        makeStore({QStringLiteral("alice")});
        m_answers.insert("alice /user/installations", FakeHTTPSession::response(401, {}));
        refresh();
        const QString expected
            = QStringLiteral("This GitHub account needs to be connected again. Connect alice again.");
        QCOMPARE(m_store->failures().first().description, expected);
    }

    void theFirstRefreshOfSomeIdentitiesIsALoading()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        grant("bob", 11, "beta", {});
        QList<Case> states;
        connect(m_store.get(), &InstallationStore::stateChanged, this, [&] { states.append(m_store->state().state); });
        awaitValue(m_store->refreshIdentities(m_authentication.get(), QSet<qint64>({2})));
        QVERIFY(states == QList<Case>({Case::Loading, Case::Ready}));
        QVERIFY(m_store->lastRefreshedAt().has_value());
    }

    void aRateLimitIsRecordedAndTheIdentityIsNotAskedUntilItsEnd()
    {
        makeStore({QStringLiteral("alice")});
        m_answers.insert("alice /user/installations", FakeHTTPSession::response(403, {}, {{"retry-after", "90"}}));
        refresh();
        QCOMPARE(m_store->failures().size(), 1);
        QVERIFY(m_store->failures().at(0).isRateLimit);
        QVERIFY(m_ledger->pausedUntil(1, m_clock->now()) == m_clock->now() + 90s);
        m_http->requests.clear();
        const auto loads = m_credentials->loads;
        refresh();
        QVERIFY(m_http->requests.isEmpty());
        QCOMPARE(m_credentials->loads, loads);
        // The fake clock starts at midnight UTC. The time is rounded up to the minute.
        const QString resume = QDateTime::fromSecsSinceEpoch(
            std::chrono::duration_cast<std::chrono::seconds>(m_clock->now().time_since_epoch()).count() + 120)
                                   .toString(QStringLiteral("HH:mm"));
        QVERIFY(
            m_store->state() == state(Case::Stale, QStringLiteral("alice: GitHub asks to wait until %1.").arg(resume)));
        QVERIFY(m_store->failures().at(0).isRateLimit);
        m_clock->advance(90s);
        grant("alice", 10, "acme", {});
        refresh();
        QVERIFY(m_store->state() == state(Case::Ready));
    }

    void aPausedIdentityKeepsItsRecordsAndIsNoFailure()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        grant("bob", 11, "beta", {repositoryJSON("beta/b", "R2")});
        refresh();
        m_ledger->recordRefusal(1, RateLimitNotice{m_clock->now() + 1h}, m_clock->now());
        m_http->requests.clear();
        grant("bob", 11, "beta", {repositoryJSON("beta/c", "R3")});
        refresh();
        QCOMPARE(names(), QStringLiteral("acme/a,beta/c"));
        QVERIFY(!paths().contains(QStringLiteral("alice")));
        QVERIFY(m_store->state() == state(Case::Ready));
        QVERIFY(m_store->failures().isEmpty());
    }

    void aSessionRemovedDuringTheRefreshIsDropped()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        grant("bob", 11, "beta", {repositoryJSON("beta/b", "R2")});
        m_http->handler = nullptr;
        const auto running = start(m_store->refresh(m_authentication.get()));
        QVERIFY(m_http->answerNext(answer(m_http->requests.last())));
        awaitValue(m_authentication->remove(1));
        answerAll(running);
        QCOMPARE(names(), QStringLiteral("beta/b"));
        QVERIFY(m_store->state() == state(Case::Ready));
    }

    void aRefreshThatComesWhileOneRunsJoinsIt()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        m_http->handler = nullptr;
        const auto first = start(m_store->refresh(m_authentication.get()));
        const auto second = start(m_store->refreshIdentities(m_authentication.get(), QSet<qint64>({1})));
        const auto third = start(m_store->refresh(m_authentication.get()));
        QCOMPARE(m_http->openRequests, 1);
        answerAll(first);
        QVERIFY(first->isDone && second->isDone && third->isDone);
        QCOMPARE(names(), QStringLiteral("acme/a"));
        QVERIFY(m_store->state() == state(Case::Ready));
        QCOMPARE(m_http->requests.size(), 2);
        QCOMPARE(m_http->mostOpenRequests, 1);
    }

    void whatTwoRefreshesLoadOneAfterTheOtherIsTheLater()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        m_http->handler = nullptr;
        const auto first = start(m_store->refresh(m_authentication.get()));
        // The first refresh has alice's answer and waits for bob's.
        QVERIFY(m_http->answerNext(answer(m_http->requests.last())));
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        const auto second = start(m_store->refreshIdentities(m_authentication.get(), QSet<qint64>({1})));
        QCOMPARE(m_http->openRequests, 2);
        m_http->resume([this](const HTTPRequest &request) { return answer(request); });
        QVERIFY(waitUntil([&] { return first->isDone && second->isDone; }));
        QCOMPARE(names(), QStringLiteral("acme/a"));
    }

    void aRefusalThatTwoRefreshesShareCountsOnce()
    {
        makeStore({QStringLiteral("alice")});
        m_answers.insert("alice /user/installations", FakeHTTPSession::response(429, {}));
        m_http->handler = nullptr;
        const auto first = start(m_store->refresh(m_authentication.get()));
        const auto second = start(m_store->refresh(m_authentication.get()));
        answerAll(first);
        QVERIFY(second->isDone);
        QVERIFY(m_ledger->pausedUntil(1, m_clock->now()) == m_clock->now() + 60s);
    }

    void whoHasNoTimeDoesNotJoinALoadThatWaitsForItsCredential()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        grant("bob", 11, "beta", {repositoryJSON("beta/b", "R2")});
        m_credentials->isHolding = true;
        const auto user = start(m_store->refresh(m_authentication.get()));
        const auto poll = start(m_store->refreshIdentities(m_authentication.get(), QSet<qint64>({1})));
        m_clock->advance(5s);
        drainEvents();
        QVERIFY(poll->isDone);
        QVERIFY(!user->isDone);
        m_credentials->isHolding = false;
        while (m_credentials->release()) { }
        QVERIFY(waitUntil([&] { return user->isDone; }));
        QCOMPARE(names(), QStringLiteral("beta/b"));
    }

    void whoHasTimeWaitsForTheCredentialThatAJoinedLoadGaveUp()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        m_credentials->isHolding = true;
        const auto poll = start(m_store->refreshIdentities(m_authentication.get(), QSet<qint64>({1})));
        const auto user = start(m_store->refresh(m_authentication.get()));
        m_clock->advance(5s);
        drainEvents();
        QVERIFY(poll->isDone && !user->isDone);
        m_credentials->isHolding = false;
        while (m_credentials->release()) { }
        QVERIFY(waitUntil([&] { return user->isDone; }));
        QCOMPARE(names(), QStringLiteral("acme/a"));
        QVERIFY(m_store->state() == state(Case::Ready));
    }

    void aLoadEndsWhenTheLastOfItsCallersLeaves()
    {
        makeStore({QStringLiteral("alice")});
        m_http->handler = nullptr;
        std::stop_source one;
        std::stop_source other;
        const auto first = start(m_store->refresh(m_authentication.get(), one.get_token()));
        const auto second = start(m_store->refresh(m_authentication.get(), other.get_token()));
        one.request_stop();
        drainEvents();
        QVERIFY(first->isDone && !second->isDone);
        QCOMPARE(m_http->openRequests, 1);
        other.request_stop();
        drainEvents();
        QVERIFY(second->isDone);
        QCOMPARE(m_http->openRequests, 0);
        QVERIFY(m_store->state() == state(Case::Disconnected));
        // The next refresh loads again.
        grant("alice", 10, "acme", {});
        m_http->handler = [this](const HTTPRequest &request) {
            return answer(request);
        };
        refresh();
        QCOMPARE(keys(), QStringLiteral("1:10"));
    }

    void anIdentityWithoutInstallationsIsAnnouncedAsKnown()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        awaitValue(m_store->refreshIdentities(m_authentication.get(), QSet<qint64>({1})));
        QSignalSpy changes(m_store.get(), &InstallationStore::stateChanged);
        awaitValue(m_store->refreshIdentities(m_authentication.get(), QSet<qint64>({2})));
        QVERIFY(m_store->hasLoaded(2));
        QCOMPARE(changes.count(), 1);
        awaitValue(m_store->refreshIdentities(m_authentication.get(), QSet<qint64>({2})));
        QCOMPARE(changes.count(), 1);
    }

    void installationsAreExpectedWhereThereAreNoneAndWhileThePageIsOpen()
    {
        FakeURLOpener browser;
        m_page = std::make_unique<InstallationPage>(
            WebAddress(QStringLiteral("https://github.test/install")), &browser, m_clock.get());
        makeStore({QStringLiteral("alice"), QStringLiteral("bob"), QStringLiteral("carol")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        m_answers.insert("carol /user/installations", FakeHTTPSession::response(500, {}));
        QVERIFY(!m_store->expectsInstallations(2));
        refresh();
        QVERIFY(!m_store->expectsInstallations(1));
        QVERIFY(m_store->expectsInstallations(2));
        QVERIFY(!m_store->expectsInstallations(3));
        browser.works = false;
        QVERIFY(!m_page->open());
        QCOMPARE(browser.opened, QStringList(QStringLiteral("https://github.test/install")));
        m_clock->setNow(m_clock->now() + 15min - 1us);
        QVERIFY(m_store->expectsInstallations(1));
        m_clock->setNow(m_clock->now() + 1us);
        QVERIFY(!m_store->expectsInstallations(1));
        m_page->recordOpened();
        QVERIFY(m_store->expectsInstallations(1));
        m_clock->setNow(m_clock->now() - 1us);
        QVERIFY(!m_store->expectsInstallations(1));
    }

    void aSuspendedInstallationIsListedAndTakesNothingFromTheOthers()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        grant("alice", 11, "beta", {repositoryJSON("beta/b", "R2")});
        suspend("alice", 10, "acme");
        refresh();
        QVERIFY(m_store->state() == state(Case::Ready));
        QCOMPARE(keys(), QStringLiteral("1:10,1:11"));
        QVERIFY(m_store->installations().at(0).installation.isSuspended());
        QVERIFY(!m_store->installations().at(1).installation.isSuspended());
        QCOMPARE(names(), QStringLiteral("beta/b"));
        QVERIFY(!paths().contains(QStringLiteral("/10/repositories")));
    }

    void choicesOfAnIdentityThatCouldNotBeLoadedSurviveEveryToggle()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        const QStringList excluded{QStringLiteral("R1"), QStringLiteral("B1")};
        const QStringList disabled{QStringLiteral("2:20"), QStringLiteral("3:30"), QStringLiteral("22:1")};
        m_defaults->values.insert(kExcluded, excluded);
        m_defaults->values.insert(kDisabled, disabled);
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1"), repositoryJSON("acme/b", "R2")});
        m_answers.insert("bob /user/installations", FakeHTTPSession::response(500, {}));
        refresh();
        m_store->setRepository(QStringLiteral("R2"), false);
        QCOMPARE(m_defaults->stringList(kExcluded), texts({"R1", "R2", "B1"}));
        m_store->setAllRepositories(true);
        QCOMPARE(m_defaults->stringList(kExcluded), texts({"B1"}));
        m_store->setInstallation(QStringLiteral("1:10"), false);
        QCOMPARE(m_defaults->stringList(kDisabled), texts({"1:10", "2:20"}));
        m_answers.remove("bob /user/installations");
        grant("bob", 20, "beta", {repositoryJSON("beta/b", "B1")});
        refresh();
        QCOMPARE(monitored(), QString());
        m_store->setInstallation(QStringLiteral("2:20"), true);
        QCOMPARE(m_defaults->stringList(kDisabled), texts({"1:10"}));
    }

    void choicesMadeBeforeAnythingIsKnownLoseNothing()
    {
        makeStore({QStringLiteral("alice")});
        m_defaults->values.insert(kExcluded, texts({"R1"}));
        m_store->setAllRepositories(true);
        QCOMPARE(m_defaults->stringList(kExcluded), texts({"R1"}));
    }

    void choicesOfASuspendedInstallationComeBackWithIt()
    {
        makeStore({QStringLiteral("alice")});
        m_defaults->values.insert(kExcluded, texts({"R1"}));
        m_defaults->values.insert(kDisabled, texts({"1:10"}));
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        grant("alice", 11, "beta", {repositoryJSON("beta/b", "R2")});
        suspend("alice", 10, "acme");
        refresh();
        m_store->setRepository(QStringLiteral("R2"), false);
        QCOMPARE(m_defaults->stringList(kExcluded), texts({"R2", "R1"}));
        m_store->setInstallation(QStringLiteral("1:11"), false);
        QCOMPARE(m_defaults->stringList(kDisabled), texts({"1:10", "1:11"}));
    }

    void aRemovedAccountTakesItsChoicesAlong()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        m_defaults->values.insert(kExcluded, texts({"B1"}));
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        m_answers.insert("bob /user/installations", FakeHTTPSession::response(500, {}));
        refresh();
        awaitValue(m_authentication->remove(2));
        m_store->retain(m_authentication->sessions());
        m_store->setRepository(QStringLiteral("R1"), false);
        QCOMPARE(m_defaults->stringList(kExcluded), texts({"R1"}));
    }

    void aStopPublishesNothingAndRestoresTheState()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        refresh();
        const auto refreshedAt = m_store->lastRefreshedAt();
        m_clock->advance(1h);
        m_http->handler = nullptr;
        std::stop_source source;
        const auto running = start(m_store->refresh(m_authentication.get(), source.get_token()));
        QVERIFY(m_store->state() == state(Case::Loading));
        source.request_stop();
        drainEvents();
        QVERIFY(running->isDone && !running->failure);
        QVERIFY(m_store->state() == state(Case::Ready));
        QCOMPARE(names(), QStringLiteral("acme/a"));
        QVERIFY(m_store->lastRefreshedAt() == refreshedAt);
        QVERIFY(m_store->failures().isEmpty());
        QCOMPARE(m_http->openRequests, 0);
    }

    void aStopOfOneOfTwoRefreshesLeavesTheOtherLoading()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {});
        m_http->handler = nullptr;
        std::stop_source source;
        const auto first = start(m_store->refresh(m_authentication.get()));
        const auto second = start(m_store->refresh(m_authentication.get(), source.get_token()));
        source.request_stop();
        drainEvents();
        QVERIFY(second->isDone);
        QVERIFY(m_store->state() == state(Case::Loading));
        answerAll(first);
        QVERIFY(m_store->state() == state(Case::Ready));
    }

    void aStopAfterAnotherRefreshHasEndedLeavesNothingLoading()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        grant("alice", 10, "acme", {});
        m_http->handler = nullptr;
        std::stop_source source;
        const auto stopped
            = start(m_store->refreshIdentities(m_authentication.get(), QSet<qint64>({1}), source.get_token()));
        m_http->handler = [this](const HTTPRequest &request) {
            return answer(request);
        };
        awaitValue(m_store->refreshIdentities(m_authentication.get(), QSet<qint64>({2})));
        QVERIFY(m_store->state() == state(Case::Ready));
        source.request_stop();
        drainEvents();
        QVERIFY(stopped->isDone);
        QVERIFY(m_store->state() == state(Case::Ready));
    }

    void aStopBeforeTheRefreshDoesNothing()
    {
        makeStore({QStringLiteral("alice")});
        std::stop_source source;
        source.request_stop();
        QSignalSpy changes(m_store.get(), &InstallationStore::stateChanged);
        awaitValue(m_store->refresh(m_authentication.get(), source.get_token()));
        QCOMPARE(changes.count(), 0);
        QVERIFY(m_http->requests.isEmpty());
    }

    void theEndOfTheStoreDuringARefreshIsQuiet()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {});
        m_http->handler = nullptr;
        const auto running = start(m_store->refresh(m_authentication.get()));
        m_store.reset();
        answerAll(running);
        QVERIFY(running->isDone && !running->failure);
    }

    void theEndOfTheAccountsDuringARefreshEndsItQuietly()
    {
        makeStore({QStringLiteral("alice"), QStringLiteral("bob")});
        grant("alice", 10, "acme", {});
        m_http->handler = nullptr;
        const auto running = start(m_store->refresh(m_authentication.get()));
        m_authentication.reset();
        answerAll(running);
        QVERIFY(running->isDone && !running->failure);
        QVERIFY(m_store->state() == state(Case::Disconnected));
        QVERIFY(!m_store->lastRefreshedAt().has_value());
    }

    void anObserverMayEndTheStore()
    {
        makeStore({QStringLiteral("alice")});
        grant("alice", 10, "acme", {repositoryJSON("acme/a", "R1")});
        connect(m_store.get(), &InstallationStore::installationsChanged, this, [this] { m_store.reset(); });
        const auto running = start(m_store->refresh(m_authentication.get()));
        QVERIFY(waitUntil([&] { return running->isDone; }));
        QVERIFY(!running->failure && !m_store);
    }

    void tenThousandRepositoriesAreListedInTheirOrder()
    {
        makeStore({QStringLiteral("alice")});
        // A page with more or less than 100 entries is the last, so one page may hold all.
        QByteArrayList repositories;
        for (int i = 0; i < 10'000; ++i) {
            const QByteArray number = QByteArray::number((i * 7919) % 10'000 + 10'000);
            repositories.append(repositoryJSON("Acme/repository-" + number, "R" + number));
        }
        grant("alice", 10, "acme", repositories);
        refresh();
        QCOMPARE(m_store->repositories().size(), 10'000);
        QCOMPARE(m_store->repositories().first().repository.nameWithOwner, QStringLiteral("Acme/repository-10000"));
        QCOMPARE(m_store->repositories().last().repository.nameWithOwner, QStringLiteral("Acme/repository-19999"));
    }

private:
    static inline const QString kDisabled = QStringLiteral("github.disabledInstallations");
    static inline const QString kExcluded = QStringLiteral("github.excludedRepositories");

    static InstallationLoadingState state(Case value, const QString &message = {}) { return {value, message}; }

    /// Makes stores with accounts of these logins, ids 1, 2, …; each token is the login.
    void makeStore(const QStringList &logins)
    {
        QList<GitHubAccount> accounts;
        for (const QString &login : logins) {
            const qint64 id = accounts.size() + 1;
            accounts.append({id, login, std::nullopt});
            m_credentials->credentials.insert(id, {login, std::nullopt, std::nullopt, std::nullopt});
        }
        m_defaults->values.insert(QStringLiteral("github.accounts"), encodeJSON(accounts));
        GitHubClient client;
        client.clientID = QStringLiteral("client");
        client.session = m_http;
        client.apiURL = QUrl(QStringLiteral("https://api.github.test"));
        client.loginURL = QUrl(QStringLiteral("https://github.test/login"));
        client.clock = m_clock.get();
        AuthenticationStore::Services services;
        services.defaults = m_defaults.get();
        services.clock = m_clock.get();
        m_authentication = std::make_unique<AuthenticationStore>(client, m_credentials, services);
        m_store = std::make_unique<InstallationStore>(client, m_defaults.get(), m_clock.get(), m_ledger, m_page.get());
        m_installations.clear();
    }

    /// Adds the installation to those that the identity sees, or replaces the one with this id.
    void grant(
        const QByteArray &login, qint64 installationID, const QByteArray &owner, const QByteArrayList &repositories)
    {
        auto &installations = m_installations[login];
        const QByteArray installation = installationJSON(installationID, owner);
        if (!installations.contains(installation))
            installations.append(installation);
        m_answers.insert(
            login + " /user/installations", FakeHTTPSession::response(200, installationsJSON(installations)));
        m_answers.insert(login + " /user/installations/" + QByteArray::number(installationID) + "/repositories",
            FakeHTTPSession::response(200, repositoriesJSON(repositories)));
    }

    /// Suspends the installation: its repositories are refused from now on.
    void suspend(const QByteArray &login, qint64 installationID, const QByteArray &owner)
    {
        QByteArray suspended = installationJSON(installationID, owner);
        suspended.replace(
            "\"repository_selection\"", "\"suspended_at\":\"2026-01-15T10:00:00Z\",\"repository_selection\"");
        auto &installations = m_installations[login];
        installations[installations.indexOf(installationJSON(installationID, owner))] = suspended;
        m_answers.insert(
            login + " /user/installations", FakeHTTPSession::response(200, installationsJSON(installations)));
        m_answers.insert(login + " /user/installations/" + QByteArray::number(installationID) + "/repositories",
            FakeHTTPSession::response(403, {}));
    }

    HTTPResponse answer(const HTTPRequest &request) const
    {
        const QByteArray key = tokenOf(request) + ' ' + request.url.path().toUtf8();
        return m_answers.value(key, FakeHTTPSession::response(200, installationsJSON({})));
    }

    /// Answers waiting and further requests until the refresh has ended.
    void answerAll(const std::shared_ptr<Outcome<void>> &running)
    {
        m_http->handler = [this](const HTTPRequest &request) {
            return answer(request);
        };
        while (!running->isDone && m_http->answerNext(answer(m_http->requests.last()))) { }
    }

    void refresh() { awaitValue(m_store->refresh(m_authentication.get())); }

    [[nodiscard]] QString keys() const
    {
        QStringList all;
        for (const auto &record : m_store->installations())
            all.append(record.id());
        return all.join(QLatin1Char(','));
    }

    static QString joinedNames(const QList<RepositoryRecord> &records)
    {
        QStringList all;
        for (const auto &record : records)
            all.append(record.repository.nameWithOwner);
        return all.join(QLatin1Char(','));
    }

    [[nodiscard]] QString names() const { return joinedNames(m_store->repositories()); }
    [[nodiscard]] QString monitored() const { return joinedNames(m_store->monitoredRepositories()); }

    [[nodiscard]] QString paths() const
    {
        QStringList all;
        for (const auto &request : m_http->requests)
            all.append(QString::fromUtf8(tokenOf(request)) + QLatin1Char(' ') + request.url.path());
        return all.join(QLatin1Char(','));
    }

    std::unique_ptr<FakeClock> m_clock;
    std::shared_ptr<FakeHTTPSession> m_http;
    std::shared_ptr<FakeCredentialStore> m_credentials;
    std::unique_ptr<FakePreferences> m_defaults;
    std::shared_ptr<RateLimitLedger> m_ledger;
    QMap<QByteArray, HTTPResponse> m_answers;
    QMap<QByteArray, QByteArrayList> m_installations;
    std::unique_ptr<InstallationPage> m_page;
    std::unique_ptr<AuthenticationStore> m_authentication;
    std::unique_ptr<InstallationStore> m_store;
};

VELMORA_TEST(InstallationStoreTest)
#include "installation_store_test.moc"
