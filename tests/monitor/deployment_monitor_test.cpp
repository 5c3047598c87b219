// SPDX-License-Identifier: MIT
#include "support/lockable_credential_store.h"
#include "support/monitor_fixture.h"
#include "support/test_main.h"

#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

QString text(const char *latin1)
{
    return QString::fromLatin1(latin1);
}

QStringList texts(std::initializer_list<const char *> list)
{
    QStringList result;
    for (const auto *item : list)
        result.append(text(item));
    return result;
}

FakeGitHub::Repository repository(const char *nodeID, const char *name, QList<FakeGitHub::Deployment> deployments = {})
{
    return {text(nodeID), text(name), std::move(deployments), {}};
}

FakeGitHub::Deployment deployment(const char *id, const char *state, std::chrono::microseconds age = 1h)
{
    return {text(id), text(state), noon() - age};
}

DeploymentMonitorState::Case stateOf(const MonitorFixture &fixture)
{
    return fixture.monitor->state().state;
}

using Case = DeploymentMonitorState::Case;

std::exception_ptr noNetwork()
{
    return std::make_exception_ptr(TransportError(TransportError::Kind::Network, text("no network")));
}

/// A credential store that never answers for some accounts until it is told to.
class SlowCredentialStore final : public CredentialStoring
{
public:
    explicit SlowCredentialStore(std::shared_ptr<CredentialStoring> content)
        : m_content(std::move(content))
    {
    }

    [[nodiscard]] QCoro::Task<> prepareToSave() override { return m_content->prepareToSave(); }
    [[nodiscard]] QCoro::Task<> unlock(QList<qint64> accountIDs) override { return m_content->unlock(accountIDs); }
    [[nodiscard]] QCoro::Task<> save(GitHubCredential credential, qint64 accountID, Interaction interaction) override
    {
        return m_content->save(std::move(credential), accountID, interaction);
    }
    [[nodiscard]] QCoro::Task<std::optional<GitHubCredential>> load(qint64 accountID) override
    {
        if (slow.contains(accountID)) {
            const OneShot<> held;
            m_held.append(held);
            co_await held;
        }
        auto loaded = co_await m_content->load(accountID);
        co_return loaded;
    }
    [[nodiscard]] QCoro::Task<> remove(qint64 accountID, Interaction interaction) override
    {
        return m_content->remove(accountID, interaction);
    }

    [[nodiscard]] qsizetype waiting() const { return m_held.size(); }
    void release() { m_held.takeFirst().resolve(); }

    QSet<qint64> slow;

private:
    std::shared_ptr<CredentialStoring> m_content;
    QList<OneShot<>> m_held;
};

} // namespace

class DeploymentMonitorTest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<MonitorFixture> f;

    /// One account, "alice", with the repositories.
    void buildAlice(const QList<FakeGitHub::Repository> &repositories)
    {
        f->connect(1, text("alice")).repositories = repositories;
        f->build();
    }

    void buildAliceAndBob()
    {
        f->connect(1, text("alice")).repositories = {repository("R_a", "alice/a", {deployment("a1", "SUCCESS", 1h)})};
        f->connect(2, text("bob")).repositories = {repository("R_b", "bob/b", {deployment("b1", "FAILURE", 2h)})};
        f->build();
    }

    /// GitHub has renewed alice's token for another process, which has not stored it: the stored one is dead, but can
    /// be renewed into this one.
    void renewAliceInto(const char *token)
    {
        GitHubCredential credential;
        credential.accessToken = text("alice");
        credential.refreshToken = text("refresh");
        awaitValue(f->credentials->save(credential, 1, Interaction::Forbidden));
        f->github.identities[text(token)] = f->github.identities.take(text("alice"));
        f->github.grantedToken = text(token);
    }

    [[nodiscard]] qsizetype renewals() const
    {
        return std::ranges::count_if(f->github.session->requests,
            [](const HTTPRequest &request) { return request.url.path().endsWith(text("/oauth/access_token")); });
    }

    [[nodiscard]] qsizetype requestsWithTheTokenOfAlice() const
    {
        return std::ranges::count_if(f->github.session->requests, [](const HTTPRequest &request) {
            return std::ranges::any_of(
                request.headers, [](const auto &header) { return header.second == "Bearer alice"; });
        });
    }

    void refreshExpected() { awaitValue(f->monitor->refreshExpected(f->authentication.get(), f->installations.get())); }

    FakeGitHub::Identity &alice() { return f->github.identities[text("alice")]; }
    FakeGitHub::Identity &bob() { return f->github.identities[text("bob")]; }

