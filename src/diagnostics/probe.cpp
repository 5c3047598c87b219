// SPDX-License-Identifier: MIT
#include "diagnostics/probe.h"

#include "accounts/credential_store_error.h"
#include "dbus/bus_error.h"
#include "github/github_client_error.h"
#include "support/task_scope.h"
#include "support/with_deadline.h"

#include <QStringList>

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

QCoro::Task<> ask(Probe probe, qsizetype index, std::shared_ptr<Run> run, std::stop_token stop)
{
    QList<Finding> findings;
    try {
        findings = co_await probe.ask(stop);
    } catch (...) {
        findings = {Finding{probe.label, failureText(std::current_exception())}};
    }
    run->answers[index] = findings;
    if (--run->open == 0)
        run->isOver.resolve();
}

QCoro::Task<QList<Finding>> asLine(QString label, QCoro::Task<QString> answer)
{
    const QString text = co_await answer;
    const QList<Finding> findings{Finding{label, text}};
    co_return findings;
}

} // namespace

Probe oneLine(const QString &label, std::function<QCoro::Task<QString>(std::stop_token)> ask)
{
    return Probe{label, [label, ask = std::move(ask)](std::stop_token stop) {
                     return asLine(label, ask(std::move(stop)));
                 }};
}

QStringList reportLines(const QList<FindingSection> &sections)
{
    qsizetype width = 0;
    for (const FindingSection &section : sections) {
        for (const Finding &finding : section.findings)
            width = std::max(width, finding.label.size());
    }
    QStringList lines;
    for (const FindingSection &section : sections) {
        QStringList own;
        for (const Finding &finding : section.findings) {
            if (!finding.text.isEmpty())
                own.append(QStringLiteral("  ") + finding.label.leftJustified(width) + QStringLiteral("  ")
                    + finding.text.simplified());
        }
        if (own.isEmpty())
            continue;
        if (!lines.isEmpty())
            lines.append(QString());
        lines.append(section.heading);
        lines.append(own);
    }
    return lines;
}

QCoro::Task<QList<Finding>> runProbes(QList<Probe> probes, QDeadlineTimer deadline, std::stop_token stop)
{
    throwIfStopped(stop);
    const std::chrono::milliseconds patience(deadline.remainingTime());
    const auto run = std::make_shared<Run>();
    run->answers.resize(probes.size());
    run->open = probes.size();
    // Its destructor stops the probes that are still open.
    const TaskScope scope;
    for (qsizetype i = 0; i < probes.size(); ++i)
        scope.launch(ask(probes.at(i), i, run, scope.stopToken()), "a probe");
    if (probes.isEmpty())
        run->isOver.resolve();
    co_await withDeadline(run->isOver, deadline, stop);
    QList<Finding> findings;
    for (qsizetype i = 0; i < probes.size(); ++i) {
        const QList<Finding> none{Finding{probes.at(i).label, noAnswerText(patience)}};
        findings += run->answers.at(i).value_or(none);
    }
    co_return findings;
}

QString noAnswerText(std::chrono::milliseconds patience)
{
    const double seconds = std::chrono::duration<double>(patience).count();
    return QStringLiteral("no answer within %1 s").arg(seconds, 0, 'g', 2);
}

QString failureText(const std::exception_ptr &failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const CredentialStoreError &error) {
        // The other descriptions say no more than the kind.
        const bool isQuoting = error == CredentialStoreError::keychain(CredentialStoreError::Failed);
        return isQuoting ? QStringLiteral("The keyring failed.") : error.description();
    } catch (const GitHubClientError &error) {
        return error.description();
    } catch (const BusError &error) {
        return error.description();
    } catch (const TransportError &error) {
        return error.description();
    } catch (const DecodingError &) {
        return QStringLiteral("The answer cannot be read.");
    } catch (...) {
        return QStringLiteral("A failure of another kind.");
    }
}

} // namespace velmora
