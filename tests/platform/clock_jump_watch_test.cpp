// SPDX-License-Identifier: MIT
#include "platform/clock_jump_watch.h"

#include "support/await.h"
#include "support/one_shot.h"
#include "support/test_main.h"

#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

/// A wall clock and a sleep that are independent of each other.
class ManualClock final : public Clock
{
public:
    [[nodiscard]] Instant now() const override { return wall; }
    [[nodiscard]] QCoro::Task<> sleep(std::chrono::milliseconds, std::stop_token stop) override
    {
        const OneShot<> done;
        sleepers.append(done);
        const auto interrupt = [done] {
            done.fail(std::make_exception_ptr(CancellationError()));
        };
        const std::stop_callback onStop(stop, interrupt);
        co_await done;
    }
    void wakeFirst()
    {
        const OneShot<> first = sleepers.takeFirst();
        first.resolve();
    }

    Instant wall = Instant(std::chrono::sys_days(std::chrono::year(2026) / 5 / 1));
    QList<OneShot<>> sleepers;
};

} // namespace

class ClockJumpWatchTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_clock = std::make_unique<ManualClock>();
        m_monotonic = {};
        m_watch = std::make_unique<ClockJumpWatch>(m_clock.get(), [this] { return m_monotonic; });
        m_jumps = std::make_unique<QSignalSpy>(m_watch.get(), &ClockJumpWatch::jumped);
    }

    void itTellsTheTimeOfTheClockBehindIt()
    {
        m_clock->wall += 3h;
        QCOMPARE(m_watch->now(), m_clock->wall);
    }

    void ordinarySleepsAreNoJump()
    {
        for (int i = 0; i < 100; ++i)
            sleepThrough(5s, 5s);
        QCOMPARE(m_jumps->count(), 0);
    }

    void whatTheWallClockGainsDuringASleepIsAJump_data()
    {
        QTest::addColumn<std::chrono::milliseconds>("gain");
        QTest::addColumn<int>("jumps");
        QTest::newRow("an hour") << std::chrono::milliseconds(1h) << 1;
        QTest::newRow("ten seconds") << std::chrono::milliseconds(10s) << 1;
        QTest::newRow("not quite ten seconds") << 9999ms << 0;
        QTest::newRow("set back") << std::chrono::milliseconds(-1h) << 0;
    }
    void whatTheWallClockGainsDuringASleepIsAJump()
    {
        QFETCH(std::chrono::milliseconds, gain);
        sleepThrough(5s + gain, 5s);
        QTEST(static_cast<int>(m_jumps->count()), "jumps");
        // The jump is reported once.
        sleepThrough(5s, 5s);
        QTEST(static_cast<int>(m_jumps->count()), "jumps");
    }

    void aJumpIsToldBeforeWhoeverSleptGoesOn()
    {
        const auto sleeping = start(m_watch->sleep(5s, {}));
        bool wasDone = true;
        connect(m_watch.get(), &ClockJumpWatch::jumped, this, [&] { wasDone = sleeping->isDone; });
        m_clock->wall += 1h;
        m_clock->wakeFirst();
        QVERIFY(sleeping->isDone);
        QVERIFY(!wasDone);
    }

    void twoWhoSleepAtATimeSeeOneJump()
    {
        const auto first = start(m_watch->sleep(5s, {}));
        const auto second = start(m_watch->sleep(6s, {}));
        m_clock->wall += 1h;
        m_monotonic += 5s;
        m_clock->wakeFirst();
        m_clock->wall += 1s;
        m_monotonic += 1s;
        m_clock->wakeFirst();
        QVERIFY(first->isDone && second->isDone);
        QCOMPARE(m_jumps->count(), 1);
    }

    void aStopEndsTheSleepAtOnce()
    {
        std::stop_source stop;
        const auto sleeping = start(m_watch->sleep(5s, stop.get_token()));
        stop.request_stop();
        QVERIFY(sleeping->failedWithType<CancellationError>());
        QCOMPARE(m_jumps->count(), 0);
    }

    void whoSleepsMayOutliveTheWatch()
    {
        const auto sleeping = start(m_watch->sleep(5s, {}));
        m_jumps.reset();
        m_watch.reset();
        m_clock->wall += 1h;
        m_clock->wakeFirst();
        QVERIFY(sleeping->isDone);
        QVERIFY(!sleeping->failure);
    }

    void theRealClocksDoNotJump()
    {
        SystemClock clock;
        ClockJumpWatch watch(&clock);
        const QSignalSpy jumps(&watch, &ClockJumpWatch::jumped);
        awaitValue(watch.sleep(1ms, {}));
        QCOMPARE(jumps.count(), 0);
    }

private:
    void sleepThrough(std::chrono::milliseconds wall, std::chrono::milliseconds monotonic)
    {
        const auto sleeping = start(m_watch->sleep(5s, {}));
        m_monotonic += monotonic;
        m_clock->wall += wall;
        m_clock->wakeFirst();
        QVERIFY(sleeping->isDone);
    }

    std::unique_ptr<ManualClock> m_clock;
    std::chrono::steady_clock::time_point m_monotonic;
    std::unique_ptr<ClockJumpWatch> m_watch;
    std::unique_ptr<QSignalSpy> m_jumps;
};

VELMORA_TEST(ClockJumpWatchTest)
#include "clock_jump_watch_test.moc"
