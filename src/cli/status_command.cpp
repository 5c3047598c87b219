// SPDX-License-Identifier: MIT
#include "cli/commands.h"
#include "cli/deployment_table.h"
#include "cli/monitor_report.h"
#include "cli/plain_text.h"
#include "model/deployment_cache.h"
#include "monitor/deployment_list.h"
#include "platform/preferences.h"
#include "support/clock.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace velmora
{

namespace
{

/// Whether accounts are remembered. What exactly is written there is the business of their store, which
/// is not needed for this command, nor is the credential store behind it.
bool hasAccounts(const Preferences &preferences)
{
    const auto accounts = preferences.data(QStringLiteral("github.accounts"));
    return accounts && !QJsonDocument::fromJson(*accounts).array().isEmpty();
}

MonitorReport savedReport(const CommandContext &context, const std::optional<DeploymentCachePayload> &payload)
{
    MonitorReport report;
    report.applicationName = context.applicationName;
    if (!hasAccounts(*context.preferences)) {
        report.state = DeploymentMonitorState::disconnected();
        report.hint = QStringLiteral("No GitHub account is connected. Run “velmora connect” to connect one.");
        return report;
    }
    report.state = DeploymentMonitorState::stale(std::nullopt);
    if (!payload) {
        report.hint = QStringLiteral("Nothing is saved yet. Run “velmora watch” to load the deployments.");
        return report;
    }
    report.state = DeploymentMonitorState::stale(payload->savedAt);
    report.lastRefreshedAt = payload->savedAt;
    report.savedAt = payload->savedAt;
    report.deployments = filteredAndSorted(payload->deployments, context.clock->now());
    return report;
}

} // namespace

QCoro::Task<ExitCode> runStatus(CommandContext context, CommandLine line)
{
    const auto payload = co_await context.cache->load();
    const MonitorReport report = savedReport(context, payload);
    if (line.isJSON) {
        context.out->write(jsonLine(report, ReportOrigin::Saved) + '\n');
        co_return ExitCode::Done;
    }
    const TableStyle style{context.out->size().width(), 0, context.out->isColoured()};
    const QStringList lines = renderReport(report, {}, context.clock->now(), style);
    for (const QString &text : lines)
        context.out->writeRawLine(text);
    co_return ExitCode::Done;
}

} // namespace velmora
