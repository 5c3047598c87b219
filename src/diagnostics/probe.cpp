// SPDX-License-Identifier: MIT
#include "diagnostics/probe.h"

#include "accounts/credential_store_error.h"
#include "dbus/bus_error.h"
#include "github/github_client_error.h"
#include "support/task_scope.h"
#include "support/with_deadline.h"

#include <QStringList>

#include <cmath>
#include <vector>

namespace velmora
{

namespace
{

QCoro::Task<QList<Finding>> asLine(QString label, QCoro::Task<QString> answer)
{
    const QString text = co_await answer;
    const QList<Finding> findings{Finding{label, text}};
    co_return findings;
}

QCoro::Task<QList<Finding>> run(Probe probe, QDeadlineTimer deadline, std::stop_token stop)
{
    const std::chrono::milliseconds patience(deadline.remainingTime());
    // Its destructor stops a probe that is still open.
    const TaskScope scope;
    QString text;
    try {
        const auto answer = co_await withDeadline(probe.ask(scope.stopToken()), deadline, stop);
        if (answer)
            co_return QList<Finding>(*answer);
        text = noAnswerText(patience);
    } catch (...) {
        throwIfStopped(stop);
        text = failureText(std::current_exception());
    }
    const QList<Finding> findings{Finding{probe.label, text}};
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
    std::vector<QCoro::Task<QList<Finding>>> answers;
    for (const Probe &probe : probes)
        answers.push_back(run(probe, deadline, stop));
    QList<Finding> findings;
    for (auto &answer : answers) {
        const QList<Finding> found = co_await answer;
        findings += found;
    }
    co_return findings;
}

QString noAnswerText(std::chrono::milliseconds patience)
{
    const double tenths = std::round(std::chrono::duration<double, std::deci>(patience).count());
    return QStringLiteral("no answer within %1 s").arg(tenths / 10);
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
