// SPDX-License-Identifier: MIT
#include "cli/deployment_table.h"

#include "cli/plain_text.h"
#include "presentation/deployment_sections.h"
#include "presentation/relative_time.h"
#include "presentation/status_text.h"

#include <QHash>

namespace velmora
{

namespace
{

/// Codes of the escape sequence "select graphic rendition".
namespace colour
{
constexpr auto kBold = u"1";
constexpr auto kSecondary = u"2";
constexpr auto kRed = u"31";
constexpr auto kGreen = u"32";
constexpr auto kOrange = u"33";
constexpr auto kBlue = u"34";
} // namespace colour

struct StateSign {
    QChar symbol; ///< its shape tells the states apart without colour
    const char16_t *colour;
    QString word;
};

StateSign signOf(DeploymentState state)
{
    switch (state) {
    case DeploymentState::Queued:
        return {QChar(0x25CB), colour::kOrange, QStringLiteral("queued")};
    case DeploymentState::Pending:
        return {QChar(0x25CB), colour::kOrange, QStringLiteral("pending")};
    case DeploymentState::Waiting:
        return {QChar(0x2016), colour::kOrange, QStringLiteral("waiting")};
    case DeploymentState::InProgress:
        return {QChar(0x25D0), colour::kBlue, QStringLiteral("in progress")};
    case DeploymentState::Success:
        return {QChar(0x2713), colour::kGreen, QStringLiteral("success")};
    case DeploymentState::Failure:
        return {QChar(0x2717), colour::kRed, QStringLiteral("failure")};
    case DeploymentState::Error:
        return {QChar(0x2717), colour::kRed, QStringLiteral("error")};
    case DeploymentState::Inactive:
        return {QChar(0x2013), colour::kSecondary, QStringLiteral("inactive")};
    case DeploymentState::Unknown:
        break;
    }
    return {QLatin1Char('?'), colour::kSecondary, QStringLiteral("unknown")};
}

/// A line that is being built and never exceeds its width.
class Line
{
public:
    explicit Line(const TableStyle &style)
        : m_left(style.width)
        , m_isColoured(style.isColoured)
    {
    }

    Line &add(const QString &text, const char16_t *code = nullptr)
    {
        const QString shown = elidedMiddle(text, m_left);
        m_left -= displayWidth(shown);
        if (m_isColoured && code && !shown.isEmpty())
            m_text += QStringLiteral("\x1b[%1m%2\x1b[0m").arg(QString::fromUtf16(code), shown);
        else
            m_text += shown;
        return *this;
    }

    /// Aligns the text to the right edge, if there is room.
    Line &addRight(const QString &text, const char16_t *code = nullptr)
    {
        const int gap = m_left - displayWidth(text);
        if (text.isEmpty() || gap < 1)
            return *this;
        return add(QString(gap, QLatin1Char(' '))).add(text, code);
    }

    [[nodiscard]] const QString &text() const { return m_text; }

private:
    QString m_text;
    int m_left;
    bool m_isColoured;
};

/// The texts of one row, without control characters.
struct Row {
    StateSign sign;
    QString repository;
    QString environment;
    QString details;
    QString age; ///< the last of the details
};

constexpr int kIndent = 4; // two spaces, the symbol, a space
constexpr int kGap = 2;
constexpr int kLongestRef = 24;
constexpr int kNarrowest = 8;
constexpr int kReadableNames = 36; ///< the least room for repository and environment; longer details are dropped

Row rowOf(const DeploymentSnapshot &deployment, Instant now)
{
    QStringList details = deploymentDetails(deployment, now);
    if (deployment.refName)
        details.first() = elidedMiddle(harmless(details.first()), kLongestRef);
    const StateSign sign = signOf(deployment.state);
    const QString age = details.last();
    // Only active deployments need the word: in the other sections title and symbol name the state.
    if (isActive(deployment.state))
        details.prepend(sign.word);
    return Row{sign, harmless(deployment.repositoryName), harmless(deployment.environment),
        harmless(details.join(QStringLiteral(" · "))), age};
}

/// The widths of the columns.
struct Columns {
    int repository = 0;
    int environment = 0;
    bool hasOnlyAges = false;

