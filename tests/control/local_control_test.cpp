// SPDX-License-Identifier: MIT
#include "control/local_control.h"

#include "accounts/credential_store_error.h"

#include "settings/general_settings_store.h"
#include "support/fake_login_item.h"
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

/// A keyring that prompts the user before it deletes anything.
class WaitingCredentialStore final : public CredentialStoring
{
public:
    explicit WaitingCredentialStore(std::shared_ptr<InMemoryCredentialStore> content)
        : m_content(std::move(content))
    {
    }

    [[nodiscard]] QCoro::Task<> prepareToSave() override { return m_content->prepareToSave(); }
    [[nodiscard]] QCoro::Task<> unlock(QList<qint64> accountIDs) override
    {
        ++unlocks;
        return m_content->unlock(std::move(accountIDs));
    }
    [[nodiscard]] QCoro::Task<> save(GitHubCredential credential, qint64 accountID, Interaction interaction) override
    {
        return m_content->save(std::move(credential), accountID, interaction);
    }
    [[nodiscard]] QCoro::Task<std::optional<GitHubCredential>> load(qint64 accountID) override
    {
        return m_content->load(accountID);
    }
    [[nodiscard]] QCoro::Task<> remove(qint64 accountID, Interaction interaction) override
    {
        const OneShot<> isAnswered = answered;
        co_await isAnswered;
        co_await m_content->remove(accountID, interaction);
    }

    OneShot<> answered;
    int unlocks = 0; ///< the number of calls of unlock()

private:
    std::shared_ptr<InMemoryCredentialStore> m_content;
};

} // namespace

/// Tests the control over the real stores and the real monitor.
class LocalControlTest final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<MonitorFixture> f;
    FakeLoginItem m_loginItem;
    std::unique_ptr<GeneralSettingsStore> m_settings;
    std::unique_ptr<LocalControl> m_control;

    void build()
    {
        f->build();
        m_settings = std::make_unique<GeneralSettingsStore>(&f->defaults, &f->notifier, &m_loginItem);
        Stores stores = f->stores();
        stores.settings = m_settings.get();
        m_control = std::make_unique<LocalControl>(stores, f->ports());
    }

    /// Connects "alice" with two repositories.
    void buildAlice()
    {
        f->connect(1, text("alice")).repositories
            = {{text("R_a"), text("alice/a"), {{text("a1"), text("FAILURE")}}, {}},
                {text("R_b"), text("alice/b"), {}, {}}};
        build();
    }

    [[nodiscard]] MonitorReport report() { return awaitValue(m_control->report({})); }
    [[nodiscard]] RepositoriesAnswer repositories(const Switches &switches)
    {
        return awaitValue(m_control->repositories(switches, {}));
    }

