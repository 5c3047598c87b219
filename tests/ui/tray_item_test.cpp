// SPDX-License-Identifier: MIT
#include "ui/tray/tray_item.h"

#include "support/fake_status_item.h"
#include "support/monitor_fixture.h"
#include "support/test_main.h"

#include <QLocale>
#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

FakeGitHub::Deployment deployment(const char *id, const char *state)
{
    return {QString::fromLatin1(id), QString::fromLatin1(state), noon() - 1h};
}

} // namespace

class TrayItemTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_fixture = std::make_unique<MonitorFixture>();
        m_item = std::make_unique<FakeStatusItem>();
    }
    void cleanup()
    {
        m_tray.reset();
        m_item.reset();
        m_fixture.reset();
        QLocale::setDefault(QLocale::c());
    }

    void shouldShowTheMonitorAsItIs()
    {
        make({});
        QCOMPARE(m_item->content.title, QStringLiteral("Velmora"));
        QCOMPARE(m_item->content.detail, QStringLiteral("Refreshing deployments"));
        QCOMPARE(m_item->content.icon, TrayIcon().images({DeploymentMonitorState::Case::Loading, 0, 0}));
        QCOMPARE(m_item->content.status, StatusItem::Status::Active);
    }

    void shouldCountWhatIsInProgress()
    {
        make({deployment("a", "IN_PROGRESS"), deployment("b", "QUEUED"), deployment("c", "FAILURE"),
            deployment("d", "SUCCESS")});
        m_fixture->tick();
        QCOMPARE(m_item->content.title, QStringLiteral("2"));
        QCOMPARE(m_item->content.detail, QStringLiteral("2 in progress, 1 failed"));
        QCOMPARE(m_item->content.icon, TrayIcon().images({DeploymentMonitorState::Case::Ready, 2, 1}));
    }

    void shouldBearTheNameOfTheApplicationWhileNothingIsInProgress()
    {
        make({deployment("c", "FAILURE")}, QStringLiteral("Velmora Demo"));
        QCOMPARE(m_item->content.title, QStringLiteral("Velmora Demo"));
        m_fixture->tick();
        QCOMPARE(m_item->content.title, QStringLiteral("Velmora Demo"));
        QCOMPARE(m_item->content.detail, QStringLiteral("1 failed"));
    }

    void shouldTellTheItemNothingWhenNothingChangedForIt()
    {
        make({deployment("a", "IN_PROGRESS")});
        m_fixture->tick();
        const int calls = m_item->calls;
        QSignalSpy changes(m_fixture->monitor.get(), &DeploymentMonitor::changed);
        m_fixture->tickAfter(30s);
        QCOMPARE(changes.size(), 1); // because of the time of the last refresh
        QCOMPARE(m_item->calls, calls);
    }

    void shouldFollowEveryChange()
    {
        make({deployment("a", "IN_PROGRESS")});
        m_fixture->tick();
        m_fixture->github.identities[QStringLiteral("alice")].repositories.first().deployments.first().state
            = QStringLiteral("SUCCESS");
        m_fixture->tickAfter(30s);
        QCOMPARE(m_item->content.title, QStringLiteral("Velmora"));
        QCOMPARE(m_item->content.detail, QStringLiteral("GitHub deployments"));
    }

    void shouldSayHowThingsStand_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QList<DeploymentState>>("deployments");
        QTest::addColumn<QString>("line");
        using Case = DeploymentMonitorState::Case;
        using enum DeploymentState;
        const auto row = [](const char *name, Case state, const QList<DeploymentState> &list, const char *line) {
            QTest::newRow(name) << static_cast<int>(state) << list << QString::fromLatin1(line);
        };
        row("both", Case::Ready, {InProgress, Queued, Failure, Success}, "2 in progress, 1 failed");
        row("in progress", Case::Ready, {Waiting}, "1 in progress");
        row("failed", Case::Ready, {Failure, Error}, "2 failed");
        row("all is well", Case::Ready, {Success}, "GitHub deployments");
        row("nothing", Case::Ready, {}, "GitHub deployments");
        row("loading", Case::Loading, {InProgress}, "Refreshing deployments");
        row("saved", Case::Stale, {InProgress}, "Showing saved data");
        row("paused", Case::RateLimited, {InProgress}, "Paused until 12:00:00");
        row("disconnected", Case::Disconnected, {}, "Connect GitHub");
    }
    void shouldSayHowThingsStand()
    {
        QFETCH(int, state);
        QFETCH(QList<DeploymentState>, deployments);
        QFETCH(QString, line);
        DeploymentMonitorState monitorState;
        monitorState.state = static_cast<DeploymentMonitorState::Case>(state);
        monitorState.resumeAt = noon();
        DeploymentList list;
        for (const auto one : deployments)
            list.append(makeSnapshot(QString::number(list.size()), one, noon()));
        QCOMPARE(trayStatusLine(monitorState, list, {}), line);
    }

    void shouldNotSpeakOfFailuresThatDoNotCount()
    {
        const DeploymentList list{makeSnapshot(QStringLiteral("a"), DeploymentState::Failure, noon()),
            makeSnapshot(QStringLiteral("b"), DeploymentState::Failure, noon())};
        FailureMarks marks{{QStringLiteral("a"), FailureMark{std::nullopt, false}}};
        const auto ready = DeploymentMonitorState::ready(noon());
        QCOMPARE(trayStatusLine(ready, list, marks), QStringLiteral("1 failed"));
        marks.insert(QStringLiteral("b"), FailureMark{std::nullopt, false});
        QCOMPARE(trayStatusLine(ready, list, marks), QStringLiteral("GitHub deployments"));
    }

    void shouldHaveAMenuThatOpensFirst()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
        make({});
        QStringList labels;
        for (const auto &entry : m_item->content.menu) {
            QVERIFY(entry.isEnabled);
            labels.append(entry.isSeparator ? QStringLiteral("-") : entry.label);
        }
        const QStringList expected{QStringLiteral("Open Velmora"), QStringLiteral("-"), QStringLiteral("Refresh"),
            QStringLiteral("Settings…"), QStringLiteral("-"), QStringLiteral("Pause notifications for 1 hour"),
            QStringLiteral("Pause notifications for 4 hours"),
            QStringLiteral("Pause notifications until tomorrow, 09:00"), QStringLiteral("-"), QStringLiteral("Quit")};
        QCOMPARE(labels, expected);
    }

    void shouldPauseAndResumeTheNotifications()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
        make({});
        const NotificationPause &pause = m_fixture->monitor->announcements().pause();
        choose("Pause notifications for 1 hour");
        QVERIFY(pause.term() == Term(noon(), noon() + 1h));
        QCOMPARE(m_item->entryNamed(QStringLiteral("Pause notifications for 4 hours")), 0);
        choose("Resume notifications (paused until 13:00)");
        QVERIFY(!pause.term());
        choose("Pause notifications for 4 hours");
        QVERIFY(pause.term() == Term(noon(), noon() + 4h));
        m_fixture->clock.advance(4h);
        m_fixture->tick();
        choose("Pause notifications until tomorrow, 09:00");
        QVERIFY(pause.term() == Term(noon() + 4h, noon() + 21h));
        choose("Resume notifications (paused until tomorrow, 09:00)");
        QVERIFY(!pause.term());
    }

    void shouldTurnTheEntriesIntoWishes()
    {
        make({});
        QSignalSpy open(m_tray.get(), &TrayItem::openRequested);
        QSignalSpy refresh(m_tray.get(), &TrayItem::refreshRequested);
        QSignalSpy settings(m_tray.get(), &TrayItem::settingsRequested);
        QSignalSpy quit(m_tray.get(), &TrayItem::quitRequested);
        choose("Open Velmora");
        QCOMPARE(open.size(), 1);
        QCOMPARE(open.constFirst(), QVariantList{QStringLiteral("token")});
        choose("Refresh");
        QCOMPARE(refresh.size(), 1);
        Q_EMIT m_item->menuTriggered(m_item->entryNamed(QStringLiteral("Settings…")), QStringLiteral("token"));
        QCOMPARE(settings.size(), 1);
        QCOMPARE(settings.constFirst(), QVariantList{QStringLiteral("token")});
        choose("Quit");
        QCOMPARE(quit.size(), 1);
        Q_EMIT m_item->menuTriggered(4711, QString());
        QCOMPARE(open.size() + refresh.size() + settings.size() + quit.size(), 4);
    }

    void shouldTellWhereItWasClicked()
    {
        make({});
        QSignalSpy toggle(m_tray.get(), &TrayItem::toggleRequested);
        Q_EMIT m_item->activated(QPoint(3, 4), QStringLiteral("token"));
        QCOMPARE(toggle.size(), 1);
        QCOMPARE(toggle.constFirst().at(0).value<std::optional<QPoint>>(), std::optional(QPoint(3, 4)));
        QCOMPARE(toggle.constFirst().at(1).toString(), QStringLiteral("token"));
    }

private:
    void make(const QList<FakeGitHub::Deployment> &deployments, const QString &name = QStringLiteral("Velmora"))
    {
        const FakeGitHub::Repository repository{
            QStringLiteral("R_a"), QStringLiteral("alice/a"), deployments, QString()};
        m_fixture->connect(1, QStringLiteral("alice")).repositories = {repository};
        m_fixture->build();
        m_tray = std::make_unique<TrayItem>(m_fixture->monitor.get(), m_item.get(), name);
    }
    void choose(const char *label)
    {
        Q_EMIT m_item->menuTriggered(m_item->entryNamed(QString::fromLatin1(label)), QStringLiteral("token"));
    }

    std::unique_ptr<MonitorFixture> m_fixture;
    std::unique_ptr<FakeStatusItem> m_item;
    std::unique_ptr<TrayItem> m_tray;
};

VELMORA_WIDGET_TEST(TrayItemTest)
#include "tray_item_test.moc"
