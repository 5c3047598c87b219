// SPDX-License-Identifier: MIT
#include "control/session_reports.h"

#include "control/control_error.h"
#include "support/await.h"
#include "support/builders.h"
#include "support/one_shot.h"
#include "support/test_main.h"

#include <QSignalSpy>
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
    void follow() override { ++follows; }

    int follows = 0;
    bool fails = false;
    bool isEnding = false;
    std::optional<OneShot<>> gate; ///< reports wait for it

private:
    QString m_name;
};

} // namespace

class SessionReportsTest final : public QObject
{
    Q_OBJECT

private:
    FakeReports m_running{QStringLiteral("running")};
    std::unique_ptr<FakeReports> m_substitute;
    std::unique_ptr<SessionReports> m_reports;
    QStringList m_calls;
    std::exception_ptr m_cannotEnter; ///< thrown by enter()
    std::optional<OneShot<>> m_entering; ///< enter() waits for it
    std::optional<OneShot<>> m_leaving; ///< leave() waits for it
    int m_followsOfSubstitute = 0; ///< of the substitute that was left last

    QCoro::Task<ReportSource *> enter()
    {
        m_calls.append(QStringLiteral("enter"));
        if (m_cannotEnter)
            std::rethrow_exception(m_cannotEnter);
        if (m_entering) {
            const OneShot<> entered = *m_entering;
            co_await entered;
        }
        m_substitute = std::make_unique<FakeReports>(QStringLiteral("substitute"));
        co_return m_substitute.get();
    }

    QCoro::Task<> leave()
    {
        m_calls.append(QStringLiteral("leave"));
        if (m_leaving) {
            const OneShot<> left = *m_leaving;
            co_await left;
        }
        m_followsOfSubstitute = m_substitute->follows;
        m_substitute.reset();
    }

    [[nodiscard]] QString reporter() { return awaitValue(m_reports->report({})).applicationName; }

private Q_SLOTS:
    void init()
    {
        m_calls.clear();
        m_cannotEnter = nullptr;
        m_entering.reset();
        m_leaving.reset();
        m_running.follows = 0;
        m_running.fails = false;
        m_running.gate.reset();
        SessionReports::Substitute substitute;
        substitute.enter = [this] {
            return enter();
        };
        substitute.leave = [this] {
            return leave();
        };
        m_reports = std::make_unique<SessionReports>(&m_running, std::move(substitute));
    }

    void cleanup() { m_reports.reset(); }

    void theRunningOneIsAskedAndNothingElseIsMade()
    {
        m_reports->setRunning(true);
        QCOMPARE(reporter(), QStringLiteral("running"));
        QVERIFY(m_calls.isEmpty());
    }

    void withoutARunningOneTheSubstituteIsAsked()
    {
        m_reports->setRunning(false);
        m_reports->setRunning(false);
        QCOMPARE(reporter(), QStringLiteral("substitute"));
        QCOMPARE(m_calls, QStringList{QStringLiteral("enter")});
    }

    void nothingIsReportedBeforeItIsKnownWhoRuns()
    {
        const auto report = start(m_reports->report({}));
        drainEvents();
        QVERIFY(!report->isDone);
        m_reports->setRunning(true);
        QVERIFY(waitUntil([&] { return report->isDone; }));
        QCOMPARE(report->value->applicationName, QStringLiteral("running"));
    }

    void theSubstituteGivesWayToOneThatAppearsAndComesBackAfterwards()
    {
        m_reports->setRunning(false);
        m_reports->follow();
        QCOMPARE(m_substitute->follows, 1);
        const QSignalSpy changed(m_reports.get(), &ReportSource::reportChanged);
        m_reports->setRunning(true);
        QCOMPARE(changed.size(), 1);
        QCOMPARE(reporter(), QStringLiteral("running"));
        QVERIFY(!m_substitute);
        QCOMPARE(m_running.follows, 1);
        m_reports->setRunning(false);
        QCOMPARE(changed.size(), 2);
        QCOMPARE(reporter(), QStringLiteral("substitute"));
        QCOMPARE(m_substitute->follows, 1);
        const QStringList calls{QStringLiteral("enter"), QStringLiteral("leave"), QStringLiteral("enter")};
        QCOMPARE(m_calls, calls);
    }

    void nobodyIsAskedWhileTheSubstituteIsEnding()
    {
        m_reports->setRunning(false);
        m_leaving.emplace();
        m_reports->setRunning(true);
        const auto report = start(m_reports->report({}));
        drainEvents();
        QVERIFY(!report->isDone);
        m_leaving->resolve();
        QVERIFY(waitUntil([&] { return report->isDone; }));
        QCOMPARE(report->value->applicationName, QStringLiteral("running"));
    }

