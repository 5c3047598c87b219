// SPDX-License-Identifier: MIT
#include "app/velmora_app.h"

#include "accounts/in_memory_credential_store.h"
#include "app/wake_sources.h"
#include "support/await.h"
#include "support/fake_clock.h"
#include "support/fake_login_item.h"
#include "support/fake_notifier.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

/// The real stores, wired as they are in the program, over a profile and a clock of the test's own. There is no
/// account, so that nothing is asked of any network.
class VelmoraAppTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_clock = std::make_unique<FakeClock>();
        m_environment = {};
        m_environment.applicationName = QStringLiteral("Velmora");
        m_environment.directories = XDGDirectories::under(m_folder->path());
        m_environment.credentialStore = std::make_shared<InMemoryCredentialStore>();
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

    void theSourcesOfThisMachineReportToTheWatch()
    {
        WakeWatch watch(m_clock.get());
        {
            // Without a system bus the network is still watched.
            WakeSources sources(QDBusConnection(QStringLiteral("no such connection")), &watch);
            drainEvents();
        }
        {
            WakeSources ended(QDBusConnection(QStringLiteral("no such connection")), &watch);
        }
        // The network monitor is made on a thread and arrives when its owner is gone.
        QThreadPool::globalInstance()->waitForDone();
        drainEvents();
        QCOMPARE(m_clock->sleeperCount(), 0);
    }

private:
    void poll(VelmoraApp &app)
    {
        awaitValue(app.monitor().tick(&app.authentication(), &app.installations(), m_clock->now()));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<FakeClock> m_clock;
    FakeNotifier m_notifier;
    AppEnvironment m_environment;
};

QTEST_GUILESS_MAIN(VelmoraAppTest)
#include "velmora_app_test.moc"
