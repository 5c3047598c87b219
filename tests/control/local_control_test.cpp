// SPDX-License-Identifier: MIT
#include "control/local_control.h"

#include "notifications/general_settings_store.h"
#include "support/fake_login_item.h"
#include "support/monitor_fixture.h"

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

/// A keyring that asks the person before it deletes anything.
class WaitingCredentialStore final : public CredentialStoring
{
public:
    explicit WaitingCredentialStore(std::shared_ptr<InMemoryCredentialStore> content)
        : m_content(std::move(content))
    {
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

private:
    std::shared_ptr<InMemoryCredentialStore> m_content;
};

} // namespace

/// The control over the real stores and the real monitor.
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
        LocalControl::Services services;
        services.applicationName = text("Velmora");
        services.authentication = f->authentication.get();
        services.installations = f->installations.get();
        services.monitor = f->monitor.get();
        services.settings = m_settings.get();
        services.clock = &f->clock;
        services.installationURL = WebAddress(text("https://github.com/apps/velmora/installations/new"));
        m_control = std::make_unique<LocalControl>(services);
    }

    /// "alice" with two repositories.
    void buildAlice()
    {
        f->connect(1, text("alice")).repositories
            = {{text("R_a"), text("alice/a"), {{text("a1"), text("FAILURE")}}, {}},
                {text("R_b"), text("alice/b"), {}, {}}};
        build();
    }

    [[nodiscard]] MonitorReport report() { return awaitValue(m_control->report({})); }
    [[nodiscard]] RepositoriesAnswer repositories(const RepositoryChoices &choices)
    {
        return awaitValue(m_control->repositories(choices, {}));
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
        QCOMPARE(accounts.first().status, text("connected"));
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

    void aKeyringThatAsksThePersonHoldsNothingElseUp()
    {
        f->connect(1, text("alice")).repositories
            = {{text("R_a"), text("alice/a"), {{text("a1"), text("FAILURE")}}, {}}};
        const auto waiting = std::make_shared<WaitingCredentialStore>(f->credentials);
        f->credentialStore = waiting;
        build();
        std::ignore = awaitValue(m_control->refresh({}));
        std::stop_source stop;
        const auto removal = start(m_control->removeAccount(text("alice"), stop.get_token()));
        QVERIFY(waitUntil([&] { return report().deployments.isEmpty(); }));
        QVERIFY(!removal->isDone);
        stop.request_stop();
        QVERIFY(waitUntil([&] { return removal->isDone; }));
        QVERIFY(removal->failedWithType<CancellationError>());
        waiting->answered.resolve();
    }

    void anUnknownAccountIsRefusedWithTheKnownOnes()
    {
        buildAlice();
        const auto answer = awaitValue(m_control->removeAccount(text("bob"), {}));
        QCOMPARE(answer.refusal, text("There is no account named bob. Connected: alice."));
        QCOMPARE(f->authentication->sessions().size(), 1);
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
        RepositoryChoices choices;
        choices.all = false;
        choices.include = QStringList{text("Alice/B")};
        const auto answer = repositories(choices);
        QVERIFY(answer.loading.isComplete);
        QCOMPARE(answer.repositories.size(), 2);
        QVERIFY(!answer.repositories.at(0).isIncluded);
        QVERIFY(answer.repositories.at(1).isMonitored);
        choices.all.reset();
        choices.include.clear();
        choices.exclude = QStringList{text("R_b")};
        QVERIFY(!repositories(choices).repositories.at(1).isIncluded);
    }

    void aNameThatMeansNothingSwitchesNothing()
    {
        buildAlice();
        RepositoryChoices choices;
        choices.exclude = QStringList{text("alice/a"), text("alice/z")};
        const auto answer = repositories(choices);
        QCOMPARE(answer.refusal, text("There is no repository alice/z. There is: alice/a, alice/b."));
        QVERIFY(f->installations->repositories().first().isIncluded);
        InstallationChoices keys;
        keys.disable = QStringList{text("9:9")};
        QVERIFY(!awaitValue(m_control->installations(keys, {})).refusal.isEmpty());
    }

    void installationsAreSwitchedBeforeTheyAreListed()
    {
        buildAlice();
        InstallationChoices choices;
        choices.disable = QStringList{text("1:7")};
        auto answer = awaitValue(m_control->installations(choices, {}));
        QVERIFY2(answer.refusal.isEmpty(), qPrintable(answer.refusal));
        QCOMPARE(answer.installations.size(), 1);
        QVERIFY(!answer.installations.first().isEnabled);
        QCOMPARE(answer.installations.first().identity, text("alice"));
        QCOMPARE(answer.installationURL.text(), text("https://github.com/apps/velmora/installations/new"));
        QVERIFY(!repositories({}).repositories.first().isMonitored);
        choices = {QStringList{text("1:7")}, {}};
        QVERIFY(awaitValue(m_control->installations(choices, {})).installations.first().isEnabled);
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
        QCOMPARE(shown.origin, ReportOrigin::Live);
        QCOMPARE(shown.state, DeploymentMonitorState::ready(f->clock.now()));
        QCOMPARE(shown.deployments.size(), 1);
        QCOMPARE(shown.lastRefreshedAt, std::optional(f->clock.now()));
    }

    void aStoppedRefreshIsCancelledAtOnce()
    {
        buildAlice();
        f->github.session->handler = nullptr; // nobody answers
        std::stop_source stop;
        const auto refresh = start(m_control->refresh(stop.get_token()));
        drainEvents();
        QVERIFY(!refresh->isDone);
        stop.request_stop();
        QVERIFY(waitUntil([&] { return refresh->isDone; }));
        QVERIFY(refresh->failedWithType<CancellationError>());
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
        RepositoryChoices none;
        none.all = false;
        std::ignore = repositories(none);
        f->tick();
        QVERIFY2(report().hint.contains(text("velmora repositories --all")), qPrintable(report().hint));
        RepositoryChoices all;
        all.all = true;
        const QSignalSpy changed(m_control.get(), &ReportSource::reportChanged);
        std::ignore = repositories(all);
        QCOMPARE(report().hint, QString());
        QVERIFY(changed.size() > 0);
    }

    void followingStartsTheMonitor()
    {
        buildAlice();
        m_control->follow();
        QVERIFY(waitUntil([&] { return report().state.state == DeploymentMonitorState::Case::Ready; }));
        const auto queries = f->github.queries.size();
        f->clock.advance(31s);
        QVERIFY(waitUntil([&] { return f->github.queries.size() > queries; }));
    }
};

QTEST_GUILESS_MAIN(LocalControlTest)
#include "local_control_test.moc"
