// SPDX-License-Identifier: MIT
#include "cli/deployment_table.h"

#include "cli/plain_text.h"
#include "presentation/deployment_sections.h"
#include "presentation/menu_bar_presentation.h"
#include "presentation/muting_texts.h"
#include "presentation/relative_time.h"
#include "presentation/row_presentation.h"
#include "presentation/status_text.h"

#include <QHash>

namespace velmora
{

namespace
{

// Codes of the escape sequence "select graphic rendition".
constexpr auto kBold = u"1";
constexpr auto kSecondary = u"2";
constexpr auto kRed = u"31";

const char16_t *colourOf(Tone tone)
{
    switch (tone) {
    case Tone::Orange:
        return u"33";
    case Tone::Blue:
        return u"34";
    case Tone::Green:
        return u"32";
    case Tone::Red:
        return kRed;
    default:
        return kSecondary;
    }
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
    StateIcon icon;
    bool isQuiet = false; ///< it does not count
    QString repository;
    QString environment;
    QString whole; ///< the details with the elapsed time, and what the mark says
    QString details;
    QString age; ///< the last of the details
};

/// The form of the details for which there is room.
using RowDetails = QString Row::*;

/// A section, with the rows that fit.
struct Section {
    QString title;
    qsizetype count = 0; ///< of the deployments that count
    QList<Row> rows;
};

constexpr int kIndent = 4; // two spaces, the symbol, a space
constexpr int kGap = 2;
constexpr int kLongestRef = 24;
constexpr int kNarrowest = 8;
constexpr int kReadableNames = 36; ///< the least room for repository and environment; longer details are dropped

const QString kSeparator = QStringLiteral(" · ");

Row rowOf(const DeploymentSnapshot &deployment, const FailureMark &mark, Instant now)
{
    QStringList details = revisionDetails(deployment);
    if (deployment.refName)
        details.first() = elidedMiddle(harmless(details.first()), kLongestRef);
    const QString age = relativeTime(deployment.updatedAt, now);
    details.append(age);
    QStringList whole = details + markDetails(mark, now);
    // Only active deployments need the word: in the other sections title and symbol name the state.
    if (isActive(deployment.state)) {
        details.prepend(stateWords(deployment.state));
        whole.prepend(stateAndElapsed(deployment, now));
    }
    return Row{stateIcon(deployment.state), !mark.isCounted, harmless(deployment.repositoryName),
        harmless(deployment.environment), harmless(whole.join(kSeparator)), harmless(details.join(kSeparator)), age};
}

/// The sections with as many rows as fit in `room` lines.
QList<Section> fittingSections(const MonitorReport &report, Instant now, qsizetype room)
{
    const QList<DeploymentSection> sections = deploymentSections(report.deployments, report.marks);
    const qsizetype whole = report.deployments.size() + 2 * sections.size();
    qsizetype left = whole <= room ? whole : room - 1; // keep a line for the number of hidden rows
    QList<Section> fitting;
    for (const auto &section : sections) {
        // A section needs room for a blank line, its title and one deployment.
        if (left < 3)
            break;
        Section shown{section.title, section.count, {}};
        const DeploymentList first = section.deployments.first(std::min(left - 2, section.deployments.size()));
        for (const auto &deployment : first)
            shown.rows.append(rowOf(deployment, report.marks.value(deployment->id), now));
        left -= 2 + first.size();
        fitting.append(shown);
    }
    return fitting;
}

/// The widths of the columns.
struct Columns {
    int repository = 0;
    int environment = 0;
    RowDetails details = &Row::age;

    static Columns of(const QList<Section> &sections, int width)
    {
        Columns columns{widest(sections, &Row::repository), widest(sections, &Row::environment)};
        const int names = std::min(columns.repository + columns.environment, kReadableNames);
        const int beside = width - kIndent - 2 * kGap;
        for (const RowDetails form : {&Row::details, &Row::whole}) {
            if (beside - widest(sections, form) >= names)
                columns.details = form;
        }
        const int room = std::max(2 * kNarrowest, beside - widest(sections, columns.details));
        if (columns.repository + columns.environment > room) {
            columns.environment = std::min(columns.environment, std::max(kNarrowest, room / 3));
            columns.repository = std::min(columns.repository, std::max(kNarrowest, room - columns.environment));
        }
        return columns;
    }

