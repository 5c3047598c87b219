// SPDX-License-Identifier: MIT
#include "accounts/authentication_store.h"
#include "accounts/in_memory_credential_store.h"
#include "accounts/installation_page.h"
#include "http/network_session.h"
#include "installations/installation_store.h"
#include "monitor/deployment_monitor.h"
#include "platform/pasteboard.h"
#include "simulator/simulator.h"
#include "support/await.h"
#include "support/fake_cache.h"
#include "support/fake_notifier.h"
#include "support/fake_preferences.h"
#include "support/fake_url_opener.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

class NoPasteboard final : public Pasteboard
{
public:
    bool setText(const QString &) override { return false; }
};

} // namespace

/// Performs the steps of a user against the simulator, from the first connection to the first announced result.
class StoresIntegrationTest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<simulator::Simulator> m_github;
    std::unique_ptr<AuthenticationStore> m_authentication;
    std::unique_ptr<InstallationStore> m_installations;
    std::unique_ptr<DeploymentMonitor> m_monitor;
    std::shared_ptr<NetworkSession> m_session;
    FakePreferences m_defaults;
    FakeCache m_cache;
    FakeNotifier m_notifier;
    SystemClock m_clock;
    NoPasteboard m_pasteboard;
    FakeURLOpener m_browser;
    InstallationPage m_installationPage{
        WebAddress(QStringLiteral("https://github.com/apps/velmora/installations/new")), &m_browser, &m_clock};

    void connectFirst()
    {
        m_authentication->startConnecting();
        QVERIFY(waitUntil([&] { return m_authentication->pendingAuthorization().has_value(); }));
        const auto login = m_github->world().owners().at(m_github->world().identities().first()).login;
        QVERIFY(m_github->oauth().approve(m_authentication->pendingAuthorization()->userCode, login));
        QVERIFY(waitUntil([&] { return m_authentication->connectionState() == GitHubSessionStatus::Connected; }));
        QCOMPARE(m_authentication->sessions().size(), 1);
        QCOMPARE(m_authentication->sessions().first().account.login, login);
    }

    void tick(std::chrono::seconds later)
    {
        awaitValue(m_monitor->tick(m_authentication.get(), m_installations.get(), m_clock.now() + later));
    }

