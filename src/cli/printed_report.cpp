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

/// A deployment at the time of printing.
struct PrintedDeployment : DeploymentSnapshot {
    Instant now;
    FailureMark mark;
};

/// A report with the keys that other programs know.
struct PrintedReport : MonitorReport {
    Instant now;
};

struct PrintedFailures : FailuresAnswer {
    Instant now;
};

struct PrintedMuting : MutingAnswer {
};

struct PrintedPause : PauseAnswer {
};

/// How long the deployment has been under way; nothing if it is not.
std::optional<qint64> elapsedSeconds(const PrintedDeployment &deployment)
{
    const auto elapsed = std::chrono::floor<std::chrono::seconds>(deployment.now - deployment.createdAt);
    return isActive(deployment.state) ? std::optional<qint64>(std::max<qint64>(0, elapsed.count())) : std::nullopt;
}

std::optional<QString> mendedBy(const PrintedDeployment &deployment)
{
    const std::optional<Mending> &mending = deployment.mark.mending;
    return mending ? std::optional(mending->by) : std::nullopt;
}

std::optional<Instant> mendedAt(const PrintedDeployment &deployment)
{
    const std::optional<Mending> &mending = deployment.mark.mending;
    return mending ? std::optional(mending->at) : std::nullopt;
}

/// Written only where it is.
std::optional<bool> dismissed(const PrintedDeployment &deployment)
{
    return deployment.mark.isDismissed ? std::optional(true) : std::nullopt;
}

/// Written only where it does not.
std::optional<bool> counted(const PrintedDeployment &deployment)
{
    return deployment.mark.isCounted ? std::nullopt : std::optional(false);
}

template <typename Answer>
QList<PrintedDeployment> printedDeployments(const Answer &answer)
{
    QList<PrintedDeployment> printed;
    for (const DeploymentSnapshot &deployment : answer.deployments)
        printed.append({deployment, answer.now, answer.marks.value(deployment.id)});
    return printed;
}

DeploymentMonitorPresentation shown(const MonitorReport &report)
{
    return presentation(report.state, report.deployments, report.marks);
}

template <typename T>
std::optional<T> presentIf(bool isPresent, T value)
{
    return isPresent ? std::optional(std::move(value)) : std::nullopt;
}

} // namespace

template <>
struct JSONTable<PrintedDeployment> {
    static constexpr auto saved
        = std::apply([](auto... field) { return std::tuple{json::computed(field.key, field.member)...}; },
            JSONTable<DeploymentSnapshot>::fields);
    static constexpr auto fields = std::tuple_cat(saved,
        std::tuple{json::computed("elapsedSeconds", &elapsedSeconds), json::computed("mendedBy", &mendedBy),
            json::computed("mendedAt", &mendedAt), json::computed("dismissed", &dismissed),
            json::computed("counted", &counted)});
};

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
            json::computed("paused", [](const Report &of) { return presentIf(of.isPaused, true); }),
            json::computed("pausedUntil", &Report::pausedUntil),
            json::computed("message", [](const Report &of) { return presentIf(!of.message.isEmpty(), of.message); }),
            json::computed("unsaved", &Report::unsaved),
            json::computed(
                "hidden", [](const Report &of) { return presentIf<qint64>(!of.hidden.isEmpty(), of.hidden.size()); }),
            json::computed("deployments", &printedDeployments<PrintedReport>)};
};

template <>
struct JSONTable<PrintedFailures> {
    static constexpr auto fields = std::tuple{json::computed("ignoresMended", &FailuresAnswer::ignoresMended),
        json::computed("deployments", &printedDeployments<PrintedFailures>)};
};

template <>
struct JSONTable<PrintedMuting> {
    static constexpr auto fields = std::tuple{json::computed("repository", &MutingAnswer::repository),
        json::computed("muted", &MutingAnswer::isMuted), json::computed("mutedUntil", &MutingAnswer::mutedUntil)};
};

template <>
struct JSONTable<PrintedPause> {
    static constexpr auto fields = std::tuple{
        json::computed("paused", &PauseAnswer::isPaused), json::computed("pausedUntil", &PauseAnswer::pausedUntil)};
};

QString titleOf(const MonitorReport &report)
{
    const DeploymentMonitorPresentation presented = shown(report);
    return presented.activeCount > 0 ? presented.title() : report.applicationName;
}

QByteArray jsonLine(const MonitorReport &report, Instant now)
{
    return harmlessJSON(encodeJSON(PrintedReport{report, now}, InstantForm::ISO8601));
}

QByteArray jsonLine(const DeploymentSnapshot &deployment, Instant now, const FailureMark &mark)
{
    return harmlessJSON(encodeJSON(PrintedDeployment{deployment, now, mark}, InstantForm::ISO8601));
}

QByteArray jsonLine(const FailuresAnswer &answer, Instant now)
{
    return harmlessJSON(encodeJSON(PrintedFailures{answer, now}, InstantForm::ISO8601));
}

QByteArray jsonLine(const MutingAnswer &answer)
{
    return harmlessJSON(encodeJSON(PrintedMuting{answer}, InstantForm::ISO8601));
}

QByteArray jsonLine(const PauseAnswer &answer)
{
    return harmlessJSON(encodeJSON(PrintedPause{answer}, InstantForm::ISO8601));
}

QByteArray jsonLine(const DeploymentNotification &notification)
{
    return harmlessJSON("{\"notification\":" + encodeJSON(notification) + '}');
}

} // namespace velmora
