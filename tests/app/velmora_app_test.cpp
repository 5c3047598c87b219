// SPDX-License-Identifier: MIT
#include "app/velmora_app.h"

#include "accounts/in_memory_credential_store.h"
#include "app/renewal_grace.h"
#include "http/raw_http_server.h"
#include "support/await.h"
#include "support/fake_clock.h"
#include "support/fake_login_item.h"
#include "support/fake_notifier.h"
#include "support/test_main.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <thread>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

/// The real stores, wired as in the program, over a profile and a clock of the test. Without an account, nothing is
/// asked of the network.
class VelmoraAppTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_clock = std::make_unique<FakeClock>();
        m_github = std::make_unique<RawHTTPServer>();
        m_asking = nullptr;
        m_environment = {};
        m_environment.applicationName = QStringLiteral("Velmora");
        m_environment.directories = XDGDirectories::under(m_folder->path());
        m_credentials = std::make_shared<InMemoryCredentialStore>();
        m_environment.openCredentials = [this](const QString &) {
            return m_credentials;
        };
        m_environment.notifier = &m_notifier;
        m_environment.clock = m_clock.get();
    }

    void theGeneralSettingsLiveInTheProfile()
    {
        VelmoraApp app(m_environment);
        QVERIFY(app.settings().failureNotificationsEnabled());
        QVERIFY(app.files().preferences.boolean(QStringLiteral("general.notificationsEnabled")));
        awaitValue(app.settings().setNotificationsEnabled(true, DeploymentNotificationKind::Success));
        QVERIFY(app.files().preferences.boolean(QStringLiteral("general.successNotificationsEnabled")));
    }

    void aProfileOfItsOwnHasALoginItemOfItsOwn()
    {
        VelmoraApp app(m_environment);
        QVERIFY(!app.settings().launchAtLoginEnabled());
        awaitValue(app.settings().setLaunchAtLogin(true));
        QVERIFY(app.settings().launchAtLoginEnabled());
        QVERIFY(QFile::exists(m_folder->filePath(QStringLiteral("autostart/com.tarvik.Velmora.desktop"))));
    }

    void theEnvironmentMayBringItsOwnLoginItem()
    {
        Preferences *given = nullptr;
        m_environment.makeLoginItem = [&](Preferences *preferences) {
            given = preferences;
            auto item = std::make_unique<FakeLoginItem>();
            item->current = LoginItemStatus::Enabled;
            return item;
        };
        VelmoraApp app(m_environment);
        QCOMPARE(given, &app.files().preferences);
        QVERIFY(app.settings().launchAtLoginEnabled());
    }

    void wakingHoldsTheMonitorAndThenHasItPollAtOnce()
    {
        VelmoraApp app(m_environment);
        app.wakeWatch().prepareForSleep(true);
        poll(app);
        QCOMPARE(app.monitor().state().state, DeploymentMonitorState::Case::Loading);
        app.wakeWatch().prepareForSleep(false);
        poll(app);
        QCOMPARE(app.monitor().state().state, DeploymentMonitorState::Case::Loading);
        m_clock->advance(3s);
        QVERIFY(waitUntil([&] { return app.monitor().state().state == DeploymentMonitorState::Case::Disconnected; }));
    }

    void aJumpOfTheClockDuringThePollingIsAnAwakening()
    {
        VelmoraApp app(m_environment);
        const QSignalSpy paused(&app.wakeWatch(), &WakeWatch::paused);
        app.monitor().start(&app.authentication(), &app.installations());
        QVERIFY(waitUntil([&] { return m_clock->sleeperCount() == 1; }));
        m_clock->setNow(m_clock->now() + 1h);
        m_clock->advanceToNextWake();
        QCOMPARE(paused.count(), 1);
        QVERIFY(app.wakeWatch().isPaused());
    }

    void theProgramMayEndAtAnyMomentOfAnAwakening()
    {
        for (const bool isAsleep : {true, false}) {
            VelmoraApp app(m_environment);
            app.wakeWatch().prepareForSleep(isAsleep);
        }
        m_clock->advance(1min);
        QCOMPARE(m_clock->sleeperCount(), 0);
    }

    void aRenewalSurvivesAChangeOfTheNetwork()
    {
        VelmoraApp app(environmentWithDueToken());
        const auto renewal = start(app.authentication().validCredential(kAccount));
        QVERIFY(waitUntil([&] { return !m_asking.isNull(); }));
        app.wakeWatch().networkChanged(true);
        QVERIFY(app.wakeWatch().isPaused());
        drainEvents();
        QVERIFY(!renewal->isDone && m_asking);
        m_asking->write(kToken);
        QVERIFY(waitUntil([&] { return renewal->isDone; }));
        QCOMPARE(storedToken(), QStringLiteral("new"));
        QCOMPARE(m_github->requests.size(), 1);
    }

    void theEndLeavesTimeToARenewal()
    {
        VelmoraApp app(environmentWithDueToken());
        const auto renewal = start(app.authentication().validCredential(kAccount));
        QVERIFY(waitUntil([&] { return !m_asking.isNull(); }));
        RenewalGrace grace;
        const auto end = start(grace.pass(&app.authentication()));
        drainEvents();
        QVERIFY(!end->isDone);
        m_asking->write(kToken);
        QVERIFY(waitUntil([&] { return end->isDone; }));
        QCOMPARE(storedToken(), QStringLiteral("new"));
    }

    void theEndInTheMiddleOfAnEventLeavesTimeToARenewal()
    {
        VelmoraApp app(environmentWithDueToken());
        const auto renewal = start(app.authentication().validCredential(kAccount));
        QVERIFY(waitUntil([&] { return !m_asking.isNull(); }));
        RenewalGrace grace;
        QTimer::singleShot(0, m_asking, [this] { m_asking->write(kToken); });
        grace.passHere(&app.authentication());
        QCOMPARE(storedToken(), QStringLiteral("new"));
    }

    void theEndDoesNotWaitWhereNothingIsRenewed()
    {
        VelmoraApp app(environmentWithDueToken());
        RenewalGrace grace;
        QVERIFY(start(grace.pass(&app.authentication()))->isDone);
        grace.passHere(&app.authentication());
        // From then on nothing is renewed.
        QVERIFY(await(app.authentication().validCredential(kAccount)).failedWithType<CancellationError>());
        QVERIFY(m_github->requests.isEmpty());
    }

    void onlyTheThreadOfTheStoresWaitsAtTheEnd()
    {
        VelmoraApp app(environmentWithDueToken());
        const auto renewal = start(app.authentication().validCredential(kAccount));
        QVERIFY(waitUntil([&] { return !m_asking.isNull(); }));
        RenewalGrace grace;
        std::thread elsewhere([&] { grace.passHere(&app.authentication()); });
        elsewhere.join();
        QVERIFY(app.authentication().isRenewing());
        m_asking->write(kToken);
        QVERIFY(waitUntil([&] { return renewal->isDone; }));
    }

    void aRenewalThatIsGivenUpEndsWithTheApplication()
    {
        auto app = std::make_unique<VelmoraApp>(environmentWithDueToken());
        const auto renewal = start(app->authentication().validCredential(kAccount));
        QVERIFY(waitUntil([&] { return !m_asking.isNull(); }));
        app.reset();
        QVERIFY(waitUntil([&] { return renewal->isDone && m_github->closedConnections == 1; }));
        QVERIFY(renewal->failure);
        QCOMPARE(storedToken(), QStringLiteral("old"));
    }

