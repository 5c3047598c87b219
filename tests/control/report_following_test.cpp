// SPDX-License-Identifier: MIT
#include "control/report_following.h"

#include "control/control_error.h"
#include "support/await.h"
#include "support/builders.h"
#include "support/cancel_on_stop.h"
#include "support/one_shot.h"
#include "support/task_scope.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

/// Reports its own name.
class FakeReports final : public ReportSource
{
public:
    explicit FakeReports(QString name)
        : m_name(std::move(name))
    {
    }

    [[nodiscard]] QCoro::Task<bool> locate(std::stop_token) override
    {
        if (locating) {
            const OneShot<> located = *locating;
            co_await located;
        }
        co_return m_isRunning;
    }
    [[nodiscard]] bool isRunning() const override { return m_isRunning; }
    [[nodiscard]] QCoro::Task<MonitorReport> report(std::stop_token stop) override
    {
        if (gate) {
            const OneShot<> opened = *gate;
            co_await opened;
        }
        throwIfStopped(stop);
        if (isEnding)
            throw CancellationError();
        if (fails)
            throw ControlError(QStringLiteral("no answer"));
        MonitorReport report;
        report.applicationName = m_name;
        co_return report;
    }
    void start() override { ++starts; }

    void setRunning(bool isRunning)
    {
        m_isRunning = isRunning;
        Q_EMIT isRunningChanged();
    }

    int starts = 0;
    bool fails = false;
    bool isEnding = false;
    std::optional<OneShot<>> gate; ///< reports wait for it
    std::optional<OneShot<>> locating; ///< locate() waits for it

private:
    QString m_name;
    bool m_isRunning = false;
};

} // namespace

class ReportFollowingTest final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<FakeReports> m_running;
    std::unique_ptr<FakeReports> m_own; ///< the source of this process
    QStringList m_calls;
    std::exception_ptr m_cannotCreate; ///< thrown by create()
    std::optional<OneShot<>> m_creating; ///< create() waits for it
    std::optional<OneShot<>> m_destroying; ///< destroy() waits for it
    int m_startsOfDestroyed = 0; ///< of the source that was destroyed last
    QStringList m_shown; ///< the names in the reports that were shown
    int m_announced = 0;
    std::stop_source m_stop;

    QCoro::Task<ReportSource *> create(std::stop_token stop)
    {
        m_calls.append(QStringLiteral("create"));
        if (m_cannotCreate)
            std::rethrow_exception(m_cannotCreate);
        if (m_creating) {
            const OneShot<> created = *m_creating;
            const CancelOnStop<> onStop(created, stop);
            co_await created;
        }
        m_own = std::make_unique<FakeReports>(QStringLiteral("own"));
        co_return m_own.get();
    }

    QCoro::Task<> destroy()
    {
        m_calls.append(QStringLiteral("destroy"));
        if (m_destroying) {
            const OneShot<> destroyed = *m_destroying;
            co_await destroyed;
        }
        if (m_own)
            m_startsOfDestroyed = m_own->starts;
        m_own.reset();
    }

    [[nodiscard]] ReportSides sides()
    {
        ReportSides sides;
        sides.running = m_running.get();
        sides.create = [this](std::stop_token stop) {
            return create(std::move(stop));
        };
        sides.destroy = [this](const std::stop_token &) {
            return destroy();
        };
        return sides;
    }

    [[nodiscard]] QCoro::Task<MonitorReport> report() { return currentReport(sides(), m_stop.get_token()); }
    [[nodiscard]] QString reporter() { return awaitValue(report()).applicationName; }

    /// Follows until the end of the test.
    std::shared_ptr<Outcome<void>> follow()
    {
        ReportView view;
        view.show = [this](const MonitorReport &report) {
            m_shown.append(report.applicationName);
        };
        view.announce = [this](const DeploymentNotification &) {
            ++m_announced;
        };
        return start(followReports(sides(), view, m_stop.get_token()));
    }