    void oneThatGoesWhileTheSubstituteIsEndingIsNotAsked()
    {
        m_reports->setRunning(false);
        m_leaving.emplace();
        m_reports->setRunning(true);
        m_reports->setRunning(false);
        m_leaving->resolve();
        QCOMPARE(reporter(), QStringLiteral("substitute"));
    }

    void whatElseIsConnectedToThemStays()
    {
        int renamings = 0;
        connect(&m_running, &QObject::objectNameChanged, m_reports.get(), [&renamings] { ++renamings; });
        m_reports->setRunning(true);
        m_reports->setRunning(false);
        m_running.setObjectName(QStringLiteral("another name"));
        QCOMPARE(renamings, 1);
    }

    void signalsOfThePresentSourceArePassedOnAndNoOthers()
    {
        m_reports->setRunning(false);
        const QSignalSpy changed(m_reports.get(), &ReportSource::reportChanged);
        const QSignalSpy announced(m_reports.get(), &ReportSource::announced);
        Q_EMIT m_running.reportChanged();
        Q_EMIT m_running.announced({});
        QCOMPARE(changed.size(), 0);
        Q_EMIT m_substitute->reportChanged();
        Q_EMIT m_substitute->announced({});
        QCOMPARE(changed.size(), 1);
        QCOMPARE(announced.size(), 1);
    }

    void aQuestionToOneThatEndsIsAskedAgain()
    {
        m_reports->setRunning(true);
        m_running.gate.emplace();
        m_running.fails = true;
        const auto report = start(m_reports->report({}));
        m_running.gate->resolve();
        drainEvents();
        QVERIFY(!report->isDone);
        m_reports->setRunning(false);
        QVERIFY(waitUntil([&] { return report->isDone; }));
        QCOMPARE(report->value->applicationName, QStringLiteral("substitute"));
    }

    void aQuestionToASubstituteThatEndsIsAskedAgain()
    {
        m_reports->setRunning(false);
        m_substitute->gate.emplace();
        m_substitute->isEnding = true;
        const OneShot<> gate = *m_substitute->gate;
        m_leaving.emplace();
        const auto report = start(m_reports->report({}));
        m_reports->setRunning(true);
        gate.resolve();
        drainEvents();
        QVERIFY(!report->isDone);
        m_leaving->resolve();
        QVERIFY(waitUntil([&] { return report->isDone; }));
        QVERIFY(report->value);
        QCOMPARE(report->value->applicationName, QStringLiteral("running"));
    }

    void aSubstituteThatIsMadeTooLateIsLeftBeforeItBegins()
    {
        m_entering.emplace();
        m_reports->follow();
        m_reports->setRunning(false);
        m_reports->setRunning(true);
        m_entering->resolve();
        QCOMPARE(reporter(), QStringLiteral("running"));
        const QStringList calls{QStringLiteral("enter"), QStringLiteral("leave")};
        QCOMPARE(m_calls, calls);
        QCOMPARE(m_followsOfSubstitute, 0);
    }

    void oneThatRunsAndDoesNotAnswerIsAnError()
    {
        m_reports->setRunning(true);
        m_running.fails = true;
        QCOMPARE(await(m_reports->report({})).description(), QStringLiteral("no answer"));
        QVERIFY(m_calls.isEmpty());
    }

    void aSubstituteThatCannotBeMadeIsAnError()
    {
        m_cannotEnter = std::make_exception_ptr(FileError(QStringLiteral("cannot enter")));
        m_reports->setRunning(false);
        QCOMPARE(await(m_reports->report({})).description(), QStringLiteral("cannot enter"));
        m_reports->setRunning(true);
        QCOMPARE(reporter(), QStringLiteral("running"));
    }

    void evenASurpriseOfTheSubstituteIsTold()
    {
        m_cannotEnter = std::make_exception_ptr(std::runtime_error("out of luck"));
        m_reports->setRunning(false);
        QCOMPARE(await(m_reports->report({})).description(), QStringLiteral("out of luck"));
    }

    void aStopEndsTheWaiting()
    {
        std::stop_source stop;
        const auto report = start(m_reports->report(stop.get_token()));
        stop.request_stop();
        QVERIFY(waitUntil([&] { return report->isDone; }));
        QVERIFY(report->failedWithType<CancellationError>());
    }
};

VELMORA_TEST(SessionReportsTest)
#include "session_reports_test.moc"
