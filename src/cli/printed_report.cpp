// SPDX-License-Identifier: MIT
#include "cli/printed_report.h"

#include "cli/plain_text.h"
#include "monitor/presentation.h"
#include "support/json_coding.h"

namespace velmora
{

namespace
{

/// A deployment for other programs: instants are text, other than in the cache.
struct PrintedDeployment {
    QString id;
    QString repositoryNodeID;
    QString repositoryName;
    WebAddress repositoryURL;
    QString environment;
    std::optional<QString> refName;
    QString commitOID;
    std::optional<QString> creatorLogin;
    QString state;
    QString createdAt;
    QString updatedAt;
    std::optional<QString> statusDescription;
    std::optional<WebAddress> logURL;
    std::optional<WebAddress> environmentURL;
};

struct PrintedReport {
    std::optional<bool> isSaved;
    std::optional<QString> savedAt;
    QString state;
    QString title;
    QString symbol;
    std::optional<QString> lastRefreshedAt;
    std::optional<QString> resumeAt;
    std::optional<QString> missing;
    std::optional<QString> message;
    std::optional<QString> unsaved;
    QList<PrintedDeployment> deployments;
};

struct PrintedNotification {
    QString title;
    QString subtitle;
    QString body;
    WebAddress url;
    QString identifier;
};

struct PrintedNotificationLine {
    PrintedNotification notification;
};

} // namespace

template <>
struct JSONTable<PrintedDeployment> {
    using Record = PrintedDeployment;
    static constexpr auto fields = std::tuple{json::required("id", &Record::id),
        json::required("repositoryNodeID", &Record::repositoryNodeID),
        json::required("repositoryName", &Record::repositoryName),
        json::required("repositoryURL", &Record::repositoryURL), json::required("environment", &Record::environment),
        json::optional("refName", &Record::refName), json::required("commitOID", &Record::commitOID),
        json::optional("creatorLogin", &Record::creatorLogin), json::required("state", &Record::state),
        json::required("createdAt", &Record::createdAt), json::required("updatedAt", &Record::updatedAt),
        json::optional("statusDescription", &Record::statusDescription), json::optional("logURL", &Record::logURL),
        json::optional("environmentURL", &Record::environmentURL)};
};

template <>
struct JSONTable<PrintedReport> {
    using Record = PrintedReport;
    static constexpr auto fields = std::tuple{json::optional("saved", &Record::isSaved),
        json::optional("savedAt", &Record::savedAt), json::required("state", &Record::state),
        json::required("title", &Record::title), json::required("symbol", &Record::symbol),
        json::optional("lastRefreshedAt", &Record::lastRefreshedAt), json::optional("resumeAt", &Record::resumeAt),
        json::optional("missing", &Record::missing), json::optional("message", &Record::message),
        json::optional("unsaved", &Record::unsaved), json::required("deployments", &Record::deployments)};
};

template <>
struct JSONTable<PrintedNotification> {
    using Record = PrintedNotification;
    static constexpr auto fields = std::tuple{json::required("title", &Record::title),
        json::required("subtitle", &Record::subtitle), json::required("body", &Record::body),
        json::required("url", &Record::url), json::required("identifier", &Record::identifier)};
};

template <>
struct JSONTable<PrintedNotificationLine> {
    using Record = PrintedNotificationLine;
    static constexpr auto fields = std::tuple{json::required("notification", &Record::notification)};
};

namespace
{

std::optional<QString> printed(const std::optional<Instant> &instant)
{
    return instant ? std::optional(toISO8601(*instant)) : std::nullopt;
}

PrintedDeployment printed(const DeploymentSnapshot &deployment)
{
    PrintedDeployment result;
    result.id = deployment.id;
    result.repositoryNodeID = deployment.repositoryNodeID;
    result.repositoryName = deployment.repositoryName;
    result.repositoryURL = deployment.repositoryURL;
    result.environment = deployment.environment;
    result.refName = deployment.refName;
    result.commitOID = deployment.commitOID;
    result.creatorLogin = deployment.creatorLogin;
    result.state = rawValue(deployment.state);
    result.createdAt = toISO8601(deployment.createdAt);
    result.updatedAt = toISO8601(deployment.updatedAt);
    result.statusDescription = deployment.statusDescription;
    result.logURL = deployment.logURL;
    result.environmentURL = deployment.environmentURL;
    return result;
}

} // namespace

QByteArray jsonLine(const MonitorReport &report)
{
    const DeploymentMonitorPresentation shown = presentation(report.state, report.deployments);
    PrintedReport result;
    if (report.origin == ReportOrigin::Saved) {
        result.isSaved = true;
        result.savedAt = printed(report.savedAt);
    }
    result.state = rawValue(report.state.state);
    result.title = titleOf(report);
    result.symbol = shown.symbol();
    result.lastRefreshedAt = printed(report.lastRefreshedAt);
    result.resumeAt = printed(report.state.resumeAt);
    if (report.state.missing)
        result.missing = rawValue(*report.state.missing);
    if (!report.message.isEmpty())
        result.message = report.message;
    result.unsaved = report.unsaved;
    for (const auto &deployment : report.deployments)
        result.deployments.append(printed(deployment));
    return harmlessJSON(encodeJSON(result));
}

QByteArray jsonLine(const DeploymentNotification &notification)
{
    PrintedNotificationLine line;
    line.notification.title = notification.title;
    line.notification.subtitle = notification.subtitle;
    line.notification.body = notification.body;
    line.notification.url = notification.url;
    line.notification.identifier = notification.identifier;
    return harmlessJSON(encodeJSON(line));
}

} // namespace velmora