private Q_SLOTS:
    void init() { f = std::make_unique<MonitorFixture>(); }
    void cleanup()
    {
        m_control.reset();
        m_settings.reset();
        f.reset();
    }

    void accountsAreListedOnceTheKeyringHasSpoken()
    {
        buildAlice();
        const auto accounts = awaitValue(m_control->accounts({}));
        QCOMPARE(accounts.size(), 1);
        QCOMPARE(accounts.first().login, text("alice"));
        QCOMPARE(accounts.first().status, GitHubSessionStatus::Connected);
    }

    void aRemovedAccountTakesItsDeploymentsAlong()
    {
        buildAlice();
        std::ignore = awaitValue(m_control->refresh({}));
        QCOMPARE(report().deployments.size(), 1);
        const auto answer = awaitValue(m_control->removeAccount(text("ALICE"), {}));
        QCOMPARE(answer.login, text("alice"));
        QVERIFY(answer.refusal.isEmpty());
        QVERIFY(report().deployments.isEmpty());
        QVERIFY(awaitValue(m_control->accounts({})).isEmpty());
    }

    void anAccountStaysUntilTheKeyringsQuestionIsAnswered()
    {
        f->connect(1, text("alice")).repositories
            = {{text("R_a"), text("alice/a"), {{text("a1"), text("FAILURE")}}, {}}};
        const auto waiting = std::make_shared<WaitingCredentialStore>(f->credentials);
        f->credentialStore = waiting;
        build();
        std::ignore = awaitValue(m_control->refresh({}));
        std::stop_source stop;
        const auto removal = start(m_control->removeAccount(text("alice"), stop.get_token()));
        drainEvents();
        QVERIFY(!removal->isDone);
        stop.request_stop();
        QVERIFY(waitUntil([&] { return removal->isDone; }));
        QVERIFY(removal->failedWithType<CancellationError>());
        QCOMPARE(report().deployments.size(), 1);
        waiting->answered.resolve();
        QVERIFY(waitUntil([&] { return report().deployments.isEmpty(); }));
        QVERIFY(f->authentication->sessions().isEmpty());
    }

    void anAccountWhoseTokenCannotBeDeletedStays()
    {
        f->connect(1, text("alice")).repositories
            = {{text("R_a"), text("alice/a"), {{text("a1"), text("FAILURE")}}, {}}};
        const auto waiting = std::make_shared<WaitingCredentialStore>(f->credentials);
        f->credentialStore = waiting;
        build();
        std::ignore = awaitValue(m_control->refresh({}));
        waiting->answered.fail(
            std::make_exception_ptr(CredentialStoreError::keychain(CredentialStoreError::Dismissed)));
        const auto answer = awaitValue(m_control->removeAccount(text("alice"), {}));
        QCOMPARE(answer.refusal,
            text("alice was not removed. The keyring was not unlocked. Try again and unlock it when you are asked."));
        QCOMPARE(report().deployments.size(), 1);
        QCOMPARE(f->authentication->sessions().size(), 1);
    }

    void whatTheUserAsksForMayUnlockTheKeyring()
    {
        buildAlice();
        const auto waiting = std::make_shared<WaitingCredentialStore>(f->credentials);
        f->credentialStore = waiting;
        build();
        std::ignore = awaitValue(m_control->refresh({}));
        QCOMPARE(waiting->unlocks, 1);
        std::ignore = awaitValue(m_control->repositories({}, {}));
        std::ignore = awaitValue(m_control->installations({}, {}));
        QCOMPARE(waiting->unlocks, 3);
        std::ignore = awaitValue(m_control->accounts({}));
        QCOMPARE(waiting->unlocks, 3);
    }

    void anUnknownAccountIsRefusedWithTheKnownOnes()
    {
        buildAlice();
        const auto answer = awaitValue(m_control->removeAccount(text("bob"), {}));
        QCOMPARE(answer.refusal, text("There is no account named bob. Connected: alice."));
        QCOMPARE(f->authentication->sessions().size(), 1);
    }

    void whatIsNotSavedIsToldWithEveryAnswer()
    {
        buildAlice();
        f->defaults.setFailure(text("the disk is full"));
        const std::optional<QString> reason = text("the disk is full");
        Switches excluded;
        excluded.off = QStringList{text("alice/a")};
        QCOMPARE(repositories(excluded).unsaved, reason);
        // Listing changes nothing, so nothing is unsaved.
        QVERIFY(!repositories({}).unsaved);
        Switches disabled;
        disabled.off = QStringList{text("alice")};
        QCOMPARE(awaitValue(m_control->installations(disabled, {})).unsaved, reason);
        QVERIFY(!awaitValue(m_control->installations({}, {})).unsaved);
        QCOMPARE(report().unsaved, reason);
        const auto refreshed = awaitValue(m_control->refresh({}));
        QVERIFY(!refreshed.isComplete);
        QCOMPARE(refreshed.messages, QStringList{*reason});
        QCOMPARE(awaitValue(m_control->removeAccount(text("alice"), {})).unsaved, reason);
    }

    void whatIsSavedIsToldWithNoAnswer()
    {
        buildAlice();
        Switches excluded;
        excluded.off = QStringList{text("alice/a")};
        QVERIFY(!repositories(excluded).unsaved);
        QVERIFY(!report().unsaved);
        QVERIFY(awaitValue(m_control->refresh({})).isComplete);
        QVERIFY(!awaitValue(m_control->removeAccount(text("alice"), {})).unsaved);
    }

    void anAnswerWaitsUntilItIsKnownWhatIsSaved()
    {
        buildAlice();
        f->defaults.saving = true;
        Switches excluded;
        excluded.off = QStringList{text("alice/a")};
        const auto answer = start(m_control->repositories(excluded, {}));
        drainEvents();
        QVERIFY(!answer->isDone);
        f->defaults.currentFailure = text("the disk is full");
        f->defaults.settle();
        QVERIFY(waitUntil([&] { return answer->isDone; }));
        QCOMPARE(answer->value->unsaved, std::optional(text("the disk is full")));
    }

    void withoutAnAccountNothingIsAsked()
    {
        build();
        QVERIFY(!awaitValue(m_control->refresh({})).hasAccounts);
        QVERIFY(!repositories({}).loading.hasAccounts);
        QVERIFY(!awaitValue(m_control->installations({}, {})).loading.hasAccounts);
        QCOMPARE(awaitValue(m_control->removeAccount(text("bob"), {})).refusal,
            text("There is no account named bob. No account is connected."));
        QVERIFY(f->github.restRequests.isEmpty() && f->github.queries.isEmpty());
    }

    void repositoriesAreSwitchedBeforeTheyAreListed()
    {
        buildAlice();
        Switches switches;
        switches.all = false;
        switches.on = QStringList{text("Alice/B")};
        const auto answer = repositories(switches);
        QVERIFY(answer.loading.isComplete);
        QCOMPARE(answer.listed.size(), 2);
        QVERIFY(!answer.listed.at(0).isIncluded);
        QVERIFY(answer.listed.at(1).isMonitored);
        switches.all.reset();
        switches.on.clear();
        switches.off = QStringList{text("R_b")};
        QVERIFY(!repositories(switches).listed.at(1).isIncluded);
    }

    void aNameThatMeansNothingSwitchesNothing()
    {
        buildAlice();
        Switches switches;
        switches.off = QStringList{text("alice/a"), text("alice/z")};
        const auto answer = repositories(switches);
        QCOMPARE(answer.refusal, text("There is no repository alice/z. There is: alice/a, alice/b."));
        QVERIFY(f->installations->repositories().first().isIncluded);
        Switches keys;
        keys.off = QStringList{text("9:9")};
        QVERIFY(!awaitValue(m_control->installations(keys, {})).refusal.isEmpty());
    }

    void notificationsAreSwitchedBeforeTheyAreListed()
    {
        build();
        using Names = QStringList;
        const auto first = awaitValue(m_control->notifications({}, {}));
        QCOMPARE(first.choices, (NotificationChoices{true, true, false, false}));
        const NotificationSwitches switches{Names{text("approvals")}, Names{text("failures")}, true};
        const auto switched = awaitValue(m_control->notifications(switches, {}));
        QCOMPARE(switched.refusal, QString());
        QCOMPARE(switched.choices, (NotificationChoices{false, true, true, true}));
        QVERIFY(m_settings->notificationsEnabled(DeploymentNotificationKind::Waiting));
        const NotificationSwitches unknown{Names{text("failures"), text("tea")}, {}, false};
        const auto refused = awaitValue(m_control->notifications(unknown, {}));
        QCOMPARE(
            refused.refusal, text("There are no notifications about tea. There is: failures, successes, approvals."));
        QCOMPARE(refused.choices, switched.choices);
    }

    void aRepositoryIsMutedAndUnmutedByItsName()
    {
        buildAlice();
        const auto muted = awaitValue(m_control->mute({text("Alice/A"), true, noon() + 8h}, {}));
        QCOMPARE(muted, (MutingAnswer{{true, true, {}}, {}, {}, text("alice/a"), true, noon() + 8h}));
        QVERIFY(f->monitor->announcements().muted().isMuted(text("R_a")));
        const auto listed = repositories({});
        QCOMPARE(listed.listed.first().mutedUntil, std::optional(noon() + 8h));
        QVERIFY(listed.listed.first().isMuted && !listed.listed.last().isMuted);
        const auto unmuted = awaitValue(m_control->mute({text("alice/a"), false, std::nullopt}, {}));
        QCOMPARE(unmuted, (MutingAnswer{{true, true, {}}, {}, {}, text("alice/a"), false, std::nullopt}));
        QVERIFY(!f->monitor->announcements().muted().isMuted(text("R_a")));
    }

    void anUnknownRepositoryIsNotMuted()
    {
        buildAlice();
        const auto refused = awaitValue(m_control->mute({text("alice/tea"), true, std::nullopt}, {}));
        QCOMPARE(refused.refusal, text("There is no repository alice/tea. There is: alice/a, alice/b."));
        QVERIFY(refused.loading.isComplete && !refused.isMuted);
        QVERIFY(!f->defaults.values.contains(text("repositories.muted")));
    }

    void whatIsListedIsMutedWithoutGitHub()
    {
        f->cache.payload = DeploymentCachePayload{{makeSnapshot(text("s"), DeploymentState::Success, noon())}, noon()};
        build();
        const auto muted = awaitValue(m_control->mute({text("acme/web"), true, std::nullopt}, {}));
        QCOMPARE(muted, (MutingAnswer{{true, true, {}}, {}, {}, text("acme/web"), true, std::nullopt}));
        QVERIFY(f->monitor->announcements().muted().isMuted(text("R_web")));
        QVERIFY(f->github.restRequests.isEmpty() && f->github.queries.isEmpty());
    }

    void notificationsArePausedAndResumed()
    {
        build();
        QVERIFY(!report().isPaused);
        QSignalSpy changes(m_control.get(), &Control::reportChanged);
        QCOMPARE(awaitValue(m_control->pause({true, noon() + 2h}, {})), (PauseAnswer{{}, true, noon() + 2h}));
        QCOMPARE(changes.count(), 1);
        QVERIFY(report().isPaused);
        QCOMPARE(report().pausedUntil, std::optional(noon() + 2h));
        QCOMPARE(awaitValue(m_control->pause({true, std::nullopt}, {})), (PauseAnswer{{}, true, std::nullopt}));
        QVERIFY(!report().pausedUntil);
        QCOMPARE(awaitValue(m_control->pause({false, std::nullopt}, {})), PauseAnswer());
        QVERIFY(!report().isPaused);
        QVERIFY(f->github.restRequests.isEmpty() && f->github.queries.isEmpty());
    }

    void failuresAreListedAsTheyWereSeenLast()
    {
        f->cache.payload = DeploymentCachePayload{{makeSnapshot(text("s"), DeploymentState::Success, noon()),
                                                      makeSnapshot(text("f"), DeploymentState::Failure, noon() - 1min)},
            noon()};
        build();
        const auto listed = awaitValue(m_control->failures({}, {}));
        QCOMPARE(listed.deployments.size(), 1);
        QCOMPARE(listed.deployments.first()->id, text("f"));
        QCOMPARE(listed.marks, (FailureMarks{{text("f"), FailureMark{Mending{text("s"), noon()}, true}}}));
        QVERIFY(!listed.ignoresMended && !listed.unsaved);
        QVERIFY(f->github.restRequests.isEmpty() && f->github.queries.isEmpty());
        const auto switched = awaitValue(m_control->failures({true, {}}, {}));
        QVERIFY(switched.ignoresMended);
        QCOMPARE(uncounted(switched.marks), 1);
        QVERIFY(m_settings->ignoresMendedFailures());
        QCOMPARE(report().marks, switched.marks);
    }

    void failuresAreDismissedBeforeTheyAreListed()
    {
        f->cache.payload = DeploymentCachePayload{{makeSnapshot(text("f"), DeploymentState::Failure, noon()),
                                                      makeSnapshot(text("g"), DeploymentState::Error, noon() - 1min)},
            noon()};
        build();
        const auto after = [this](const Switches &dismissed) {
            return awaitValue(m_control->failures({std::nullopt, dismissed}, {}));
        };
        const auto one = after({std::nullopt, {text("f")}, {}});
        QCOMPARE(one.refusal, QString());
        QCOMPARE(one.deployments.size(), 2);
        QCOMPARE(one.marks, (FailureMarks{{text("f"), FailureMark{std::nullopt, false, true}}}));
        const auto refused = awaitValue(m_control->failures({true, {std::nullopt, {text("g"), text("tea")}, {}}}, {}));
        QVERIFY2(refused.refusal.startsWith(text("There is no failure tea. ")), qPrintable(refused.refusal));
        QCOMPARE(refused.marks, one.marks);
        QVERIFY(!refused.ignoresMended);
        QCOMPARE(uncounted(after({true, {}, {text("g")}}).marks), 1);
        QCOMPARE(uncounted(after({true, {}, {}}).marks), 2);
        QCOMPARE(report().marks.size(), 2);
        QCOMPARE(uncounted(after({false, {}, {}}).marks), 0);
    }

    void environmentsAreChosenAboutBeforeTheyAreListed()
    {
        auto preview = makeSnapshot(text("p"), DeploymentState::Failure, noon() - 1h);
        preview.environment = text("preview-7");
        f->cache.payload
            = DeploymentCachePayload{{makeSnapshot(text("w"), DeploymentState::Success, noon() - 2h), preview}, noon()};
        build();
        const auto after = [this](const EnvironmentSwitches &switches) {
            return awaitValue(m_control->environments(switches, {}));
        };
        using enum EnvironmentChoice;
        const QList<ListedEnvironment> seen{
            {text("preview-7"), std::nullopt, 1, Notify, false}, {text("production"), std::nullopt, 1, Notify, false}};
        QCOMPARE(after({}).choices, (ListedEnvironments{false, seen}));
        const auto hidden = after({{}, {text("Acme/WEB:production")}, {text("preview-*")}, std::nullopt});
        QVERIFY(hidden.refusal.isEmpty() && !hidden.unsaved);
        QCOMPARE(hidden.choices.environments,
            (QList<ListedEnvironment>{{text("preview-*"), std::nullopt, 1, Hide, true}, seen.last(),
                {text("production"), text("acme/web"), 1, Show, true}}));
        QCOMPARE(report().deployments.size(), 1);
        QCOMPARE(report().hidden, DeploymentList{preview});
        QCOMPARE(report().marks, FailureMarks());
        const auto refused = after({{text("preview-*")}, {text("acme/tea:production")}, {}, true});
        QCOMPARE(refused.refusal, text("acme/tea has had no deployment in the last 30 days."));
        QCOMPARE(refused.choices, hidden.choices);
        const auto missing = after({{QString()}, {}, {}, {}});
        QCOMPARE(missing.refusal, text("The name of an environment is missing."));
        QCOMPARE(missing.choices, hidden.choices);
        QVERIFY(after({{}, {}, {}, true}).choices.onlyProduction);
        QVERIFY(!after({{}, {}, {}, false}).choices.onlyProduction);
    }

    void anEnvironmentMayLookLikeARepositorysOwn()
    {
        auto odd = makeSnapshot(text("o"), DeploymentState::Success, noon() - 1h);
        odd.environment = text("Europe/West:1");
        f->cache.payload = DeploymentCachePayload{{odd}, noon()};
        build();
        const auto answer = awaitValue(m_control->environments({{}, {}, {text("europe/west:1")}, {}}, {}));
        QCOMPARE(answer.refusal, QString());
        QVERIFY(!answer.choices.environments.first().repository);
        QCOMPARE(report().hidden.size(), 1);
    }

    void installationsAreSwitchedBeforeTheyAreListed()
    {
        buildAlice();
        Switches switches;
        switches.off = QStringList{text("1:7")};
        auto answer = awaitValue(m_control->installations(switches, {}));
        QVERIFY2(answer.refusal.isEmpty(), qPrintable(answer.refusal));
        QCOMPARE(answer.listed.size(), 1);
        QVERIFY(!answer.listed.first().isEnabled);
        QCOMPARE(answer.listed.first().identity, text("alice"));
        QCOMPARE(answer.installationURL.text(), text("https://github.com/apps/velmora/installations/new"));
        QVERIFY(!repositories({}).listed.first().isMonitored);
        switches = {{}, QStringList{text("1:7")}, {}};
        QVERIFY(awaitValue(m_control->installations(switches, {})).listed.first().isEnabled);
    }

    void anIdentityThatFailsIsNamed()
    {
        f->connect(1, text("alice")).restFailure = FakeHTTPSession::response(500, "{}");
        build();
        const auto answer = repositories({});
        QVERIFY(!answer.loading.isComplete);
        QCOMPARE(answer.loading.messages.size(), 1);
        QVERIFY(answer.loading.messages.first().startsWith(text("alice: ")));
        const auto refreshed = awaitValue(m_control->refresh({}));
        QVERIFY(!refreshed.isComplete);
        QCOMPARE(refreshed.messages.size(), 1);
    }

    void aRefreshLoadsEverything()
    {
        buildAlice();
        const QSignalSpy changed(m_control.get(), &ReportSource::reportChanged);
        const auto answer = awaitValue(m_control->refresh({}));
        QVERIFY(answer.hasAccounts && answer.isComplete && answer.messages.isEmpty());
        QVERIFY(changed.size() > 0);
        const MonitorReport shown = report();
        QVERIFY(!shown.isSaved);
        QCOMPARE(shown.state, DeploymentMonitorState::ready(f->clock.now()));
        QCOMPARE(shown.deployments.size(), 1);
        QCOMPARE(shown.lastRefreshedAt, std::optional(f->clock.now()));
    }

    void aRefreshKeepsWhatWasSavedOfAnIdentityThatFails()
    {
        auto saved = makeSnapshot(text("b1"), DeploymentState::Success, noon() - 2h);
        saved.repositoryNodeID = text("R_bob");
        saved.repositoryName = text("bob/web");
        f->cache.payload = DeploymentCachePayload{{saved}, noon() - 10min};
        f->connect(2, text("bob")).graphqlFailure = FakeHTTPSession::response(502, "");
        f->github.identities[text("bob")].repositories = {{text("R_bob"), text("bob/web"), {}, {}}};
        buildAlice();
        QVERIFY(!awaitValue(m_control->refresh({})).isComplete);
        QCOMPARE(report().deployments.size(), 2);
        QCOMPARE(f->cache.payload->deployments.size(), 2);
    }

    void beforeAnythingIsFetchedTheAgeIsThatOfWhatWasSaved()
    {
        f->cache.payload
            = DeploymentCachePayload{{makeSnapshot(text("a1"), DeploymentState::Success, noon() - 2h)}, noon() - 10min};
        f->connect(1, text("alice")).transportFailure
            = std::make_exception_ptr(TransportError(TransportError::Kind::Network, text("no network")));
        build();
        std::ignore = awaitValue(m_control->refresh({}));
        QCOMPARE(report().state, DeploymentMonitorState::stale(noon() - 10min));
        QCOMPARE(report().lastRefreshedAt, std::optional(noon() - 10min));
    }

    void aStoppedRefreshIsCancelledAtOnce()
    {
        buildAlice();
        f->github.session->handler = nullptr; // no answer comes
        std::stop_source stop;
        const auto refresh = start(m_control->refresh(stop.get_token()));
        drainEvents();
        QVERIFY(!refresh->isDone);
        stop.request_stop();
        QVERIFY(waitUntil([&] { return refresh->isDone; }));
        QVERIFY(refresh->failedWithType<CancellationError>());
    }

    void refreshesAtTheSameTimeAreOne()
    {
        buildAlice();
        const auto answer = std::exchange(f->github.session->handler, nullptr);
        const auto refresh = start(m_control->refresh({}));
        const auto again = start(m_control->refresh({}));
        const auto listing = start(m_control->repositories({}, {}));
        const auto installations = start(m_control->installations({}, {}));
        QVERIFY(waitUntil([&] { return f->github.session->openRequests > 0; }));
        drainEvents();
        QCOMPARE(f->github.session->requests.size(), 1);
        f->github.session->resume(answer);
        QVERIFY(
            waitUntil([&] { return refresh->isDone && again->isDone && listing->isDone && installations->isDone; }));
        QVERIFY(refresh->value->isComplete && again->value->isComplete);
        QCOMPARE(listing->value->listed.size(), 2);
        QCOMPARE(installations->value->listed.size(), 1);
        QCOMPARE(f->github.restRequests,
            (QStringList{text("alice: /user/installations"), text("alice: /user/installations/7/repositories")}));
        QCOMPARE(f->github.queries.size(), 1);
    }

    void ofRefreshesThatComeWhileDeploymentsAreLoadedOneMoreWaits()
    {
        buildAlice();
        const auto answer = std::exchange(f->github.session->handler, nullptr);
        const auto answerNext = [&] {
            if (!waitUntil([&] { return f->github.session->openRequests > 0; }))
                return false;
            return f->github.session->answerNext(answer(f->github.session->requests.last()));
        };
        const auto refresh = start(m_control->refresh({}));
        QVERIFY(answerNext());
        QVERIFY(answerNext());
        QVERIFY(waitUntil([&] { return f->github.session->requests.size() == 3; })); // the fetch of deployments
        std::stop_source leaving;
        const auto left = start(m_control->refresh(leaving.get_token()));
        const auto second = start(m_control->refresh({}));
        const auto third = start(m_control->refresh({}));
        leaving.request_stop();
        QVERIFY(waitUntil([&] { return left->isDone; }));
        QVERIFY(left->failedWithType<CancellationError>());
        QCOMPARE(f->github.session->requests.size(), 3);
        f->github.session->resume(answer);
        QVERIFY(waitUntil([&] { return refresh->isDone && second->isDone && third->isDone; }));
        QVERIFY(second->value->isComplete && third->value->isComplete);
        QCOMPARE(f->github.queries.size(), 2);
    }

    void whatTheLastCallerHasLeftIsNotAskedFor()
    {
        buildAlice();
        const auto answer = std::exchange(f->github.session->handler, nullptr);
        std::stop_source leaving;
        const auto refresh = start(m_control->refresh(leaving.get_token()));
        QVERIFY(waitUntil([&] { return f->github.session->openRequests > 0; }));
        leaving.request_stop();
        QVERIFY(waitUntil([&] { return refresh->isDone && f->github.session->openRequests == 0; }));
        f->github.session->resume(answer);
        drainEvents();
        QCOMPARE(f->github.session->requests.size(), 1);
        QVERIFY(awaitValue(m_control->refresh({})).isComplete);
    }

    void theHintSaysWhatIsMissing()
    {
        build();
        f->tick();
        QVERIFY(report().hint.contains(text("velmora connect")));
    }

    void theHintOfSomebodyWithoutRepositoriesLeadsToThePage()
    {
        f->connect(1, text("alice"));
        build();
        f->tick();
        QVERIFY2(report().hint.contains(text("https://github.com/apps/velmora/installations/new")),
            qPrintable(report().hint));
    }

    void theHintOfSomebodyWhoWatchesNothingNamesTheCommand()
    {
        buildAlice();
        Switches none;
        none.all = false;
        std::ignore = repositories(none);
        f->tick();
        QVERIFY2(report().hint.contains(text("velmora repositories --all")), qPrintable(report().hint));
        Switches all;
        all.all = true;
        const QSignalSpy changed(m_control.get(), &ReportSource::reportChanged);
        std::ignore = repositories(all);
        QCOMPARE(report().hint, QString());
        QVERIFY(changed.size() > 0);
    }

    void startingStartsTheMonitor()
    {
        buildAlice();
        m_control->start();
        QVERIFY(waitUntil([&] { return report().state.state == DeploymentMonitorState::Case::Ready; }));
        const auto queries = f->github.queries.size();
        f->clock.advance(31s);
        QVERIFY(waitUntil([&] { return f->github.queries.size() > queries; }));
    }
};

VELMORA_TEST(LocalControlTest)
#include "local_control_test.moc"