private Q_SLOTS:
    void init() { f = std::make_unique<MonitorFixture>(); }
    void cleanup() { f.reset(); }

    void itStartsLoadingWithNothingToShow()
    {
        buildAlice({});
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::loading(false));
        QVERIFY(f->monitor->deployments().isEmpty());
        QVERIFY(!f->monitor->isRefreshing());
        QVERIFY(!f->monitor->lastRefreshedAt());
    }

    void theFirstTickFetchesInstallationsAndThenAllDeployments()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS"), deployment("a2", "IN_PROGRESS", 2h)})});
        f->tick();
        QCOMPARE(
            f->github.restRequests, texts({"alice: /user/installations", "alice: /user/installations/7/repositories"}));
        QCOMPARE(f->github.queries, texts({"alice: R_a"}));
        QCOMPARE(f->shownIDs(), texts({"a2", "a1"}));
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::ready(noon()));
        QCOMPARE(f->monitor->lastRefreshedAt(), noon());
        QCOMPARE(f->monitor->message(), QString());
        QCOMPARE(f->monitor->presentation().title(), text("1"));
    }

    void twentySecondsAfterARefreshWithNothingUnderWayATickFetchesNothing()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})});
        f->tick();
        f->github.clearLog();
        f->tickAfter(20s);
        QCOMPARE(f->github.session->requests.size(), 3);
        QVERIFY(f->github.queries.isEmpty());
    }

    void twentySecondsAfterARefreshOnlyTheRepositoryWithADeploymentUnderWayIsFetched()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS")}),
            repository("R_b", "alice/b", {deployment("b1", "IN_PROGRESS")})});
        f->tick();
        f->github.clearLog();
        f->tickAfter(20s);
        QCOMPARE(f->github.queries, texts({"alice: R_b"}));
        QVERIFY(f->github.restRequests.isEmpty());
        QCOMPARE(f->shownIDs(), texts({"b1", "a1"}));
    }

    void anActiveRefreshDoesNotPostponeTheFullOne()
    {
        buildAlice({repository("R_a", "alice/a"), repository("R_b", "alice/b", {deployment("b1", "QUEUED")})});
        f->tick();
        for (int i = 0; i < 5; ++i)
            f->tickAfter(5s);
        QCOMPARE(f->monitor->lastRefreshedAt(), noon());
        f->github.clearLog();
        f->tickAfter(5s);
        QCOMPARE(f->github.queries, texts({"alice: R_a R_b"}));
        QCOMPARE(f->monitor->lastRefreshedAt(), noon() + 30s);
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::ready(noon() + 30s));
    }

    void anHourAfterTheInstallationsTheNextTickRefreshesThemFirst()
    {
        buildAlice({repository("R_a", "alice/a")});
        f->tick();
        f->tickAfter(3599s);
        f->github.clearLog();
        f->tickAfter(1s);
        QCOMPARE(f->github.restRequests.size(), 2);
        QCOMPARE(f->github.queries, texts({"alice: R_a"}));
    }

    void anActiveRefreshReplacesJustTheRepositoriesThatItFetched()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS")}),
            repository("R_b", "alice/b", {deployment("b1", "IN_PROGRESS"), deployment("b0", "FAILURE", 3h)})});
        f->tick();
        alice().repositories[0].deployments = {deployment("a2", "SUCCESS")};
        alice().repositories[1].deployments = {deployment("b1", "SUCCESS", 1min)};
        f->tickAfter(5s);
        QCOMPARE(f->shownIDs(), texts({"b1", "a1"}));
    }

    void aRepositoryThatIsRenamedOrTransferredGoesOnUnderItsNewName()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "IN_PROGRESS")})});
        f->tick();
        alice().repositories[0].name = text("acme/b");
        alice().repositories[0].deployments = {deployment("a1", "FAILURE", 1min)};
        f->tickAfter(1h); // the repositories are listed again
        QCOMPARE(f->shownIDs(), texts({"a1"}));
        QCOMPARE(f->monitor->deployments().first()->repositoryName, text("acme/b"));
        QCOMPARE(f->notifier.announced, texts({"failure a1"}));
    }

    void anActiveRefreshFindsTheRepositoryByNameWhenTheIdHasAnotherForm()
    {
        auto other = repository("MDEwOnew", "alice/b", {deployment("b1", "IN_PROGRESS")});
        other.graphqlID = text("R_new");
        buildAlice({repository("R_a", "alice/a"), other});
        f->tick();
        f->github.clearLog();
        alice().repositories[1].deployments = {deployment("b1", "SUCCESS", 1min)};
        f->tickAfter(5s);
        QCOMPARE(f->github.queries, texts({"alice: MDEwOnew"}));
        QCOMPARE(f->monitor->deployments().size(), 1);
        QCOMPARE(f->monitor->deployments().first().state(), DeploymentState::Success);
    }

    void aFullRefreshReplacesEverythingOfAnIdentityThatSucceeded()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})});
        f->tick();
        alice().repositories[0].deployments = {deployment("a2", "FAILURE")};
        f->tickAfter(30s);
        QCOMPARE(f->shownIDs(), texts({"a2"}));
    }

    void deploymentsOfARepositoryThatIsNoLongerMonitoredGoWithTheNextFullRefresh()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS")}),
            repository("R_b", "alice/b", {deployment("b1", "SUCCESS")})});
        f->tick();
        f->installations->setRepository(text("R_b"), false);
        f->tickAfter(5s);
        QCOMPARE(f->shownIDs().size(), 2);
        f->tickAfter(25s);
        QCOMPARE(f->shownIDs(), texts({"a1"}));
    }

    void identitiesAreAskedOneAfterTheOtherWithTheirOwnTokens()
    {
        buildAliceAndBob();
        f->tick();
        QCOMPARE(f->github.queries, texts({"alice: R_a", "bob: R_b"}));
        QCOMPARE(f->github.session->mostOpenRequests, 1);
        QCOMPARE(f->shownIDs(), texts({"a1", "b1"}));
    }

    void oneIdentityFailsAndTheOthersGoOn()
    {
        buildAliceAndBob();
        f->tick();
        bob().graphqlFailure = FakeHTTPSession::response(500, "");
        alice().repositories[0].deployments = {deployment("a2", "SUCCESS")};
        f->tickAfter(30s);
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::stale(noon()));
        QCOMPARE(f->monitor->message(), text("bob: GitHub returned HTTP 500."));
        QCOMPARE(f->shownIDs(), texts({"a2", "b1"}));
        QCOMPARE(f->monitor->lastRefreshedAt(), noon() + 30s);
    }

    void aFailedIdentityIsRetriedAfterFiveTenAndTwentySeconds()
    {
        buildAliceAndBob();
        f->tick();
        bob().graphqlFailure = FakeHTTPSession::response(500, "");
        f->tickAfter(30s); // fails for the first time
        QList<qint64> askedAt;
        for (int second = 5; second <= 160; second += 5) {
            f->github.clearLog();
            f->tickAfter(5s);
            if (f->github.queries.contains(text("bob: R_b")))
                askedAt.append(second);
        }
        QCOMPARE(askedAt, QList<qint64>({5, 15, 35, 75, 155}));
    }

    void aHealthyIdentityIsPolledAsIfNothingHadHappened()
    {
        buildAliceAndBob();
        f->tick();
        bob().graphqlFailure = FakeHTTPSession::response(500, "");
        QList<qint64> askedAt;
        for (int second = 5; second <= 120; second += 5) {
            f->github.clearLog();
            f->tickAfter(5s);
            if (f->github.queries.contains(text("alice: R_a")))
                askedAt.append(second);
        }
        QCOMPARE(askedAt, QList<qint64>({30, 60, 90, 120}));
    }

    void aRetryThatSucceedsMakesTheStateReadyWithoutMovingTheRefresh()
    {
        buildAliceAndBob();
        f->tick();
        bob().graphqlFailure = FakeHTTPSession::response(500, "");
        f->tickAfter(30s);
        bob().graphqlFailure.reset();
        bob().repositories[0].deployments = {deployment("b2", "SUCCESS")};
        f->tickAfter(5s);
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::ready(noon() + 30s));
        QCOMPARE(f->monitor->lastRefreshedAt(), noon() + 30s);
        QCOMPARE(f->monitor->message(), QString());
        QVERIFY(f->shownIDs().contains(text("b2")));
    }

    void anAccountIsTriedAtOnceWhenTheKeyringIsUnlocked()
    {
        const auto keyring = std::make_shared<LockableCredentialStore>(f->credentials);
        f->credentialStore = keyring;
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})});
        f->monitor->start(f->authentication.get(), f->installations.get());
        f->clock.advance(10min);
        QCOMPARE(stateOf(*f), Case::Stale);
        QVERIFY(f->monitor->message().startsWith(text("alice: ")));
        QVERIFY(f->github.queries.isEmpty());
        keyring->isLocked = false;
        // The store reads the keyring once a minute, while the back-off of the monitor has grown to five minutes.
        f->clock.advance(65s);
        QCOMPARE(f->authentication->sessions().first().status, GitHubSessionStatus::Connected);
        QCOMPARE(stateOf(*f), Case::Ready);
        QCOMPARE(f->shownIDs(), texts({"a1"}));
    }

    void anIdentityWhoseCredentialDoesNotComeHoldsNobodyUp()
    {
        const auto keyring = std::make_shared<SlowCredentialStore>(f->credentials);
        f->credentialStore = keyring;
        buildAliceAndBob();
        f->tick();
        keyring->slow = {1};
        f->github.clearLog();
        f->monitor->start(f->authentication.get(), f->installations.get());
        QStringList asked;
        for (int second = 1; second <= 300; ++second) {
            f->github.clearLog();
            f->clock.advance(1s);
            drainEvents();
            if (f->github.queries.contains(text("bob: R_b")))
                asked.append(QString::number(second));
            QVERIFY(!f->github.queries.contains(text("alice: R_a")));
        }
        // The first wait for alice's credential, of 5 seconds, is the only one that bob notices.
        QVERIFY2(asked.size() >= 9, qPrintable(asked.join(QLatin1Char(' '))));
        QCOMPARE(stateOf(*f), Case::Stale);
        QCOMPARE(f->monitor->message(), text("alice: Velmora is still waiting for the token of this account."));
        QCOMPARE(keyring->waiting(), 1);
        keyring->slow.clear();
        f->github.clearLog();
        keyring->release();
        drainEvents();
        // A credential that has arrived is used at once.
        QVERIFY(f->github.queries.contains(text("alice: R_a")));
        QCOMPARE(stateOf(*f), Case::Ready);
    }

    void aTokenThatIsRefusedCostsOneRenewalAndNoFailure()
    {
        buildAliceAndBob();
        f->tick();
        renewAliceInto("alice-2");
        f->tickAfter(30s);
        QCOMPARE(stateOf(*f), Case::Ready);
        QCOMPARE(f->monitor->message(), QString());
        QCOMPARE(f->github.queries.mid(f->github.queries.size() - 2), texts({"alice-2: R_a", "bob: R_b"}));
        QCOMPARE(renewals(), 1);
        f->tickAfter(30s);
        QCOMPARE(renewals(), 1);
    }

    void aSessionThatGitHubEndsSaysWhatToDoAndIsLeftAloneUntilItIsConnectedAgain()
    {
        buildAliceAndBob();
        f->tick();
        f->github.identities.remove(text("alice"));
        const auto before = requestsWithTheTokenOfAlice();
        f->tickAfter(30s);
        QCOMPARE(stateOf(*f), Case::Stale);
        QCOMPARE(f->monitor->message(),
            text("alice: This GitHub account needs to be connected again. Connect alice again."));
        QCOMPARE(f->authentication->sessions().first().status, GitHubSessionStatus::ReconnectRequired);
        QCOMPARE(requestsWithTheTokenOfAlice(), before + 1);
        const QSignalSpy changes(f->authentication.get(), &AuthenticationStore::sessionsChanged);
        for (int i = 0; i < 90; ++i)
            f->tickAfter(30s);
        QCOMPARE(requestsWithTheTokenOfAlice(), before + 1);
        QCOMPARE(changes.size(), 0);
        QCOMPARE(stateOf(*f), Case::Stale);
    }

    void anAccountThatIsConnectedAgainElsewhereIsFetchedAtOnceThoughItsRecordIsTheSame()
    {
        buildAliceAndBob();
        f->tick();
        f->monitor->start(f->authentication.get(), f->installations.get());
        const auto identity = f->github.identities.take(text("alice"));
        f->clock.advance(10min);
        QCOMPARE(stateOf(*f), Case::Stale);
        f->github.identities[text("alice-2")] = identity;
        GitHubCredential credential;
        credential.accessToken = text("alice-2");
        awaitValue(f->credentials->save(credential, 1, Interaction::Forbidden));
        f->defaults.setValue(text("github.connections"), QStringList{text("1:1")});
        drainEvents();
        QCOMPARE(stateOf(*f), Case::Ready);
        QCOMPARE(f->authentication->sessions().first().status, GitHubSessionStatus::Connected);
    }

    void whenTheNetworkReturnsFailedIdentitiesAreTriedAtOnce()
    {
        buildAliceAndBob();
        f->tick();
        alice().transportFailure = noNetwork();
        bob().transportFailure = noNetwork();
        f->tickAfter(30s);
        for (int i = 0; i < 20; ++i)
            f->tickAfter(5s);
        QCOMPARE(stateOf(*f), Case::Stale);
        QCOMPARE(f->monitor->message(), text("alice: no network\nbob: no network"));
        alice().transportFailure = nullptr;
        bob().transportFailure = nullptr;
        awaitValue(f->monitor->retryNow(f->authentication.get(), f->installations.get(), f->clock.now()));
        QCOMPARE(stateOf(*f), Case::Ready);
    }

    void aRefreshAskedForByAPersonTriesFailedIdentitiesAtOnce()
    {
        buildAliceAndBob();
        f->tick();
        bob().graphqlFailure = FakeHTTPSession::response(500, "");
        f->tickAfter(30s);
        f->tickAfter(5s);
        bob().graphqlFailure.reset();
        f->refreshAll();
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::ready(f->clock.now()));
    }

    void withoutNetworkAtStartTheSavedDeploymentsStay()
    {
        f->cache.payload
            = DeploymentCachePayload{{makeSnapshot(text("old"), DeploymentState::Failure, noon() - 1h)}, noon()};
        f->connect(1, text("alice")).transportFailure = noNetwork();
        f->build();
        awaitValue(f->monitor->loadCache());
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::loading(true));
        f->tick();
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::stale(noon()));
        QCOMPARE(f->monitor->message(), text("alice: no network"));
        QCOMPARE(f->shownIDs(), texts({"old"}));
        QVERIFY(!f->monitor->lastRefreshedAt());
        QVERIFY(!f->monitor->isRefreshing());
        QCOMPARE(f->cache.saves, 0);
    }

    void savedDeploymentsOfAnIdentityThatFailsStayBesideFreshOnes()
    {
        auto saved = makeSnapshot(text("b-saved"), DeploymentState::Success, noon() - 1h);
        saved.repositoryNodeID = text("R_b");
        saved.repositoryName = text("bob/b");
        f->cache.payload = DeploymentCachePayload{{saved}, noon()};
        f->connect(1, text("alice")).repositories = {repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})};
        f->connect(2, text("bob")).transportFailure = noNetwork();
        f->build();
        awaitValue(f->monitor->loadCache());
        f->tick();
        QCOMPARE(stateOf(*f), Case::Stale);
        auto shown = f->shownIDs();
        shown.sort();
        QCOMPARE(shown, texts({"a1", "b-saved"}));
        // The installations of bob are loaded again before the hour is over.
        bob().transportFailure = nullptr;
        bob().repositories = {repository("R_b", "bob/b", {deployment("b1", "SUCCESS")})};
        f->tickAfter(5s);
        QCOMPARE(stateOf(*f), Case::Ready);
        shown = f->shownIDs();
        shown.sort();
        QCOMPARE(shown, texts({"a1", "b1"}));
    }

    void aRevokedTokenIsAFailureAndNeverARateLimit()
    {
        buildAliceAndBob();
        f->github.identities.remove(text("bob"));
        f->tick();
        QCOMPARE(stateOf(*f), Case::Stale);
        QCOMPARE(
            f->monitor->message(), text("bob: This GitHub account needs to be connected again. Connect bob again."));
        QVERIFY(!f->ledger->pausedUntil(2, f->clock.now()));
    }

    void noAccountMeansDisconnectedWithAnEmptyList()
    {
        f->cache.payload
            = DeploymentCachePayload{{makeSnapshot(text("old"), DeploymentState::Failure, noon() - 1h)}, noon()};
        f->build();
        awaitValue(f->monitor->loadCache());
        f->tick();
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::disconnected(MissingStep::Account));
        QVERIFY(f->monitor->deployments().isEmpty());
        QVERIFY(f->cache.payload->deployments.isEmpty());
    }

    void nothingToMonitorMeansDisconnectedWithAnEmptyList()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})});
        f->tick();
        f->installations->setAllRepositories(false);
        f->tickAfter(30s);
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::disconnected(MissingStep::Selection));
        QVERIFY(f->monitor->deployments().isEmpty());
        f->installations->setAllRepositories(true);
        f->tickAfter(5s);
        QCOMPARE(stateOf(*f), Case::Ready);
        QCOMPARE(f->shownIDs(), texts({"a1"}));
    }

    void whatIsMissingIsTold()
    {
        buildAlice({});
        f->tick();
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::disconnected(MissingStep::Installation));
        alice().isInstalled = true;
        f->tickAfter(30s);
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::disconnected(MissingStep::Access));
        alice().repositories = {repository("R_a", "alice/a")};
        f->refreshAll();
        f->tickAfter(3600s);
        QCOMPARE(stateOf(*f), Case::Ready);
        f->installations->setInstallation(text("1:7"), false);
        f->tickAfter(30s);
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::disconnected(MissingStep::Selection));
    }

    void whatIsNotKnownOfOneIdentityIsNotMissing()
    {
        f->connect(1, text("alice"));
        f->connect(2, text("bob")).restFailure = FakeHTTPSession::response(500, "");
        f->build();
        f->tick();
        QCOMPARE(stateOf(*f), Case::Stale);
    }

    void whileNothingIsInstalledEveryFullPollAsksAgainWithoutAFlicker()
    {
        buildAlice({});
        f->tick();
        const QSignalSpy changes(f->monitor.get(), &DeploymentMonitor::changed);
        f->github.clearLog();
        for (int i = 0; i < 5; ++i)
            f->tickAfter(5s);
        QCOMPARE(f->github.restRequests.size(), 0);
        f->tickAfter(5s);
        QCOMPARE(f->github.restRequests, texts({"alice: /user/installations"}));
        f->tickAfter(30s);
        QCOMPARE(f->github.restRequests.size(), 2);
        QCOMPARE(changes.size(), 0);
        alice().repositories = {repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})};
        f->tickAfter(30s);
        QCOMPARE(f->shownIDs(), texts({"a1"}));
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::ready(f->clock.now()));
        f->github.clearLog();
        f->tickAfter(30s);
        QCOMPARE(f->github.restRequests.size(), 0);
    }

    void oneIdentityWithoutInstallationsIsAskedAgainBesideTheOthers()
    {
        f->connect(1, text("alice")).repositories = {repository("R_a", "alice/a")};
        f->connect(2, text("bob"));
        f->build();
        f->tick();
        f->github.clearLog();
        f->tickAfter(30s);
        QCOMPARE(f->github.restRequests, texts({"bob: /user/installations"}));
        f->github.identities[text("bob")].repositories = {repository("R_b", "bob/b", {deployment("b1", "SUCCESS")})};
        f->tickAfter(30s);
        QCOMPARE(f->shownIDs(), texts({"b1"}));
    }

    void forAWhileAfterTheInstallationPageWasOpenedEveryIdentityIsAskedAgain()
    {
        buildAlice({repository("R_a", "alice/a")});
        f->tick();
        f->installationPage.open();
        f->github.clearLog();
        f->tickAfter(30s);
        QCOMPARE(f->github.restRequests.size(), 2);
        f->tickAfter(15min);
        QCOMPARE(f->github.restRequests.size(), 2);
    }

    void whoComesBackFromInstallingIsServedAtOnce()
    {
        buildAlice({});
        f->tick();
        f->github.clearLog();
        alice().repositories = {repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})};
        refreshExpected();
        QCOMPARE(f->shownIDs(), texts({"a1"}));
        QCOMPARE(stateOf(*f), Case::Ready);
        QVERIFY(!f->monitor->isRefreshing());
        f->github.clearLog();
        refreshExpected();
        QCOMPARE(f->github.restRequests.size() + f->github.queries.size(), 0);
        f->installationPage.open();
        refreshExpected();
        QCOMPARE(f->github.restRequests.size(), 2);
        QVERIFY(!f->monitor->isRefreshing());
        f->monitor->hold();
        refreshExpected();
        QCOMPARE(f->github.restRequests.size(), 2);
    }

    void comingBackTwiceWhileALoadRunsAsksOnce()
    {
        buildAlice({});
        f->tick();
        const auto handler = std::exchange(f->github.session->handler, nullptr);
        const auto first = start(f->monitor->refreshExpected(f->authentication.get(), f->installations.get()));
        const auto second = start(f->monitor->refreshExpected(f->authentication.get(), f->installations.get()));
        const auto before = f->github.session->requests.size();
        f->clock.setNow(f->clock.now() + 1s);
        f->github.session->resume(handler);
        QVERIFY(waitUntil([&] { return first->isDone && second->isDone; }));
        QCOMPARE(f->github.session->requests.size(), before);
    }

    void aFailureOfWhoComesBackIsBackedOffFrom()
    {
        buildAlice({});
        f->tick();
        alice().restFailure = FakeHTTPSession::response(500, "");
        f->github.clearLog();
        refreshExpected();
        QCOMPARE(f->github.restRequests.size(), 1);
        QCOMPARE(stateOf(*f), Case::Stale);
        f->tickAfter(4s);
        QCOMPARE(f->github.restRequests.size(), 1);
        f->tickAfter(1s);
        QCOMPARE(f->github.restRequests.size(), 2);
    }

    void anIdentityThatIsPausedAtTheFullHourIsAskedWhenThePauseIsOver()
    {
        buildAliceAndBob();
        f->tick();
        f->ledger->recordRefusal(1, RateLimitNotice{noon() + 3700s}, noon() + 100s);
        f->github.clearLog();
        f->tickAfter(3600s);
        QCOMPARE(f->github.restRequests.size(), 2);
        QVERIFY(f->github.restRequests.filter(text("alice")).isEmpty());
        f->tickAfter(95s);
        QVERIFY(f->github.restRequests.filter(text("alice")).isEmpty());
        f->tickAfter(5s);
        QCOMPARE(f->github.restRequests.filter(text("alice")).size(), 2);
        QCOMPARE(f->github.restRequests.size(), 4);
    }

    void anIdentityThatBacksOffAtTheFullHourIsAskedWhenItIsTriedAgain()
    {
        buildAliceAndBob();
        f->tick();
        alice().graphqlFailure = FakeHTTPSession::response(500, "");
        f->tickAfter(3598s);
        f->github.clearLog();
        f->tickAfter(2s);
        QVERIFY(f->github.restRequests.filter(text("alice")).isEmpty());
        QCOMPARE(f->github.restRequests.filter(text("bob")).size(), 2);
        alice().graphqlFailure.reset();
        f->tickAfter(5s);
        QCOMPARE(f->github.restRequests.filter(text("alice")).size(), 2);
        QCOMPARE(stateOf(*f), Case::Ready);
    }

    void anIdentityWithNothingToMonitorDoesNotDisturbTheOthers()
    {
        f->connect(1, text("alice")).repositories = {repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})};
        f->connect(2, text("bob"));
        f->build();
        f->tick();
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::ready(noon()));
        QCOMPARE(f->github.queries, texts({"alice: R_a"}));
    }

    void aRemovedAccountIsNoLongerAskedAndItsDeploymentsLeaveWithTheNextCycle()
    {
        buildAliceAndBob();
        f->tick();
        std::ignore = start(f->authentication->remove(2));
        f->github.clearLog();
        f->tickAfter(30s);
        QCOMPARE(f->github.queries, texts({"alice: R_a"}));
        QCOMPARE(f->shownIDs(), texts({"a1"}));
        QCOMPARE(stateOf(*f), Case::Ready);
    }

    void aRefreshAskedForByAPersonShowsThatItLoads()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})});
        f->tick();
        f->github.session->handler = nullptr;
        const auto outcome
            = start(f->monitor->refreshAll(f->authentication.get(), f->installations.get(), f->clock.now()));
        QVERIFY(waitUntil([&] { return f->github.session->openRequests == 1; }));
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::loading(true));
        QVERIFY(f->monitor->isRefreshing());
        f->github.session->answerNext(FakeHTTPSession::response(500, ""));
        QVERIFY(waitUntil([&] { return outcome->isDone; }));
        QCOMPARE(stateOf(*f), Case::Stale);
        QVERIFY(!f->monitor->isRefreshing());
    }

    void aRoutinePollOnlyRaisesTheFlag()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})});
        f->tick();
        f->github.session->handler = nullptr;
        f->clock.setNow(noon() + 30s);
        const QSignalSpy changes(f->monitor.get(), &DeploymentMonitor::changed);
        const auto outcome = start(f->monitor->tick(f->authentication.get(), f->installations.get(), f->clock.now()));
        QVERIFY(waitUntil([&] { return f->github.session->openRequests == 1; }));
        QVERIFY(f->monitor->isRefreshing());
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::ready(noon()));
        QCOMPARE(changes.size(), 0);
        f->github.session->answerNext(FakeHTTPSession::response(500, ""));
        QVERIFY(waitUntil([&] { return outcome->isDone; }));
        QCOMPARE(changes.size(), 1);
    }

    void aTickDuringARunningRefreshIsSkipped()
    {
        buildAlice({repository("R_a", "alice/a")});
        f->tick();
        f->github.session->handler = nullptr;
        f->clock.setNow(noon() + 30s);
        const auto first = start(f->monitor->tick(f->authentication.get(), f->installations.get(), f->clock.now()));
        QVERIFY(waitUntil([&] { return f->github.session->openRequests == 1; }));
        f->tickAfter(30s);
        awaitValue(f->monitor->refreshActive(f->authentication.get(), f->installations.get(), f->clock.now()));
        QCOMPARE(f->github.session->openRequests, 1);
        f->github.session->answerNext(FakeHTTPSession::response(500, ""));
        QVERIFY(waitUntil([&] { return first->isDone; }));
    }

    void aRefreshAskedForDuringAnotherOneFollowsIt()
    {
        buildAlice({repository("R_a", "alice/a")});
        f->tick();
        f->github.session->handler = nullptr;
        f->clock.setNow(noon() + 30s);
        const auto first = start(f->monitor->tick(f->authentication.get(), f->installations.get(), f->clock.now()));
        QVERIFY(waitUntil([&] { return f->github.session->openRequests == 1; }));
        const auto second
            = start(f->monitor->refreshAll(f->authentication.get(), f->installations.get(), f->clock.now()));
        QCOMPARE(f->github.session->requests.size(), 4);
        f->github.session->answerNext(FakeHTTPSession::response(500, ""));
        QVERIFY(waitUntil([&] { return f->github.session->requests.size() == 5; }));
        f->github.session->answerNext(FakeHTTPSession::response(500, ""));
        QVERIFY(waitUntil([&] { return first->isDone && second->isDone; }));
        QCOMPARE(f->github.session->mostOpenRequests, 1);
    }

    void tooFewPointsForTheNextRefreshPauseTheIdentityUntilTheReset()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "IN_PROGRESS")})});
        alice().remaining = 0;
        alice().resetAt = noon() + 10min;
        f->tick();
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::rateLimited(noon(), noon() + 10min));
        QCOMPARE(f->shownIDs(), texts({"a1"}));
        f->github.clearLog();
        const auto requests = f->github.session->requests.size();
        for (int i = 0; i < 119; ++i)
            f->tickAfter(5s);
        QCOMPARE(f->github.session->requests.size(), requests);
        alice().remaining = 5000;
        f->tickAfter(5s);
        QCOMPARE(f->github.queries, texts({"alice: R_a"}));
        QCOMPARE(stateOf(*f), Case::Ready);
    }

    void aRefreshAskedForByAPersonDoesNotBreakAPause()
    {
        buildAlice({repository("R_a", "alice/a")});
        alice().remaining = 0;
        f->tick();
        const auto requests = f->github.session->requests.size();
        f->refreshAll();
        QCOMPARE(f->github.session->requests.size(), requests);
        QCOMPARE(stateOf(*f), Case::RateLimited);
    }

    void aPausedIdentityDoesNotStopTheOthers()
    {
        buildAliceAndBob();
        bob().remaining = 0;
        bob().resetAt = noon() + 1h;
        f->tick();
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::rateLimited(noon(), noon() + 1h));
        f->github.clearLog();
        alice().repositories[0].deployments = {deployment("a2", "SUCCESS")};
        f->tickAfter(30s);
        QCOMPARE(f->github.queries, texts({"alice: R_a"}));
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::rateLimited(noon() + 30s, noon() + 1h));
        QCOMPARE(f->shownIDs(), texts({"a2", "b1"}));
    }

    void aFailureBesideAPauseIsShownAsStale()
    {
        buildAliceAndBob();
        f->tick();
        bob().remaining = 0;
        f->tickAfter(30s);
        alice().graphqlFailure = FakeHTTPSession::response(502, "");
        f->tickAfter(30s);
        QCOMPARE(stateOf(*f), Case::Stale);
        QCOMPARE(f->monitor->message(), text("alice: GitHub returned HTTP 502."));
    }

    void aPauseTakesTheTimeOfTheFailureBeforeIt()
    {
        f->connect(1, text("alice")).restFailure = FakeHTTPSession::response(502, "");
        f->build();
        f->tick();
        QCOMPARE(stateOf(*f), Case::Stale);
        alice().restFailure = FakeHTTPSession::response(429, "{}", {{"Retry-After", "600"}});
        f->tickAfter(5s);
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::rateLimited({}, noon() + 605s));
        QCOMPARE(f->monitor->message(), QString());
    }

    void aRefusalForTooManyRequestsPausesForAsLongAsGitHubSays()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})});
        f->tick();
        alice().graphqlFailure = FakeHTTPSession::response(403, "{}", {{"Retry-After", "120"}});
        f->tickAfter(30s);
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::rateLimited(noon(), noon() + 150s));
        QCOMPARE(f->monitor->message(), QString());
        QCOMPARE(f->shownIDs(), texts({"a1"}));
    }

    void aRefusalInTheAnswerOfTheQueryPausesAsWell()
    {
        buildAlice({repository("R_a", "alice/a")});
        f->tick();
        alice().graphqlFailure = FakeHTTPSession::response(
            200, R"({"errors":[{"type":"RATE_LIMIT","message":"API rate limit exceeded"}]})");
        f->tickAfter(30s);
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::rateLimited(noon(), noon() + 90s));
    }

    void aPlainRefusalIsAFailure()
    {
        buildAlice({repository("R_a", "alice/a")});
        f->tick();
        alice().graphqlFailure = FakeHTTPSession::response(403, R"({"message":"Resource not accessible"})");
        f->tickAfter(30s);
        QCOMPARE(stateOf(*f), Case::Stale);
        QCOMPARE(f->monitor->message(), text("alice: GitHub returned HTTP 403."));
    }

    void aRefusalWhileListingInstallationsPausesTheIdentity()
    {
        f->connect(1, text("alice")).restFailure = FakeHTTPSession::response(429, "{}", {{"Retry-After", "60"}});
        f->build();
        f->tick();
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::rateLimited({}, noon() + 60s));
        const auto requests = f->github.session->requests.size();
        f->tickAfter(55s);
        QCOMPARE(f->github.session->requests.size(), requests);
        alice().restFailure.reset();
        alice().repositories = {repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})};
        f->tickAfter(5s);
        QCOMPARE(stateOf(*f), Case::Ready);
        QCOMPARE(f->shownIDs(), texts({"a1"}));
    }

    void everyRefreshThatBringsSomethingNewIsSaved()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "IN_PROGRESS")})});
        f->tick();
        QCOMPARE(f->cache.saves, 1);
        QCOMPARE(f->cache.payload->savedAt, noon());
        QCOMPARE(f->cache.payload->deployments, f->monitor->deployments());
        f->tickAfter(5s);
        QCOMPARE(f->cache.saves, 1);
        alice().repositories = {repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})};
        f->tickAfter(5s);
        QCOMPARE(f->cache.saves, 2);
        QCOMPARE(f->cache.payload->savedAt, noon() + 10s);
        QCOMPARE(f->cache.payload->deployments, f->monitor->deployments());
    }

    void aSaveThatFailsDoesNotDisturbWhatIsShown()
    {
        f->cache.fails = true;
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})});
        f->tick();
        QCOMPARE(f->shownIDs(), texts({"a1"}));
        QCOMPARE(stateOf(*f), Case::Ready);
        QCOMPARE(f->defaults.stringList(text("deployments.notifiedSuccesses")), texts({"a1:success"}));
    }

    void aSaveThatFailsIsToldUntilOneSucceeds()
    {
        f->cache.fails = true;
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})});
        QVERIFY(f->monitor->unsaved().isEmpty());
        QSignalSpy changed(f->monitor.get(), &DeploymentMonitor::changed);
        f->tick();
        QCOMPARE(f->monitor->unsaved(), text("the disk is full"));
        QCOMPARE(stateOf(*f), Case::Ready);
        QVERIFY(f->monitor->message().isEmpty());
        QVERIFY(!changed.isEmpty());
        changed.clear();
        f->cache.fails = false;
        f->tickAfter(30s);
        QVERIFY(f->monitor->unsaved().isEmpty());
        QVERIFY(!changed.isEmpty());
        QCOMPARE(f->cache.payload->deployments, f->monitor->deployments());
    }

    void aSaveThatFailedIsTriedAgainWhereNothingIsRefreshed()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})});
        f->tick();
        QCOMPARE(f->cache.saves, 1);
        f->cache.fails = true;
        awaitValue(f->authentication->remove(1));
        awaitValue(f->monitor->forgetRemoved(f->authentication.get(), f->installations.get(), f->clock.now()));
        QCOMPARE(f->cache.saves, 2);
        QCOMPARE(f->monitor->unsaved(), text("the disk is full"));
        f->tickAfter(25s);
        QCOMPARE(f->cache.saves, 2);
        f->tickAfter(5s);
        QCOMPARE(f->cache.saves, 3);
        f->cache.fails = false;
        f->tickAfter(30s);
        QCOMPARE(f->cache.saves, 4);
        QVERIFY(f->cache.payload->deployments.isEmpty());
        QVERIFY(f->monitor->unsaved().isEmpty());
        f->tickAfter(30s);
        QCOMPARE(f->cache.saves, 4);
    }

    void settingsThatAreNotSavedAreToldWithTheDeployments()
    {
        f->cache.fails = true;
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})});
        f->tick();
        QSignalSpy changed(f->monitor.get(), &DeploymentMonitor::changed);
        f->defaults.setFailure(text("the settings cannot be written"));
        QCOMPARE(changed.size(), 1);
        QCOMPARE(f->monitor->unsaved(), text("the settings cannot be written\nthe disk is full"));
        f->defaults.setFailure(QString());
        QCOMPARE(changed.size(), 2);
        QCOMPARE(f->monitor->unsaved(), text("the disk is full"));
    }

    void theCacheIsFilteredForTheTimeAtWhichItIsLoaded()
    {
        f->cache.payload
            = DeploymentCachePayload{{makeSnapshot(text("old"), DeploymentState::Success, noon() - 25h),
                                         makeSnapshot(text("new"), DeploymentState::Success, noon() - 23h)},
                noon() - 23h};
        buildAlice({});
        awaitValue(f->monitor->loadCache());
        QCOMPARE(f->shownIDs(), texts({"new"}));
    }

    void aRefreshWaitsForTheCacheAndTakesTheListFromThere()
    {
        f->cache.payload
            = DeploymentCachePayload{{makeSnapshot(text("old"), DeploymentState::Success, noon() - 1h)}, noon()};
        f->cache.gate.emplace();
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "SUCCESS")})});
        QStringList shownFirst;
        f->github.meanwhile = [&](const QString &) {
            shownFirst = f->shownIDs();
        };
        const auto loading = start(f->monitor->loadCache());
        const auto refresh
            = start(f->monitor->refreshAll(f->authentication.get(), f->installations.get(), f->clock.now()));
        f->tick();
        QVERIFY(f->github.session->requests.isEmpty());
        f->cache.gate->resolve();
        QVERIFY(loading->isDone && refresh->isDone);
        QCOMPARE(shownFirst, texts({"old"}));
        QCOMPARE(f->shownIDs(), texts({"a1"}));
    }

    void theFirstRefreshAnnouncesNothingAndLaterOnesEachResultOnce()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "FAILURE"), deployment("a2", "IN_PROGRESS")})});
        f->tick();
        QCOMPARE(f->notifier.announced, QStringList());
        alice().repositories[0].deployments[1] = deployment("a2", "FAILURE", 1min);
        f->tickAfter(5s);
        f->tickAfter(30s);
        QCOMPARE(f->notifier.announced, texts({"failure a2"}));
    }

    void aFirstRefreshThatFailsForEverybodyIsNotTheBaseline()
    {
        f->connect(1, text("alice")).transportFailure = noNetwork();
        f->build();
        f->tick();
        alice().transportFailure = nullptr;
        alice().repositories = {repository("R_a", "alice/a", {deployment("a1", "FAILURE")})};
        f->tickAfter(5s);
        QCOMPARE(f->shownIDs(), texts({"a1"}));
        QCOMPARE(f->notifier.announced, QStringList());
    }

    void theHistoryOfAnIdentityThatJoinsLaterIsNotAnnounced()
    {
        buildAliceAndBob();
        bob().graphqlFailure = FakeHTTPSession::response(500, "");
        f->tick();
        bob().graphqlFailure.reset();
        f->tickAfter(5s);
        QCOMPARE(f->shownIDs(), texts({"a1", "b1"}));
        QCOMPARE(f->notifier.announced, QStringList());
        bob().repositories[0].deployments.append(deployment("b2", "FAILURE", 1min));
        f->tickAfter(30s);
        QCOMPARE(f->notifier.announced, texts({"failure b2"}));
    }

    void theNotificationsSettingsDecideWhatIsAnnounced()
    {
        f->defaults.values.remove(text("general.notificationsEnabled"));
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "IN_PROGRESS")})});
        f->tick();
        alice().repositories[0].deployments[0] = deployment("a1", "FAILURE", 1min);
        f->tickAfter(5s);
        QCOMPARE(f->notifier.announced, QStringList());
    }

    void pollingTicksEveryFiveSecondsFromTheStart()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "IN_PROGRESS")})});
        f->monitor->start(f->authentication.get(), f->installations.get());
        QVERIFY(f->github.session->requests.isEmpty());
        f->clock.advance(4999ms);
        QVERIFY(f->github.session->requests.isEmpty());
        f->clock.advance(1ms);
        QCOMPARE(f->github.queries, texts({"alice: R_a"}));
        f->clock.advance(30s);
        QCOMPARE(f->github.queries.size(), 7);
        QCOMPARE(f->clock.requestedSleeps.last(), std::chrono::milliseconds(5s));
    }

    void withoutAnAccountItSaysSoFromTheStart()
    {
        f->build();
        f->monitor->start(f->authentication.get(), f->installations.get());
        QCOMPARE(f->monitor->state(), DeploymentMonitorState::disconnected(MissingStep::Account));
    }

    void anAccountThatIsConnectedWhileItRunsIsFetchedWithTheNextTick()
    {
        buildAlice({repository("R_a", "alice/a")});
        f->tick();
        auto &session = *f->github.session;
        GitHubCredential credential;
        credential.accessToken = text("carol");
        awaitValue(f->credentials->save(credential, 3, Interaction::Forbidden));
        f->github.identities[text("carol")].repositories
            = {repository("R_c", "carol/c", {deployment("c1", "FAILURE")})};
        f->accounts.append(GitHubAccount{3, text("carol"), {}});
        f->defaults.values[text("github.accounts")] = encodeJSON(f->accounts);
        AuthenticationStore::Services services;
        services.defaults = &f->defaults;
        services.clock = &f->clock;
        GitHubClient client;
        client.session = f->github.session;
        AuthenticationStore withCarol(client, f->credentials, services);
        const auto before = session.requests.size();
        f->clock.setNow(noon() + 5s);
        awaitValue(f->monitor->tick(&withCarol, f->installations.get(), f->clock.now()));
        QVERIFY(session.requests.size() > before);
        QCOMPARE(f->shownIDs(), texts({"c1"}));
        QCOMPARE(f->notifier.announced, QStringList());
    }

    void aMonitorThatIsDestroyedWhileItWaitsEndsQuietly()
    {
        buildAlice({repository("R_a", "alice/a")});
        f->tick();
        f->github.session->handler = nullptr;
        f->clock.setNow(noon() + 30s);
        const auto first = start(f->monitor->tick(f->authentication.get(), f->installations.get(), f->clock.now()));
        const auto second
            = start(f->monitor->refreshAll(f->authentication.get(), f->installations.get(), f->clock.now()));
        QVERIFY(waitUntil([&] { return f->github.session->openRequests == 1; }));
        f->monitor.reset();
        QVERIFY(waitUntil([&] { return first->isDone && second->isDone; }));
        QCOMPARE(f->github.session->openRequests, 0);
    }

    void aPollingMonitorThatIsDestroyedStopsSleeping()
    {
        buildAlice({repository("R_a", "alice/a")});
        f->monitor->start(f->authentication.get(), f->installations.get());
        QCOMPARE(f->clock.sleeperCount(), 1);
        f->monitor.reset();
        QCOMPARE(f->clock.sleeperCount(), 0);
    }

    void nothingIsAnnouncedWhenNothingChanged()
    {
        buildAlice({repository("R_a", "alice/a", {deployment("a1", "IN_PROGRESS")})});
        f->tick();
        const QSignalSpy changes(f->monitor.get(), &DeploymentMonitor::changed);
        f->tickAfter(5s);
        QCOMPARE(changes.size(), 0);
    }
};

VELMORA_TEST(DeploymentMonitorTest)
#include "deployment_monitor_test.moc"