    static int widest(const QList<Section> &sections, QString Row::*text)
    {
        int width = 0;
        for (const Section &section : sections) {
            for (const Row &row : section.rows)
                width = std::max(width, displayWidth(row.*text));
        }
        return width;
    }
};

QString renderRow(const Row &row, const Columns &columns, const TableStyle &style)
{
    const QString gap(kGap, QLatin1Char(' '));
    return Line(style)
        .add(QStringLiteral("  "))
        .add(row.icon.sign, row.isQuiet ? kSecondary : colourOf(row.icon.tone))
        .add(QStringLiteral(" "))
        .add(fitted(row.repository, columns.repository), row.isQuiet ? kSecondary : nullptr)
        .add(gap)
        .add(fitted(row.environment, columns.environment), row.isQuiet ? kSecondary : nullptr)
        .add(gap)
        .add(row.*columns.details, kSecondary)
        .text();
}

QString ageText(const MonitorReport &report, Instant now)
{
    if (report.savedAt)
        return QStringLiteral("Saved ") + relativeTime(*report.savedAt, now);
    return updatedText(report.state.lastUpdatedAt, now);
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
                     .add(harmless(report.applicationName), kBold)
                     .add(QStringLiteral("  "))
                     .add(statusText(report.state, report.deployments))
                     .addRight(ageText(report, now), kSecondary)
                     .text());
    if (report.state.refreshIntervalSeconds)
        lines.append(Line(style).add(stretchedText(*report.state.refreshIntervalSeconds)).text());
    const QStringList messages = messagesOf(report);
    if (report.isPaused)
        lines.append(Line(style).add(pausedText(Term{now, report.pausedUntil}, now)).text());
    for (const QString &message : messages)
        lines.append(Line(style).add(harmless(message), kRed).text());
    if (!report.hint.isEmpty())
        lines.append(Line(style).add(harmless(report.hint)).text());
    for (const QString &announcement : announcements)
        lines.append(Line(style).add(QStringLiteral("* ") + harmless(announcement), kBold).text());
    return lines;
}

bool isListShown(const MonitorReport &report)
{
    return report.state.state != DeploymentMonitorState::Case::Loading || report.state.hasContent;
}

/// The sections that fit in `room` lines. If rows are left out, the last line has their number.
QStringList renderSections(const MonitorReport &report, Instant now, const TableStyle &style, qsizetype room)
{
    const QList<Section> sections = fittingSections(report, now, room);
    const Columns columns = Columns::of(sections, style.width);
    qsizetype hidden = report.deployments.size();
    QStringList lines;
    for (const Section &section : sections) {
        lines.append({QString(),
            Line(style).add(section.title, kBold).addRight(QString::number(section.count), kSecondary).text()});
        for (const Row &row : section.rows)
            lines.append(renderRow(row, columns, style));
        hidden -= section.rows.size();
    }
    if (hidden > 0)
        lines.append(Line(style).add(QStringLiteral("  … and %1 more").arg(hidden), kSecondary).text());
    return lines;
}

QString describeChange(const DeploymentSnapshot &deployment)
{
    return harmless(QStringLiteral("%1  %2  %3  %4  %5")
                        .arg(toISO8601(deployment.updatedAt), stateWords(deployment.state), deployment.repositoryName,
                            deployment.environment, revisionDetails(deployment).join(kSeparator)));
}

} // namespace

QStringList renderReport(
    const MonitorReport &report, const QStringList &announcements, Instant now, const TableStyle &style)
{
    QStringList lines = renderHead(report, announcements, now, style);
    const qsizetype below = report.hidden.isEmpty() ? 0 : 2;
    const qsizetype room
        = style.height > 0 ? style.height - lines.size() - below : std::numeric_limits<qsizetype>::max();
    if (!isListShown(report)) {
        lines.append({QString(), Line(style).add(loadingDeploymentsText()).text()});
    } else if (!report.deployments.isEmpty()) {
        lines.append(renderSections(report, now, style, room));
    } else if (report.hint.isEmpty()) {
        lines.append({QString(), Line(style).add(noDeploymentsText(), kBold).text(),
            Line(style).add(noDeploymentsExplanation()).text()});
    }
    if (!report.hidden.isEmpty())
        lines.append({QString(), Line(style).add(hiddenText(report.hidden.size()), kSecondary).text()});
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
    if (const auto interval = report.state.refreshIntervalSeconds;
        interval && interval != previous.state.refreshIntervalSeconds)
        lines.append(stretchedText(*interval));
    if (const QStringList messages = messagesOf(report); messages != messagesOf(previous))
        for (const QString &message : messages)
            lines.append(harmless(message));
    if (previous.hint != report.hint && !report.hint.isEmpty())
        lines.append(harmless(report.hint));
    QHash<QString, DeploymentState> known;
    for (const DeploymentSnapshot &deployment : previous.deployments)
        known.insert(deployment.id, deployment.state);
    for (const DeploymentSnapshot &deployment : report.deployments) {
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
