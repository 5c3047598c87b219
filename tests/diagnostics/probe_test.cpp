// SPDX-License-Identifier: MIT
#include "diagnostics/probe.h"

#include "support/await.h"
#include "support/error.h"
#include "support/one_shot.h"
#include "support/test_main.h"

#include <QElapsedTimer>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

QCoro::Task<QList<Finding>> answer(QString label, OneShot<QString> text)
{
    const QString told = co_await text;
    const QList<Finding> findings{Finding{label, told}};
    co_return findings;
}

Probe probe(const QString &heading, const QString &label, const OneShot<QString> &text)
{
    return Probe{heading, label, [=](const std::stop_token &) {
                     return answer(label, text);
                 }};
}

Finding line(const char *label, const char *text)
{
    return {QString::fromUtf8(label), QString::fromUtf8(text)};
}

} // namespace

class ProbeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answersStandInTheOrderOfTheQuestions()
    {
        const OneShot<QString> first;
        const OneShot<QString> second;
        const OneShot<QString> third;
        const auto run = start(runProbes({probe(QStringLiteral("A"), QStringLiteral("1"), first),
                                             probe(QStringLiteral("B"), QStringLiteral("2"), second),
                                             probe(QStringLiteral("A"), QStringLiteral("3"), third)},
            {}, 10s, {}));
        third.resolve(QStringLiteral("z"));
        second.resolve(QStringLiteral("y"));
        QVERIFY(!run->isDone);
        first.resolve(QStringLiteral("x"));
        QVERIFY(waitUntil([&] { return run->isDone; }));
        const QList<FindingSection> expected{
            {QStringLiteral("A"), {line("1", "x"), line("3", "z")}}, {QStringLiteral("B"), {line("2", "y")}}};
        QCOMPARE(*run->value, expected);
    }

    void whatFailsOrIsNotAnsweredTakesNothingFromTheOthers()
    {
        const OneShot<QString> good;
        const OneShot<QString> failing;
        const OneShot<QString> silent;
        good.resolve(QStringLiteral("x"));
        failing.fail(std::make_exception_ptr(
            TransportError(TransportError::Kind::Network, QStringLiteral("Host corp.test not found"))));
        PrivateNames names;
        names.add(QStringLiteral("corp.test"), QStringLiteral("the host"));
        const QString heading = QStringLiteral("A");
        QElapsedTimer timer;
        timer.start();
        const auto sections = awaitValue(
            runProbes({probe(heading, QStringLiteral("1"), failing), probe(heading, QStringLiteral("2"), silent),
                          probe(heading, QStringLiteral("3"), good)},
                names, 100ms, {}));
        QVERIFY(timer.elapsed() >= 90);
        const QList<FindingSection> expected{
            {heading, {line("1", "Host the host not found"), line("2", "no answer within 0.1 s"), line("3", "x")}}};
        QCOMPARE(sections, expected);
        // A late answer must do no harm.
        silent.resolve(QStringLiteral("late"));
    }

    void theEndStopsWhatNobodyWaitsForAnyMore()
    {
        std::stop_token seen;
        const OneShot<QString> silent;
        const Probe asking{QStringLiteral("A"), QStringLiteral("1"), [&](const std::stop_token &stop) {
                               seen = stop;
                               return answer(QString(), silent);
                           }};
        std::ignore = awaitValue(runProbes({asking}, {}, 10ms, {}));
        QVERIFY(seen.stop_requested());
        silent.resolve(QString());
    }

    void aStopEndsTheRun()
    {
        std::stop_source stop;
        const OneShot<QString> silent;
        const auto run = start(runProbes({probe(QString(), QString(), silent)}, {}, 10s, stop.get_token()));
        stop.request_stop();
        QVERIFY(waitUntil([&] { return run->isDone; }, 5000));
        QVERIFY(run->failedWithType<CancellationError>());
        silent.resolve(QString());
    }

    void nothingToAskIsAnsweredAtOnce() { QVERIFY(awaitValue(runProbes({}, {}, 10s, {})).isEmpty()); }
};

VELMORA_TEST(ProbeTest)
#include "probe_test.moc"
