// SPDX-License-Identifier: MIT
#include "cli/status_line.h"

#include "cli/plain_text.h"
#include "cli/printed_report.h"
#include "presentation/deployment_sections.h"
#include "presentation/status_text.h"
#include "support/json_coding.h"

#include <QDateTime>
#include <QRegularExpression>

#include <array>

namespace velmora
{

namespace
{

constexpr qsizetype kMostInTooltip = 12;

/// A report with the keys of Waybar's JSON input.
struct WaybarLine : MonitorReport {
};

/// The number of deployments of each kind.
struct Counts {
    qsizetype active = 0;
    qsizetype failed = 0;
    qsizetype succeeded = 0;
    qsizetype total = 0;
};

Counts countsOf(const MonitorReport &report)
{
    Counts counts;
    counts.total = report.deployments.size();
    counts.failed = -uncounted(report.marks);
    for (const auto &deployment : report.deployments) {
        counts.active += isActive(deployment.state()) ? 1 : 0;
        counts.failed += isFailure(deployment.state()) ? 1 : 0;
        counts.succeeded += deployment.state() == DeploymentState::Success ? 1 : 0;
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
    const Counts counts = countsOf(report);
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

template <qsizetype Counts::*count>
QString countText(const MonitorReport &report)
{
    return QString::number(countsOf(report).*count);
}

struct Placeholder {
    QLatin1String name;
    QString (*value)(const MonitorReport &);
};

constexpr std::array kPlaceholders{Placeholder{QLatin1String("active"), &countText<&Counts::active>},
    Placeholder{QLatin1String("failed"), &countText<&Counts::failed>},
    Placeholder{QLatin1String("succeeded"), &countText<&Counts::succeeded>},
    Placeholder{QLatin1String("total"), &countText<&Counts::total>}, Placeholder{QLatin1String("state"), &stateWord},
    Placeholder{QLatin1String("title"), &titleOf}, Placeholder{QLatin1String("updated"), &updateTime}};

/// A template with its placeholders replaced by values of a report.
struct Filled {
    QString text;
    QString error; ///< what is wrong with the template; empty if nothing is
    int placeholders = 0;
};

Filled fill(const QString &format, const MonitorReport &report)
{
    static const QRegularExpression special(QStringLiteral(R"(\{\{|\}\}|\{([^}]*)\}|[{}])"));
    Filled filled;
    qsizetype done = 0;
    for (auto matches = special.globalMatch(format); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        const QString brace = match.captured().first(1);
        filled.text += format.sliced(done, match.capturedStart() - done);
        done = match.capturedEnd();
        if (match.hasCaptured(1)) {
            const auto found = std::ranges::find(kPlaceholders, match.captured(1), &Placeholder::name);
            if (found == kPlaceholders.end()) {
                filled.error = QStringLiteral("There is no {%1}. There is: {active}, {failed}, {succeeded}, {total}, "
                                              "{state}, {title} and {updated}.")
                                   .arg(match.captured(1));
                return filled;
            }
            filled.text += found->value(report);
            ++filled.placeholders;
        } else if (match.capturedLength() == 2) {
            filled.text += brace;
        } else {
            filled.error = QStringLiteral("A single %1 is not allowed: write it twice.").arg(brace);
            return filled;
        }
    }
    filled.text += format.sliced(done);
    return filled;
}

/// The status, and a line for each of the first deployments.
QString tooltipOf(const MonitorReport &report)
{
    QStringList lines{statusText(report.state, report.deployments)};
    if (!report.hint.isEmpty())
        lines.append(report.hint);
    qsizetype left = kMostInTooltip;
    const auto sections = deploymentSections(report.deployments, report.marks);
    for (const auto &section : sections) {
        if (left <= 0)
            break;
        lines.append(QStringLiteral("%1: %2").arg(section.title).arg(section.count));
        for (const DeploymentSnapshot &deployment : section.deployments) {
            if (left-- <= 0)
                break;
            lines.append(QStringLiteral("  %1 · %2").arg(deployment.repositoryName, deployment.environment));
        }
    }
    for (QString &line : lines)
        line = harmless(line).toHtmlEscaped();
    return lines.join(QLatin1Char('\n'));
}

QString mostUrgentCount(const MonitorReport &report)
{
    const Counts counts = countsOf(report);
    const qsizetype count = counts.active > 0 ? counts.active : counts.failed;
    return count > 0 ? QString::number(count) : QString();
}

} // namespace

template <>
struct JSONTable<WaybarLine> {
    static constexpr auto fields = std::tuple{json::computed("text", &mostUrgentCount),
        json::computed("alt", &stateWord), json::computed("tooltip", &tooltipOf), json::computed("class", &stateWord)};
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
        return harmlessJSON(encodeJSON(WaybarLine{report}));
    return harmless(fill(m_template, report).text).toUtf8();
}

} // namespace velmora
