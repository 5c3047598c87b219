// SPDX-License-Identifier: MIT
#include "cli/printed_report.h"

#include "cli/plain_text.h"
#include "model/deployment_snapshot_coding.h"
#include "monitor/deployment_monitor_state.h"

namespace velmora
{

// Its table is in control.
extern template QByteArray encodeJSON(const DeploymentNotification &);

namespace
{

/// A report with the keys that other programs know.
struct PrintedReport : MonitorReport {
};

DeploymentMonitorPresentation shown(const MonitorReport &report)
{
    return presentation(report.state, report.deployments);
}

template <typename T>
std::optional<T> presentIf(bool isPresent, T value)
{
    return isPresent ? std::optional(std::move(value)) : std::nullopt;
}

} // namespace

template <>
struct JSONTable<PrintedReport> {
    using Report = MonitorReport;
    static constexpr auto fields
        = std::tuple{json::computed("saved", [](const Report &of) { return presentIf(of.isSaved, true); }),
            json::computed("savedAt", &Report::savedAt),
            json::computed("state", [](const Report &of) { return rawValue(of.state.state); }),
            json::computed("title", &titleOf),
            json::computed("symbol", [](const Report &of) { return shown(of).symbol(); }),
            json::computed("lastRefreshedAt", &Report::lastRefreshedAt),
            json::computed("resumeAt", [](const Report &of) { return of.state.resumeAt; }),
            json::computed("missing",
                [](const Report &of) {
                    return of.state.missing ? std::optional(rawValue(*of.state.missing)) : std::nullopt;
                }),
            json::computed("refreshIntervalSeconds", [](const Report &of) { return of.state.refreshIntervalSeconds; }),
            json::computed("message", [](const Report &of) { return presentIf(!of.message.isEmpty(), of.message); }),
            json::computed("unsaved", &Report::unsaved), json::computed("deployments", &Report::deployments)};
};

QString titleOf(const MonitorReport &report)
{
    const DeploymentMonitorPresentation presented = shown(report);
    return presented.activeCount > 0 ? presented.title() : report.applicationName;
}

QByteArray jsonLine(const MonitorReport &report)
{
    return harmlessJSON(encodeJSON(PrintedReport{report}, InstantForm::ISO8601));
}

QByteArray jsonLine(const DeploymentNotification &notification)
{
    return harmlessJSON("{\"notification\":" + encodeJSON(notification) + '}');
}

} // namespace velmora
