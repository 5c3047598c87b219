// SPDX-License-Identifier: MIT
#include "cli/status_line.h"

#include "cli/plain_text.h"
#include "cli/printed_report.h"
#include "presentation/deployment_sections.h"
#include "presentation/status_text.h"
#include "support/json_coding.h"

#include <QDateTime>

namespace velmora
{

namespace
{

constexpr qsizetype kMostInTooltip = 12;

/// The keys of Waybar's JSON input.
struct WaybarLine {
    QString text;
    QString alternative;
    QString tooltip;
    QString styleClass;
};

/// The number of deployments of each kind.
struct Counts {
    qsizetype active = 0;
    qsizetype failed = 0;
    qsizetype succeeded = 0;
    qsizetype total = 0;
};

Counts countsOf(const QList<DeploymentSnapshot> &deployments)
{
    Counts counts;
    counts.total = deployments.size();
    for (const auto &deployment : deployments) {
        counts.active += isActive(deployment.state) ? 1 : 0;
        counts.failed += isFailure(deployment.state) ? 1 : 0;
        counts.succeeded += deployment.state == DeploymentState::Success ? 1 : 0;
    }
    return counts;
}

/// One word for the status, from which a bar can derive a colour.
QString stateWord(const MonitorReport &report)
{
    switch (report.state.state) {
    case DeploymentMonitorState::Case::Loading:
        return QStringLiteral("loading");
    case DeploymentMonitorState::Case::Stale:
        return QStringLiteral("stale");
    case DeploymentMonitorState::Case::RateLimited:
        return QStringLiteral("paused");
    case DeploymentMonitorState::Case::Disconnected:
        return QStringLiteral("disconnected");
    case DeploymentMonitorState::Case::Ready:
        break;
    }
    const Counts counts = countsOf(report.deployments);
    if (counts.active > 0)
        return QStringLiteral("active");
    return counts.failed > 0 ? QStringLiteral("failed") : QStringLiteral("ok");
}

QString updateTime(const MonitorReport &report)
{
    if (!report.lastRefreshedAt)
        return QStringLiteral("never");
    const auto sinceEpoch = std::chrono::floor<std::chrono::milliseconds>(report.lastRefreshedAt->time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(sinceEpoch.count()).toString(QStringLiteral("HH:mm"));
}

std::optional<QString> valueOf(const QString &placeholder, const MonitorReport &report)
{
    const Counts counts = countsOf(report.deployments);
    if (placeholder == QLatin1String("active"))
        return QString::number(counts.active);
    if (placeholder == QLatin1String("failed"))
        return QString::number(counts.failed);
    if (placeholder == QLatin1String("succeeded"))
        return QString::number(counts.succeeded);
    if (placeholder == QLatin1String("total"))
        return QString::number(counts.total);
    if (placeholder == QLatin1String("state"))
        return stateWord(report);
    if (placeholder == QLatin1String("title"))
        return titleOf(report);
    if (placeholder == QLatin1String("updated"))
        return updateTime(report);
    return std::nullopt;
}

/// A template with its placeholders replaced by values of a report.
struct Filled {
    QString text;
    QString error; ///< what is wrong with the template; empty if nothing is
    int placeholders = 0;
};

Filled fill(const QString &format, const MonitorReport &report)
{
    Filled filled;
    for (qsizetype at = 0; at < format.size(); ++at) {
        const QChar letter = format.at(at);
        if (letter != QLatin1Char('{') && letter != QLatin1Char('}')) {
            filled.text += letter;
            continue;
        }
        if (at + 1 < format.size() && format.at(at + 1) == letter) {
            filled.text += letter;
            ++at;
            continue;
        }
        const qsizetype end = format.indexOf(QLatin1Char('}'), at);
        if (letter == QLatin1Char('}') || end < 0) {
            filled.error = QStringLiteral("A single %1 is not allowed: write it twice.").arg(letter);
            return filled;
        }
        const QString placeholder = format.mid(at + 1, end - at - 1);
        const auto value = valueOf(placeholder, report);
        if (!value) {
            filled.error = QStringLiteral("There is no {%1}. There is: {active}, {failed}, {succeeded}, {total}, "
                                          "{state}, {title} and {updated}.")
                               .arg(placeholder);
            return filled;
        }
        filled.text += *value;
        ++filled.placeholders;
        at = end;
    }
    return filled;
}

/// The status, and a line for each of the first deployments.
QString tooltipOf(const MonitorReport &report)
{
    QStringList lines{statusText(report.state, report.deployments)};
    if (!report.hint.isEmpty())
        lines.append(report.hint);
    qsizetype left = kMostInTooltip;
    const auto sections = deploymentSections(report.deployments);
    for (const auto &section : sections) {
        if (left <= 0)
            break;
        lines.append(QStringLiteral("%1: %2").arg(section.title).arg(section.deployments.size()));
        for (const auto &deployment : section.deployments) {
            if (left-- <= 0)
                break;
            lines.append(QStringLiteral("  %1 · %2").arg(deployment.repositoryName, deployment.environment));
        }
    }
    for (QString &line : lines)
        line = harmless(line).toHtmlEscaped();
    return lines.join(QLatin1Char('\n'));
}

WaybarLine waybarLine(const MonitorReport &report)
{
    const Counts counts = countsOf(report.deployments);
    const qsizetype count = counts.active > 0 ? counts.active : counts.failed;
    WaybarLine line;
    line.text = count > 0 ? QString::number(count) : QString();
    line.alternative = stateWord(report);
    line.tooltip = tooltipOf(report);
    line.styleClass = line.alternative;
    return line;
}

} // namespace

template <>
struct JSONTable<WaybarLine> {
    using Record = WaybarLine;
    static constexpr auto fields
        = std::tuple{json::required("text", &Record::text), json::required("alt", &Record::alternative),
            json::required("tooltip", &Record::tooltip), json::required("class", &Record::styleClass)};
};

StatusLine::Parsed StatusLine::parse(const QString &format)
{
    Parsed parsed;
    if (format == QLatin1String("waybar")) {
        parsed.line = StatusLine();
        return parsed;
    }
    const Filled filled = fill(format, MonitorReport());
    parsed.error = filled.error;
    if (filled.error.isEmpty() && filled.placeholders == 0)
        parsed.error
            = QStringLiteral("“%1” is neither waybar nor a template with a placeholder such as {active}.").arg(format);
    if (parsed.error.isEmpty()) {
        parsed.line = StatusLine();
        parsed.line->m_template = format;
    }
    return parsed;
}

QByteArray StatusLine::lineOf(const MonitorReport &report) const
{
    if (m_template.isEmpty())
        return harmlessJSON(encodeJSON(waybarLine(report)));
    return harmless(fill(m_template, report).text).toUtf8();
}

} // namespace velmora
