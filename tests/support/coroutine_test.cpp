// SPDX-License-Identifier: MIT
#include "support/async_mutex.h"
#include "support/await.h"
#include "support/background.h"
#include "support/cancel_on_stop.h"
#include "support/clock.h"
#include "support/fake_clock.h"
#include "support/task_scope.h"
#include "support/test_main.h"
#include "support/with_deadline.h"

#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QThread>

#include <limits>

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

QCoro::Task<int> take(OneShot<int> shot)
{
    const int value = co_await shot;
    co_return value;
}

QCoro::Task<> pass(AsyncMutex mutex, OneShot<> gate, QList<int> *order, int number)
{
    const auto lock = co_await mutex.lock();
    order->append(number);
    co_await gate;
}

QCoro::Task<> sleepAndNote(Clock *clock, std::stop_token stop, bool *wasCancelled)
{
    try {
        co_await clock->sleep(1h, stop);
    } catch (const CancellationError &) {
        *wasCancelled = true;
    }
}

QCoro::Task<> sleepAndAppend(Clock *clock, std::chrono::milliseconds duration, QList<int> *order, int number)
{
    co_await clock->sleep(duration, std::stop_token());
    order->append(number);
}

void enableWarnings(QLoggingCategory *category)
{
    category->setEnabled(QtWarningMsg, true);
}

QCoro::Task<> failing(std::exception_ptr failure)
{
    std::rethrow_exception(failure);
    co_return;
}

} // namespace

class CoroutineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:

    void aValueThatIsThereAlreadyIsTakenAtOnce()
    {
        const OneShot<int> shot;
        shot.resolve(3);
        shot.resolve(4);
        shot.fail(std::make_exception_ptr(CancellationError()));
        const auto outcome = start(take(shot));
        QVERIFY(outcome->isDone);
        QCOMPARE(outcome->value, std::optional(3));
    }

    void aValueThatComesLaterResumesItsWaiterOnTheSpot()
    {
        const OneShot<int> shot;
        const auto outcome = start(take(shot));
        QVERIFY(!outcome->isDone && !shot.isSettled());
        shot.resolve(5);
        QVERIFY(outcome->isDone && shot.isSettled());
        QCOMPARE(outcome->value, std::optional(5));
    }

    void aFailureIsThrownToItsWaiter()
    {
        const OneShot<int> shot;
        const auto outcome = start(take(shot));
        shot.fail(std::make_exception_ptr(FileError(QStringLiteral("broken"))));
        shot.resolve(1);
        QCOMPARE(outcome->description(), QStringLiteral("broken"));
        QVERIFY(outcome->failedWithType<FileError>());
    }

    void aStopFailsWhatIsAwaitedFromTheEventLoop()
    {
        const OneShot<int> shot;
        std::stop_source source;
        const CancelOnStop<int> onStop(shot, source.get_token());
        const auto outcome = start(take(shot));
        source.request_stop();
        QVERIFY(!outcome->isDone);
        drainEvents();
        QVERIFY(outcome->failedWithType<CancellationError>());
    }

    void afterItsEndAStopChangesNothing()
    {
        const OneShot<int> shot;
        std::stop_source source;
        {
            const CancelOnStop<int> onStop(shot, source.get_token());
        }
        source.request_stop();
        drainEvents();
        QVERIFY(!shot.isSettled());
    }

    void theMutexLetsOneThroughAtATimeInTheOrderOfComing()
    {
        const AsyncMutex mutex;
        QList<int> order;
        QList<OneShot<>> gates(3);
        QList<std::shared_ptr<Outcome<void>>> runs;
        for (int i = 0; i < 3; ++i)
            runs.append(start(pass(mutex, gates.at(i), &order, i)));
        QCOMPARE(order, QList<int>({0}));
        gates.at(1).resolve();
        QCOMPARE(order, QList<int>({0}));
        gates.at(0).resolve();
        QCOMPARE(order, QList<int>({0, 1, 2}));
        QVERIFY(runs.at(1)->isDone && !runs.at(2)->isDone);
        QVERIFY(!mutex.tryLock().has_value());
        gates.at(2).resolve();
        QVERIFY(mutex.tryLock().has_value());
    }

    void anExceptionReleasesTheMutex()
    {
        const AsyncMutex mutex;
        const OneShot<> gate;
        QList<int> order;
        const auto first = start(pass(mutex, gate, &order, 0));
        const OneShot<> secondGate;
        const auto second = start(pass(mutex, secondGate, &order, 1));
        gate.fail(std::make_exception_ptr(FileError(QStringLiteral("broken"))));
        QVERIFY(first->failedWithType<FileError>());
        QCOMPARE(order, QList<int>({0, 1}));
        QVERIFY(!second->isDone);
        secondGate.resolve();
        QVERIFY(second->isDone);
    }

    void tryLockNeverWaitsAndItsLockCanBeReleasedEarly()
    {
        const AsyncMutex mutex;
        auto lock = mutex.tryLock();
        QVERIFY(lock.has_value());
        QVERIFY(!mutex.tryLock().has_value());
        lock->release();
        lock->release();
        QVERIFY(mutex.tryLock().has_value());
        AsyncMutex::Lock first = std::move(*mutex.tryLock());
        first = AsyncMutex::Lock();
        QVERIFY(mutex.tryLock().has_value());
    }

    void aStopEndsTheWaitingForTheMutexAndTheNextTakesTheTurn()
    {
        const AsyncMutex mutex;
        auto held = mutex.tryLock();
        std::stop_source source;
        const auto stopped = start(mutex.lock(source.get_token()));
        QList<int> order;
        const OneShot<> gate;
        const auto next = start(pass(mutex, gate, &order, 1));
        source.request_stop();
        drainEvents();
        QVERIFY(stopped->failedWithType<CancellationError>());
        held->release();
        QCOMPARE(order, QList<int>({1}));
        QVERIFY(start(mutex.lock(source.get_token()))->failedWithType<CancellationError>());
        gate.resolve();
        QVERIFY(next->isDone);
    }

    void aTurnThatComesRightAfterAStopGoesOnToTheNext()
    {
        const AsyncMutex mutex;
        auto held = mutex.tryLock();
        std::stop_source source;
        const auto stopped = start(mutex.lock(source.get_token()));
        source.request_stop();
        held->release();
        QVERIFY(stopped->failedWithType<CancellationError>());
        QVERIFY(mutex.tryLock().has_value());
        drainEvents();
    }

    void theEndOfAScopeStopsItsWork()
    {
        FakeClock clock;
        bool wasCancelled = false;
        {
            const TaskScope scope;
            scope.launch(sleepAndNote(&clock, scope.stopToken(), &wasCancelled), "test");
            QVERIFY(!wasCancelled);
        }
        QVERIFY(wasCancelled);
    }

    void aScopeCanBeUsedAgainAfterCancelAll()
    {
        FakeClock clock;
        TaskScope scope;
        bool wasFirstCancelled = false;
        bool wasSecondCancelled = false;
        scope.launch(sleepAndNote(&clock, scope.stopToken(), &wasFirstCancelled), "test");
        scope.cancelAll();
        QVERIFY(wasFirstCancelled);
        QVERIFY(!scope.stopToken().stop_requested());
        scope.launch(sleepAndNote(&clock, scope.stopToken(), &wasSecondCancelled), "test");
        QVERIFY(!wasSecondCancelled);
    }

    void whatIsStartedInAnswerToCancelAllIsNotStopped()
    {
        TaskScope scope;
        std::optional<std::stop_token> later;
        const auto note = [&] {
            later = scope.stopToken();
        };
        const std::stop_callback onStop(scope.stopToken(), note);
        scope.cancelAll();
        QVERIFY(later && !later->stop_requested());
    }

    void whatEscapesFromLaunchedWorkIsLoggedAndACancellationIsNot()
    {
        // Independent of the logging rules in the environment.
        const auto before = QLoggingCategory::installFilter(&enableWarnings);
        QTest::ignoreMessage(QtWarningMsg, "some work failed: broken");
        launch(failing(std::make_exception_ptr(FileError(QStringLiteral("broken")))), "some work");
        QTest::failOnWarning(QRegularExpression(QStringLiteral("other work")));
        launch(failing(std::make_exception_ptr(CancellationError())), "other work");
        QLoggingCategory::installFilter(before);
    }

    void theSystemClockTellsTheTime()
    {
        SystemClock clock;
        const auto before = std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
        const auto now = clock.now();
        QVERIFY(now >= before && now <= std::chrono::system_clock::now());
    }

    void aSleepOfTheSystemClockEnds_data()
    {
        QTest::addColumn<qint64>("milliseconds");
        QTest::newRow("short") << qint64(20);
        QTest::newRow("none") << qint64(0);
        QTest::newRow("negative") << qint64(-5);
    }

    void aSleepOfTheSystemClockEnds()
    {
        QFETCH(qint64, milliseconds);
        SystemClock clock;
        QElapsedTimer timer;
        timer.start();
        awaitValue(clock.sleep(std::chrono::milliseconds(milliseconds), {}));
        QVERIFY(timer.elapsed() >= milliseconds);
    }

    /// An early wake-up would make polling too frequent: GitHub answers it with slow_down.
    void aLongSleepOfTheSystemClockIsNotCutShort()
    {
        SystemClock clock;
        QElapsedTimer timer;
        timer.start();
        const auto lengthOf = [](int sleeper) {
            return std::chrono::milliseconds(1000 + 23 * sleeper);
        };
        // Different fractions of a second, because a timer may round to some.
        QList<decltype(start(clock.sleep({}, {})))> sleepers;
        for (int i = 0; i < 12; ++i)
            sleepers.append(start(clock.sleep(lengthOf(i), {})));
        for (int i = 0; i < sleepers.size(); ++i) {
            QVERIFY(waitUntil([&] { return sleepers[i]->isDone; }));
            QVERIFY(timer.elapsed() >= lengthOf(i).count());
        }
    }

    void aStopEndsASleepOfTheSystemClockAtOnce_data()
    {
        QTest::addColumn<qint64>("milliseconds");
        QTest::newRow("an hour") << qint64(3'600'000);
        QTest::newRow("more than a timer can do") << std::numeric_limits<qint64>::max();
    }

    void aStopEndsASleepOfTheSystemClockAtOnce()
    {
        QFETCH(qint64, milliseconds);
        SystemClock clock;
        std::stop_source source;
        const auto outcome = start(clock.sleep(std::chrono::milliseconds(milliseconds), source.get_token()));
        QVERIFY(!outcome->isDone);
        source.request_stop();
        QVERIFY(waitUntil([&] { return outcome->isDone; }));
        QVERIFY(outcome->failedWithType<CancellationError>());
        QVERIFY(start(clock.sleep(1h, source.get_token()))->failedWithType<CancellationError>());
    }

    void theFakeClockWakesSleepersInTheOrderOfTheirEnds()
    {
        FakeClock clock;
        const Instant begin = clock.now();
        QList<int> order;
        launch(sleepAndAppend(&clock, 30s, &order, 30), "test");
        launch(sleepAndAppend(&clock, 10s, &order, 10), "test");
        QCOMPARE(clock.sleeperCount(), 2);
        clock.advance(9s);
        QVERIFY(order.isEmpty());
        clock.advance(1s);
        QCOMPARE(order, QList<int>({10}));
        QVERIFY(clock.advanceToNextWake());
        QCOMPARE(order, QList<int>({10, 30}));
        QVERIFY(clock.now() == begin + 30s);
        QVERIFY(!clock.advanceToNextWake());
        QCOMPARE(clock.requestedSleeps, QList<std::chrono::milliseconds>({30s, 10s}));
    }

    void whatArrivesBeforeTheDeadlineIsTaken()
    {
        const OneShot<int> shot;
        const auto outcome = start(withDeadline(shot, 10s));
        QVERIFY(!outcome->isDone);
        shot.resolve(3);
        QVERIFY(outcome->isDone);
        QVERIFY(*outcome->value == std::optional(3));
        const OneShot<> done;
        done.resolve();
        QVERIFY(awaitValue(withDeadline(done, QDeadlineTimer(QDeadlineTimer::Forever))));
    }

    void whatDoesNotArriveBeforeTheDeadlineIsNotWaitedFor()
    {
        const OneShot<int> shot;
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!awaitValue(withDeadline(shot, 50ms)));
        QVERIFY(timer.elapsed() >= 50);
        QVERIFY(shot.isSettled());
        const OneShot<> silent;
        QVERIFY(!awaitValue(withDeadline(silent, QDeadlineTimer())));
    }

    void aFailureBeforeTheDeadlineIsThrown()
    {
        const OneShot<int> shot;
        const auto outcome = start(withDeadline(shot, 10s));
        shot.fail(std::make_exception_ptr(FileError(QStringLiteral("broken"))));
        QCOMPARE(outcome->description(), QStringLiteral("broken"));
    }

    void aStopEndsTheWaitForADeadlineAtOnce()
    {
        const OneShot<int> shot;
        std::stop_source source;
        const auto outcome = start(withDeadline(shot, 1h, source.get_token()));
        source.request_stop();
        drainEvents();
        QVERIFY(outcome->failedWithType<CancellationError>());
        QVERIFY(shot.isSettled());
    }

    void workInTheBackgroundReturnsItsValueOnThisThread()
    {
        QThreadPool pool;
        QThread *workThread = nullptr;
        auto work = [&workThread] {
            workThread = QThread::currentThread();
            return QStringLiteral("done");
        };
        QCOMPARE(awaitValue(runInBackground(&pool, std::move(work))), QStringLiteral("done"));
        QVERIFY(workThread != nullptr && workThread != QThread::currentThread());
        bool hasRun = false;
        auto nothing = [&hasRun] {
            hasRun = true;
        };
        awaitValue(runInBackground(&pool, std::move(nothing)));
        QVERIFY(hasRun);
    }

    void workInTheBackgroundThrowsOnThisThread()
    {
        QThreadPool pool;
        auto work = []() -> int {
            throw FileError(QStringLiteral("broken"));
        };
        QCOMPARE(await(runInBackground(&pool, std::move(work))).description(), QStringLiteral("broken"));
    }

    void workInTheBackgroundEndsWithNobodyWaiting()
    {
        const auto alive = std::make_shared<int>(1);
        const std::weak_ptr<int> watch = alive;
        {
            QThreadPool pool;
            auto work = [alive] {
                return *alive;
            };
            const auto dropped = runInBackground(&pool, std::move(work));
        }
        drainEvents();
        QCOMPARE(watch.use_count(), 1);
    }
};

VELMORA_TEST(CoroutineTest)
#include "coroutine_test.moc"