private:
    void poll(VelmoraApp &app)
    {
        awaitValue(app.monitor().tick(&app.authentication(), &app.installations(), m_clock->now()));
    }

    /// An account whose token has to be renewed, and a GitHub that takes the request and waits.
    AppEnvironment environmentWithDueToken()
    {
        m_github->handler = [this](QTcpSocket *socket, const QByteArray &) {
            m_asking = socket;
        };
        AppEnvironment environment = m_environment;
        environment.configuration.loginURL = m_github->url();
        const GitHubCredential due{
            QStringLiteral("old"), m_clock->now(), QStringLiteral("works once"), m_clock->now() + 1h};
        awaitValue(m_credentials->save(due, kAccount, Interaction::Forbidden));
        return environment;
    }

    QString storedToken() { return awaitValue(m_credentials->load(kAccount))->accessToken; }

    static constexpr qint64 kAccount = 7;
    static inline const QByteArray kToken
        = RawHTTPServer::answer("200 OK", R"({"access_token":"new","expires_in":28800,"refresh_token":"next"})");

    std::unique_ptr<RawHTTPServer> m_github;
    QPointer<QTcpSocket> m_asking; ///< waits for the new token
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<FakeClock> m_clock;
    std::shared_ptr<InMemoryCredentialStore> m_credentials;
    FakeNotifier m_notifier;
    AppEnvironment m_environment;
};

VELMORA_TEST(VelmoraAppTest)
#include "velmora_app_test.moc"
