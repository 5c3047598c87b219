// SPDX-License-Identifier: MIT
#include "control/saved_reports.h"

#include "model/json_deployment_cache.h"
#include "monitor/environment_choices.h"
#include "support/await.h"
#include "support/builders.h"
#include "support/fake_cache.h"
#include "support/fake_clock.h"
#include "support/fake_preferences.h"
#include "support/test_main.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

class SavedReportsTest final : public QObject
{
    Q_OBJECT

private:
    FakePreferences m_preferences;
    FakeCache m_cache;
    FakeClock m_clock{noon()};

    [[nodiscard]] SavedReports::Services services()
    {
        SavedReports::Services services;
        services.applicationName = QStringLiteral("Velmora");
        services.preferences = &m_preferences;
        services.cache = &m_cache;
        services.clock = &m_clock;
        return services;
    }

    [[nodiscard]] MonitorReport report()
    {
        SavedReports reports(services());
        return awaitValue(reports.report({}));
    }

    void rememberAnAccount()
    {
        m_preferences.values[QStringLiteral("github.accounts")] = QByteArray(R"([{"id":1,"login":"alice"}])");
    }

private Q_SLOTS:
    void init()
    {
        m_preferences.values.clear();
        m_cache.payload.reset();
    }

    void withoutAnAccountNothingIsShown()
    {
        m_cache.payload
            = DeploymentCachePayload{{makeSnapshot(QStringLiteral("D"), DeploymentState::Success, noon())}, noon()};
        const MonitorReport shown = report();
        QVERIFY(shown.isSaved);
        QCOMPARE(shown.state, DeploymentMonitorState::disconnected(MissingStep::Account));
        QVERIFY(shown.deployments.isEmpty());
        QVERIFY(shown.hint.contains(QStringLiteral("velmora connect")));
    }

    void withoutACacheTheReportSaysWhatToDo()
    {
        rememberAnAccount();
        const MonitorReport shown = report();
        QCOMPARE(shown.state, DeploymentMonitorState::stale(std::nullopt));
        QVERIFY(shown.hint.contains(QStringLiteral("velmora watch")));
    }

    void savedDeploymentsAreFilteredLikeLiveOnes()
    {
        rememberAnAccount();
        const auto old = makeSnapshot(QStringLiteral("D_old"), DeploymentState::Success, noon() - 25h);
        const auto recent = makeSnapshot(QStringLiteral("D_new"), DeploymentState::Success, noon() - 1h);
        m_cache.payload = DeploymentCachePayload{{old, recent}, noon() - 5min};
        const MonitorReport shown = report();
        QCOMPARE(shown.state, DeploymentMonitorState::stale(noon() - 5min));
        QCOMPARE(shown.savedAt, std::optional(noon() - 5min));
        QCOMPARE(shown.lastRefreshedAt, std::optional(noon() - 5min));
        QCOMPARE(shown.deployments, DeploymentList{recent});
    }

    void aPauseIsTold()
    {
        QVERIFY(!report().isPaused);
        m_preferences.values[QStringLiteral("notifications.pause")]
            = QStringList(QStringLiteral("2026-05-01T11:00:00Z/2026-05-01T14:00:00Z"));
        QVERIFY(report().isPaused);
        QCOMPARE(report().pausedUntil, std::optional(noon() + 2h));
    }

    void savedFailuresAreMarkedLikeLiveOnes()
    {
        rememberAnAccount();
        const auto failure = makeSnapshot(QStringLiteral("D_f"), DeploymentState::Failure, noon() - 1h);
        const auto success = makeSnapshot(QStringLiteral("D_s"), DeploymentState::Success, noon() - 5min);
        m_cache.payload = DeploymentCachePayload{{success, failure}, noon() - 1min};
        const Mending mending{success.id, noon() - 5min};
        QCOMPARE(report().marks, (FailureMarks{{failure.id, FailureMark{mending, true}}}));
        m_preferences.values[QStringLiteral("general.ignoresMendedFailures")] = true;
        QCOMPARE(report().marks, (FailureMarks{{failure.id, FailureMark{mending, false}}}));
    }

    void whatIsHiddenIsNotListedInWhatWasSavedEither()
    {
        rememberAnAccount();
        auto preview = makeSnapshot(QStringLiteral("D_p"), DeploymentState::Failure, noon() - 1h);
        preview.environment = QStringLiteral("preview-1");
        auto success = makeSnapshot(QStringLiteral("D_s"), DeploymentState::Success, noon() - 5min);
        success.environment = preview.environment;
        const auto listed = makeSnapshot(QStringLiteral("D_l"), DeploymentState::Success, noon() - 2h);
        m_cache.payload = DeploymentCachePayload{{success, preview, listed}, noon() - 1min};
        storeEnvironmentChoices(&m_preferences, {{{QStringLiteral("preview-*"), EnvironmentChoice::Hide}}, false});
        QCOMPARE(report().deployments, DeploymentList{listed});
        QCOMPARE(report().hidden, (DeploymentList{success, preview}));
        QCOMPARE(report().marks, FailureMarks());
    }

    void anotherProcessThatSavesIsNoticed()
    {
        const QTemporaryDir folder;
        JSONDeploymentCache cache(folder.path());
        awaitValue(cache.save({{}, noon()}));
        auto followed = services();
        followed.cache = &cache;
        followed.cachePath = cache.path();
        SavedReports reports(followed);
        reports.start();
        const QSignalSpy changed(&reports, &ReportSource::reportChanged);
        for (int round = 1; round <= 2; ++round) {
            const auto before = changed.size();
            JSONDeploymentCache other(folder.path());
            awaitValue(other.save({{makeSnapshot(QStringLiteral("D"), DeploymentState::Success, noon())}, noon()}));
            QVERIFY(waitUntil([&] { return changed.size() > before; }));
        }
    }

    void aFolderThatComesLaterIsNoticed()
    {
        const QTemporaryDir home;
        JSONDeploymentCache cache(home.path() + QStringLiteral("/cache/velmora"));
        auto followed = services();
        followed.cache = &cache;
        followed.cachePath = cache.path();
        SavedReports reports(followed);
        reports.start();
        const QSignalSpy changed(&reports, &ReportSource::reportChanged);
        awaitValue(cache.save({{}, noon()}));
        QVERIFY(waitUntil([&] { return changed.size() > 0; }));
        const auto before = changed.size();
        awaitValue(cache.save({{makeSnapshot(QStringLiteral("D"), DeploymentState::Success, noon())}, noon()}));
        QVERIFY(waitUntil([&] { return changed.size() > before; }));
    }

    void aChangedListOfAccountsIsNoticed()
    {
        SavedReports reports(services());
        reports.start();
        const QSignalSpy changed(&reports, &ReportSource::reportChanged);
        m_preferences.setValue(QStringLiteral("github.accounts"), QByteArray("[]"));
        QCOMPARE(changed.size(), 1);
    }
};

VELMORA_TEST(SavedReportsTest)
#include "saved_reports_test.moc"
