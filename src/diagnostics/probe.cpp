// SPDX-License-Identifier: MIT
#include "diagnostics/probe.h"

#include "support/cancel_on_stop.h"
#include "support/error.h"
#include "support/one_shot.h"
#include "support/task_scope.h"

#include <QTimer>

namespace velmora
{

namespace
{

/// The shared state of one run; probes may outlive the run.
struct Run {
    QList<std::optional<QList<Finding>>> answers;
    qsizetype open = 0;
    OneShot<> isOver;
};

QCoro::Task<> ask(Probe probe, qsizetype index, std::shared_ptr<Run> run, PrivateNames names, std::stop_token stop)
{
    QList<Finding> findings;
    try {
        findings = co_await probe.ask(stop);
    } catch (...) {
        findings = {Finding{probe.label, names.removedFrom(describe(std::current_exception()))}};
    }
    run->answers[index] = findings;
    if (--run->open == 0)
        run->isOver.resolve();
}

QString unanswered(std::chrono::milliseconds deadline)
{
    const double seconds = std::chrono::duration<double>(deadline).count();
    return QStringLiteral("no answer within %1 s").arg(seconds, 0, 'g', 2);
}

} // namespace

QCoro::Task<QList<FindingSection>> runProbes(
    QList<Probe> probes, PrivateNames names, std::chrono::milliseconds deadline, std::stop_token stop)
{
    throwIfStopped(stop);
    const auto run = std::make_shared<Run>();
    run->answers.resize(probes.size());
    run->open = probes.size();
    const CancelOnStop<> onStop(run->isOver, stop);
    QTimer timer;
    timer.setSingleShot(true);
    const auto giveUp = [run] {
        run->isOver.resolve();
    };
    QObject::connect(&timer, &QTimer::timeout, &timer, giveUp);
    timer.start(deadline);
    // Its destructor stops the probes that are still open.
    const TaskScope scope;
    for (qsizetype i = 0; i < probes.size(); ++i)
        scope.launch(ask(probes.at(i), i, run, names, scope.stopToken()), "a probe");
    if (probes.isEmpty())
        run->isOver.resolve();
    co_await run->isOver;
    QList<FindingSection> sections;
    for (qsizetype i = 0; i < probes.size(); ++i) {
        const QList<Finding> none{Finding{probes.at(i).label, unanswered(deadline)}};
        addFindings(&sections, probes.at(i).heading, run->answers.at(i).value_or(none));
    }
    co_return sections;
}

} // namespace velmora
