// SPDX-License-Identifier: MIT
#include "control/shared_runs.h"

#include "support/await.h"
#include "support/cancel_on_stop.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class SharedRunsTest final : public QObject
{
    Q_OBJECT

private:
    /// A run that the test ends.
    struct Run {
        OneShot<> end;
        std::stop_token stop;
        std::function<void()> close;
    };

    QList<Run> m_begun;
    std::unique_ptr<SharedRuns> m_runs;

    QCoro::Task<> work(std::stop_token stop, std::function<void()> close)
    {
        const OneShot<> end;
        m_begun.append({end, stop, std::move(close)});
        co_await end;
    }

    [[nodiscard]] std::shared_ptr<Outcome<void>> join(const std::stop_token &stop = {})
    {
        return start(m_runs->join(stop));
    }

private Q_SLOTS:
    void init()
    {
        m_begun.clear();
        m_runs = std::make_unique<SharedRuns>([this](std::stop_token stop, std::function<void()> close) {
            return work(std::move(stop), std::move(close));
        });
    }
    void cleanup()
    {
        for (qsizetype i = 0; i < m_begun.size(); ++i)
            m_begun.at(i).end.resolve();
        drainEvents();
    }

    void callersThatComeWhileItRunsJoin()
    {
        const auto first = join();
        const auto second = join();
        const auto third = join();
        QCOMPARE(m_begun.size(), 1);
        QVERIFY(!first->isDone && !second->isDone);
        m_begun.first().end.resolve();
        QVERIFY(first->isDone && second->isDone && third->isDone);
        QVERIFY(!first->failure && !second->failure && !third->failure);
        QCOMPARE(m_begun.size(), 1);
    }

    void theNextCallerBeginsAnew()
    {
        const auto first = join();
        m_begun.first().end.resolve();
        const auto second = join();
        QCOMPARE(m_begun.size(), 2);
        QVERIFY(!second->isDone);
    }

    void afterItIsClosedOneMoreRunWaitsForAll()
    {
        const auto first = join();
        m_begun.first().close();
        const auto second = join();
        const auto third = join();
        QCOMPARE(m_begun.size(), 1);
        m_begun.first().end.resolve();
        QVERIFY(first->isDone);
        QVERIFY(!second->isDone && !third->isDone);
        QCOMPARE(m_begun.size(), 2);
        m_begun.last().end.resolve();
        QVERIFY(second->isDone && third->isDone);
        QCOMPARE(m_begun.size(), 2);
    }

    void aFailureIsEverybodys()
    {
        const auto first = join();
        const auto second = join();
        m_begun.first().end.fail(std::make_exception_ptr(std::runtime_error("no luck")));
        QCOMPARE(first->description(), QStringLiteral("no luck"));
        QCOMPARE(second->description(), QStringLiteral("no luck"));
        const auto third = join();
        QCOMPARE(m_begun.size(), 2);
    }

    void aCallerThatLeavesWaitsNoLongerAndStopsNoOther()
    {
        std::stop_source leaving;
        const auto first = join(leaving.get_token());
        const auto second = join();
        leaving.request_stop();
        QVERIFY(waitUntil([&] { return first->isDone; }));
        QVERIFY(first->failedWithType<CancellationError>());
        QVERIFY(!m_begun.first().stop.stop_requested());
        m_begun.first().end.resolve();
        QVERIFY(second->isDone && !second->failure);
    }

    void theLastCallerThatLeavesStopsTheRun()
    {
        std::stop_source leaving;
        const auto first = join(leaving.get_token());
        const auto second = join(leaving.get_token());
        leaving.request_stop();
        QVERIFY(waitUntil([&] { return first->isDone && second->isDone; }));
        QVERIFY(m_begun.first().stop.stop_requested());
    }

    void whoComesAfterThatWaitsForItsEndAndForARunOfItsOwn()
    {
        std::stop_source leaving;
        const auto first = join(leaving.get_token());
        leaving.request_stop();
        QVERIFY(waitUntil([&] { return first->isDone; }));
        const auto second = join();
        QCOMPARE(m_begun.size(), 1);
        m_begun.first().end.resolve();
        QVERIFY(!second->isDone);
        QCOMPARE(m_begun.size(), 2);
        m_begun.last().end.resolve();
        QVERIFY(second->isDone);
    }

    void aRunForWhichNobodyWaitsAnyMoreNeverBegins()
    {
        const auto first = join();
        m_begun.first().close();
        std::stop_source leaving;
        const auto second = join(leaving.get_token());
        leaving.request_stop();
        QVERIFY(waitUntil([&] { return second->isDone; }));
        m_begun.first().end.resolve();
        QVERIFY(first->isDone);
        QCOMPARE(m_begun.size(), 1);
    }

    void whoIsStoppedAlreadyBeginsNothing()
    {
        std::stop_source stopped;
        stopped.request_stop();
        QVERIFY(join(stopped.get_token())->failedWithType<CancellationError>());
        QVERIFY(m_begun.isEmpty());
    }

    void whatIsUnderWayOutlivesTheObject()
    {
        const auto first = join();
        m_runs.reset();
        m_begun.first().end.resolve();
        QVERIFY(first->isDone && !first->failure);
    }
};

VELMORA_TEST(SharedRunsTest)
#include "shared_runs_test.moc"