private Q_SLOTS:
    void init()
    {
        m_running = std::make_unique<FakeReports>(QStringLiteral("running"));
        m_own.reset();
        m_calls.clear();
        m_cannotCreate = nullptr;
        m_creating.reset();
        m_destroying.reset();
        m_shown.clear();
        m_announced = 0;
        m_stop = std::stop_source();
    }

    void cleanup()
    {
        m_stop.request_stop();
        drainEvents();
    }

    void theRunningOneIsAskedAndNothingElseIsMade()
    {
        m_running->setRunning(true);
        QCOMPARE(reporter(), QStringLiteral("running"));
        QVERIFY(m_calls.isEmpty());
        QCOMPARE(m_running->starts, 0);
    }

    void withoutARunningOneThisProcessIsAsked()
    {
        QCOMPARE(reporter(), QStringLiteral("own"));
        QCOMPARE(m_calls, QStringList{QStringLiteral("create")});
        QCOMPARE(m_own->starts, 0);
    }

    void newsThatStillNoneRunsChangesNothing()
    {
        const auto following = follow();
        m_running->setRunning(false);
        QVERIFY(!following->isDone);
        QVERIFY(m_own);
        QCOMPARE(m_shown.last(), QStringLiteral("own"));
    }

    void nothingIsReportedBeforeItIsKnownWhichOneRuns()
    {
        m_running->locating.emplace();
        const auto asked = start(report());
        drainEvents();
        QVERIFY(!asked->isDone);
        QVERIFY(m_calls.isEmpty());
        m_running->setRunning(true);
        m_running->locating->resolve();
        QVERIFY(waitUntil([&] { return asked->isDone; }));
        QCOMPARE(asked->value->applicationName, QStringLiteral("running"));
    }

    void thisProcessGivesWayToOneThatAppearsAndTakesOverAfterwards()
    {
        const auto following = follow();
        QCOMPARE(m_shown, QStringList{QStringLiteral("own")});
        QCOMPARE(m_own->starts, 1);
        m_running->setRunning(true);
        QVERIFY(!m_own);
        QCOMPARE(m_startsOfDestroyed, 1);
        QCOMPARE(m_running->starts, 1);
        m_running->setRunning(false);
        QCOMPARE(m_own->starts, 1);
        const QStringList shown{QStringLiteral("own"), QStringLiteral("running"), QStringLiteral("own")};
        QCOMPARE(m_shown, shown);
        const QStringList calls{QStringLiteral("create"), QStringLiteral("destroy"), QStringLiteral("create")};
        QCOMPARE(m_calls, calls);
        QVERIFY(!following->isDone);
    }

    void anotherRunningOneIsAskedAnew()
    {
        m_running->setRunning(true);
        const auto following = follow();
        m_running->setRunning(true);
        QCOMPARE(m_shown, QStringList(2, QStringLiteral("running")));
        QVERIFY(m_calls.isEmpty());
    }

    void nothingIsAskedWhileTheOwnSourceIsEnding()
    {
        m_destroying.emplace();
        const auto following = follow();
        m_running->setRunning(true);
        drainEvents();
        QCOMPARE(m_shown, QStringList{QStringLiteral("own")});
        QCOMPARE(m_running->starts, 0);
        m_destroying->resolve();
        const QStringList shown{QStringLiteral("own"), QStringLiteral("running")};
        QCOMPARE(m_shown, shown);
    }

    void oneThatGoesWhileTheOwnSourceIsEndingIsNotAsked()
    {
        m_destroying.emplace();
        const auto following = follow();
        m_running->setRunning(true);
        m_running->setRunning(false);
        m_destroying->resolve();
        QCOMPARE(m_shown, QStringList(2, QStringLiteral("own")));
        QCOMPARE(m_running->starts, 0);
    }

    void whatElseIsConnectedToThemStays()
    {
        int renamings = 0;
        connect(m_running.get(), &QObject::objectNameChanged, this, [&renamings] { ++renamings; });
        m_running->setRunning(true);
        const auto following = follow();
        m_running->setRunning(false);
        m_running->setObjectName(QStringLiteral("another name"));
        QCOMPARE(renamings, 1);
    }

    void newsOfThePresentSourceAreShownAndNoOthers()
    {
        const auto following = follow();
        Q_EMIT m_running->reportChanged();
        Q_EMIT m_running->announced({});
        QCOMPARE(m_shown.size(), 1);
        QCOMPARE(m_announced, 0);
        Q_EMIT m_own->reportChanged();
        Q_EMIT m_own->announced({});
        QCOMPARE(m_shown.size(), 2);
        QCOMPARE(m_announced, 1);
    }

    void aChangeDuringAQuestionIsShownAfterIt()
    {
        m_running->setRunning(true);
        const auto following = follow();
        m_running->gate.emplace();
        Q_EMIT m_running->reportChanged();
        Q_EMIT m_running->reportChanged();
        QCOMPARE(m_shown.size(), 1);
        const OneShot<> gate = *std::exchange(m_running->gate, std::nullopt);
        gate.resolve();
        QCOMPARE(m_shown.size(), 3);
    }

    void whatASideAnswersAfterItsEndIsNotShown()
    {
        const auto following = follow();
        m_own->gate.emplace();
        const OneShot<> gate = *m_own->gate;
        Q_EMIT m_own->reportChanged();
        m_running->setRunning(true);
        gate.resolve();
        const QStringList shown{QStringLiteral("own"), QStringLiteral("running")};
        QCOMPARE(m_shown, shown);
    }

    void aQuestionToOneThatEndsIsAskedAgain()
    {
        m_running->setRunning(true);
        m_running->gate.emplace();
        m_running->fails = true;
        const auto asked = start(report());
        m_running->gate->resolve();
        drainEvents();
        QVERIFY(!asked->isDone);
        m_running->setRunning(false);
        QVERIFY(waitUntil([&] { return asked->isDone; }));
        QCOMPARE(asked->value->applicationName, QStringLiteral("own"));
    }

    void aQuestionToAnOwnSourceThatEndsIsAskedAgain()
    {
        m_creating.emplace();
        m_destroying.emplace();
        const auto asked = start(report());
        m_creating->resolve();
        QVERIFY(asked->isDone);
        const auto following = follow();
        m_own->gate.emplace();
        m_own->isEnding = true;
        const OneShot<> gate = *m_own->gate;
        Q_EMIT m_own->reportChanged();
        m_running->setRunning(true);
        gate.resolve();
        drainEvents();
        QCOMPARE(m_shown, QStringList{QStringLiteral("own")});
        m_destroying->resolve();
        QVERIFY(waitUntil([&] { return m_shown.size() == 2; }));
        QCOMPARE(m_shown.last(), QStringLiteral("running"));
        QVERIFY(!following->isDone);
    }

    void anOwnSourceThatIsMadeTooLateIsDestroyedBeforeItBegins()
    {
        m_creating.emplace();
        const auto following = follow();
        m_running->setRunning(true);
        m_creating->resolve();
        QCOMPARE(m_shown, QStringList{QStringLiteral("running")});
        const QStringList calls{QStringLiteral("create"), QStringLiteral("destroy")};
        QCOMPARE(m_calls, calls);
        QCOMPARE(m_startsOfDestroyed, 0);
    }

    void aStopEndsTheCreationOfTheOwnSource()
    {
        m_creating.emplace();
        const auto following = follow();
        m_stop.request_stop();
        QVERIFY(waitUntil([&] { return following->isDone; }));
        QVERIFY(!following->failure);
        QCOMPARE(m_calls, QStringList{QStringLiteral("create")});
    }

    void aVelmoraThatStartsEndsTheCreationOfTheOwnSource()
    {
        m_creating.emplace();
        const auto following = follow();
        m_running->setRunning(true);
        QVERIFY(waitUntil([this] { return !m_shown.isEmpty(); }));
        QCOMPARE(m_shown, QStringList{QStringLiteral("running")});
        const QStringList calls{QStringLiteral("create"), QStringLiteral("destroy")};
        QCOMPARE(m_calls, calls);
    }

    void oneThatRunsAndDoesNotAnswerIsAnError()
    {
        m_running->setRunning(true);
        m_running->fails = true;
        QCOMPARE(await(report()).description(), QStringLiteral("no answer"));
        QVERIFY(m_calls.isEmpty());
        const auto following = follow();
        QVERIFY(waitUntil([&] { return following->isDone; }));
        QCOMPARE(following->description(), QStringLiteral("no answer"));
    }

    void anOwnSourceThatCannotBeMadeIsAnError()
    {
        m_cannotCreate = std::make_exception_ptr(FileError(QStringLiteral("cannot create")));
        QCOMPARE(await(report()).description(), QStringLiteral("cannot create"));
        m_running->setRunning(true);
        QCOMPARE(reporter(), QStringLiteral("running"));
    }

    void evenASurpriseOfTheOwnSourceIsTold()
    {
        m_cannotCreate = std::make_exception_ptr(std::runtime_error("out of luck"));
        QCOMPARE(await(report()).description(), QStringLiteral("out of luck"));
    }

    void aStopEndsTheWaiting()
    {
        m_running->setRunning(true);
        m_running->gate.emplace();
        const OneShot<> first = *m_running->gate;
        const auto asked = start(report());
        const OneShot<> second = m_running->gate.emplace();
        const auto following = follow();
        m_stop.request_stop();
        first.resolve();
        second.resolve();
        QVERIFY(waitUntil([&] { return asked->isDone && following->isDone; }));
        QVERIFY(asked->failedWithType<CancellationError>());
        QVERIFY(!following->failure);
        QVERIFY(m_shown.isEmpty());
    }

    void aStopLeavesTheOwnSourceToItsOwner()
    {
        const auto following = follow();
        m_stop.request_stop();
        QVERIFY(following->isDone);
        QVERIFY(m_own);
    }
};

VELMORA_TEST(ReportFollowingTest)
#include "report_following_test.moc"