    static Columns of(const QList<Row> &rows, int width)
    {
        Columns columns;
        int details = 0;
        int ages = 0;
        for (const Row &row : rows) {
            columns.repository = std::max(columns.repository, displayWidth(row.repository));
            columns.environment = std::max(columns.environment, displayWidth(row.environment));
            details = std::max(details, displayWidth(row.details));
            ages = std::max(ages, displayWidth(row.age));
        }
        const int beside = width - kIndent - 2 * kGap;
        columns.hasOnlyAges = beside - details < std::min(columns.repository + columns.environment, kReadableNames);
        const int room = std::max(2 * kNarrowest, beside - (columns.hasOnlyAges ? ages : details));
        if (columns.repository + columns.environment > room) {
            columns.environment = std::min(columns.environment, std::max(kNarrowest, room / 3));
            columns.repository = std::min(columns.repository, std::max(kNarrowest, room - columns.environment));
        }
        return columns;
    }
};

QString renderRow(const Row &row, const Columns &columns, const TableStyle &style)
{
    const QString gap(kGap, QLatin1Char(' '));
    return Line(style)
        .add(QStringLiteral("  "))
        .add(row.sign.symbol, row.sign.colour)
        .add(QStringLiteral(" "))
        .add(fitted(row.repository, columns.repository))
        .add(gap)
        .add(fitted(row.environment, columns.environment))
        .add(gap)
        .add(columns.hasOnlyAges ? row.age : row.details, colour::kSecondary)
        .text();
}

QString ageText(const MonitorReport &report, Instant now)
{
    if (report.savedAt)
        return QStringLiteral("Saved ") + relativeTime(*report.savedAt, now);
    if (report.state.lastUpdatedAt)
        return QStringLiteral("Updated ") + relativeTime(*report.state.lastUpdatedAt, now);
    return QString();
}

/// The failures, one a line.
QStringList messagesOf(const MonitorReport &report)
{
    return (report.message + QLatin1Char('\n') + report.unsaved.value_or(QString()))
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QStringList renderHead(
    const MonitorReport &report, const QStringList &announcements, Instant now, const TableStyle &style)
{
    QStringList lines;
    lines.append(Line(style)
                     .add(harmless(report.applicationName), colour::kBold)
                     .add(QStringLiteral("  "))
                     .add(statusText(report.state, report.deployments))
                     .addRight(ageText(report, now), colour::kSecondary)
                     .text());
    const QStringList messages = messagesOf(report);
    for (const QString &message : messages)
        lines.append(Line(style).add(harmless(message), colour::kRed).text());
    if (!report.hint.isEmpty())
        lines.append(Line(style).add(harmless(report.hint)).text());
    for (const QString &announcement : announcements)
        lines.append(Line(style).add(QStringLiteral("* ") + harmless(announcement), colour::kBold).text());
    return lines;
}

bool isListShown(const MonitorReport &report)
{
    return report.state.state != DeploymentMonitorState::Case::Loading || report.state.hasContent;
}

/// The rows that fit in `room` lines. If rows are left out, the last line has their number.
QStringList renderSections(const MonitorReport &report, Instant now, const TableStyle &style, qsizetype room)
{
    struct Entry {
        const DeploymentSection *section; // of a section's title
        qsizetype row; // of a deployment
    };
    const QList<DeploymentSection> sections = deploymentSections(report.deployments);
    QList<Entry> entries;
    QList<Row> rows;
    const qsizetype whole = report.deployments.size() + 2 * sections.size();
    const qsizetype limit = whole <= room ? whole : room - 1; // keep a line for the number of hidden rows
    qsizetype shown = 0;
    for (const auto &section : sections) {
        // A section needs room for a blank line, its title and one deployment.
        if (entries.size() + 3 > limit)
            break;
        entries.append({nullptr, -1});
        entries.append({&section, -1});
        for (const auto &deployment : section.deployments) {
            if (entries.size() >= limit)
                break;
            entries.append({nullptr, rows.size()});
            rows.append(rowOf(deployment, now));
            ++shown;
        }
    }
    const Columns columns = Columns::of(rows, style.width);
    QStringList lines;
    for (const Entry &entry : entries) {
        if (entry.row >= 0)
            lines.append(renderRow(rows.at(entry.row), columns, style));
        else if (entry.section)
            lines.append(Line(style)
                             .add(entry.section->title, colour::kBold)
                             .addRight(QString::number(entry.section->deployments.size()), colour::kSecondary)
                             .text());
        else
            lines.append(QString());
    }
    if (const auto hidden = report.deployments.size() - shown; hidden > 0)
        lines.append(Line(style).add(QStringLiteral("  … and %1 more").arg(hidden), colour::kSecondary).text());
    return lines;
}

QString describeChange(const DeploymentSnapshot &deployment)
{
    const StateSign sign = signOf(deployment.state);
    QStringList details;
    if (deployment.refName)
        details.append(*deployment.refName);
    details.append(shortCommit(deployment));
    return harmless(QStringLiteral("%1  %2  %3  %4  %5")
                        .arg(toISO8601(deployment.updatedAt), sign.word, deployment.repositoryName,
                            deployment.environment, details.join(QStringLiteral(" · "))));
}

} // namespace

QStringList renderReport(
    const MonitorReport &report, const QStringList &announcements, Instant now, const TableStyle &style)
{
    QStringList lines = renderHead(report, announcements, now, style);
    const qsizetype room = style.height > 0 ? style.height - lines.size() : std::numeric_limits<qsizetype>::max();
    if (!isListShown(report)) {
        lines.append({QString(), Line(style).add(QStringLiteral("Loading deployments…")).text()});
    } else if (!report.deployments.isEmpty()) {
        lines.append(renderSections(report, now, style, room));
    } else if (report.hint.isEmpty()) {
        lines.append({QString(), Line(style).add(QStringLiteral("No recent deployments"), colour::kBold).text(),
            Line(style)
                .add(QStringLiteral("Active deployments and results from the last 24 hours appear here."))
                .text()});
    }
    if (style.height > 0)
        lines = lines.first(std::min<qsizetype>(lines.size(), style.height));
    return lines;
}

QStringList renderChanges(const MonitorReport &previous, const MonitorReport &report)
{
    QStringList lines;
    const QString status = statusText(report.state, report.deployments);
    if (previous.state.state != report.state.state || status != statusText(previous.state, previous.deployments)
        || previous.applicationName.isEmpty())
        lines.append(harmless(report.applicationName + QStringLiteral(": ") + status));
    if (const QStringList messages = messagesOf(report); messages != messagesOf(previous))
        for (const QString &message : messages)
            lines.append(harmless(message));
    if (previous.hint != report.hint && !report.hint.isEmpty())
        lines.append(harmless(report.hint));
    QHash<QString, DeploymentState> known;
    for (const auto &deployment : previous.deployments)
        known.insert(deployment.id, deployment.state);
    for (const auto &deployment : report.deployments) {
        const auto found = known.constFind(deployment.id);
        if (found == known.constEnd() || *found != deployment.state)
            lines.append(describeChange(deployment));
    }
    return lines;
}

QString announcementText(const DeploymentNotification &notification)
{
    QString text = notification.title;
    for (const QString &part : {notification.subtitle, notification.body}) {
        if (!part.isEmpty())
            text += QStringLiteral(" · ") + part;
    }
    return text;
}

QStringList renderColumns(const QStringList &header, const QList<QStringList> &rows)
{
    QList<QStringList> lines{header};
    for (const QStringList &row : rows) {
        QStringList cells;
        for (const QString &cell : row)
            cells.append(harmless(cell));
        lines.append(cells);
    }
    QList<int> widths(header.size(), 0);
    for (const QStringList &line : lines) {
        for (qsizetype i = 0; i < line.size(); ++i)
            widths[i] = std::max(widths.at(i), displayWidth(line.at(i)));
    }
    QStringList result;
    for (const QStringList &line : lines) {
        QString text;
        for (qsizetype i = 0; i + 1 < line.size(); ++i)
            text += fitted(line.at(i), widths.at(i)) + QStringLiteral("  ");
        result.append(text + line.last());
    }
    return result;
}

} // namespace velmora