private Q_SLOTS:
    void init()
    {
        simulator::SimulatorOptions options;
        options.playsStory = false;
        options.oauth.interval = 1;
        m_github = std::make_unique<simulator::Simulator>(options);
        QVERIFY(m_github->start());
        m_github->replaceWorld({1, 1, 25, 2});

        m_session = std::make_shared<NetworkSession>();
        GitHubClient client;
        client.clientID = simulator::demoClientID();
        client.session = m_session;
        client.apiURL = m_github->url();
        client.loginURL = m_github->url().resolved(QUrl(QStringLiteral("/login")));
        client.clock = &m_clock;
        m_defaults.values[QStringLiteral("general.notificationsEnabled")] = true;
        const auto ledger = std::make_shared<RateLimitLedger>();
        m_authentication = std::make_unique<AuthenticationStore>(client, std::make_shared<InMemoryCredentialStore>(),
            AuthenticationStore::Services{&m_defaults, &m_pasteboard, &m_browser, &m_clock, &m_installationPage, {}});
        m_installations = std::make_unique<InstallationStore>(client, &m_defaults, &m_clock, ledger);
        m_monitor = std::make_unique<DeploymentMonitor>(
            client, DeploymentMonitor::Services{&m_cache, &m_notifier, &m_defaults, &m_clock, ledger, [] {
                                                    return 0.5;
                                                }});
    }

    void cleanup()
    {
        m_monitor.reset();
        m_installations.reset();
        m_authentication.reset();
        m_session.reset();
        m_github.reset();
        m_defaults.values.clear();
        m_notifier = FakeNotifier();
        m_browser.opened.clear();
        drainEvents();
    }

    void fromTheFirstConnectionToTheFirstAnnouncedResult()
    {
        connectFirst();
        QCOMPARE(m_browser.opened.last(), QStringLiteral("https://github.com/apps/velmora/installations/new"));
        tick(std::chrono::seconds(0));
        QCOMPARE(m_installations->repositories().size(), 25);
        QCOMPARE(m_monitor->state().state, DeploymentMonitorState::Case::Ready);
        QCOMPARE(m_notifier.announced, QStringList());

        simulator::Deployment failing;
        failing.environment = QStringLiteral("production");
        failing.commitOid = QStringLiteral("0123456789abcdef0123456789abcdef01234567");
        failing.createdAt = failing.updatedAt = m_github->now();
        failing.state = QStringLiteral("FAILURE");
        const auto id = m_github->world().addDeployment(3, failing);
        tick(std::chrono::seconds(31));
        tick(std::chrono::seconds(62));
        QCOMPARE(m_notifier.announced, QStringList({QStringLiteral("failure ") + id}));
    }

    void noIdentityEverHasTwoRequestsAtOnce()
    {
        connectFirst();
        for (int i = 0; i < 4; ++i)
            tick(std::chrono::seconds(31 * i));
        QVERIFY(m_github->log().entries().size() >= 10);
        for (const auto &entry : m_github->log().entries())
            QCOMPARE(entry.unanswered, 0);
    }

    void noIdentityEverHasTwoRequestsAtOnceWhateverPartOfTheProgramAsks()
    {
        connectFirst();
        tick(std::chrono::seconds(0));
        m_github->log().clear();
        auto *const authentication = m_authentication.get();
        auto *const installations = m_installations.get();
        const Instant later = m_clock.now() + std::chrono::seconds(31);
        const auto poll = start(m_monitor->tick(authentication, installations, later));
        const auto window = start(installations->refresh(authentication));
        const auto settings = start(installations->refresh(authentication));
        const auto terminal = start(m_monitor->refreshAll(authentication, installations, later));
        QVERIFY(waitUntil([&] { return poll->isDone && window->isDone && settings->isDone && terminal->isDone; }));
        const auto &entries = m_github->log().entries();
        QVERIFY(entries.size() >= 4);
        for (const auto &entry : entries)
            QCOMPARE(entry.unanswered, 0);
        const auto lists = std::count_if(entries.begin(), entries.end(),
            [](const auto &entry) { return entry.request.path == "/user/installations"; });
        QCOMPARE(lists, 1);
    }

    void aCancelledConnectionLeavesNothing()
    {
        m_authentication->startConnecting();
        QVERIFY(waitUntil([&] { return m_authentication->pendingAuthorization().has_value(); }));
        m_authentication->cancelConnection();
        QCOMPARE(m_authentication->connectionState(), GitHubSessionStatus::Disconnected);
        drainEvents();
        QVERIFY(!m_authentication->errorMessage());
        QVERIFY(m_authentication->sessions().isEmpty());
    }

    void aDeniedConnectionSaysWhy()
    {
        m_authentication->startConnecting();
        QVERIFY(waitUntil([&] { return m_authentication->pendingAuthorization().has_value(); }));
        QVERIFY(m_github->oauth().deny(m_authentication->pendingAuthorization()->userCode));
        QVERIFY(
            waitUntil([&] { return m_authentication->connectionState() == GitHubSessionStatus::ReconnectRequired; }));
        QCOMPARE(m_authentication->errorMessage(), QStringLiteral("GitHub authorization was cancelled."));
    }

    void anAnswerThatNeverEndsDoesNotOutliveTheStores()
    {
        connectFirst();
        simulator::MisbehaviourRule rule;
        rule.path = "/graphql";
        rule.delivery.hang = true;
        m_github->misbehaviour().add(rule);
        m_github->log().clear();
        const auto refresh = start(m_monitor->tick(m_authentication.get(), m_installations.get(), m_clock.now()));
        QVERIFY(waitUntil([&] {
            const auto &entries = m_github->log().entries();
            return !entries.empty() && entries.back().request.path == "/graphql";
        }));
        m_monitor.reset();
        QVERIFY(waitUntil([&] { return refresh->isDone; }));
        QVERIFY(waitUntil([&] { return !m_github->log().entries().back().isOpen; }));
    }
};

VELMORA_TEST(StoresIntegrationTest)
#include "stores_test.moc"
