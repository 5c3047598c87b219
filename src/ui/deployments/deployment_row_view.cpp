// SPDX-License-Identifier: MIT
#include "ui/deployments/deployment_row_view.h"

#include "presentation/deployment_sections.h"
#include "presentation/row_presentation.h"
#include "ui/controls/symbols.h"
#include "ui/controls/text_label.h"
#include "ui/deployments/row_metrics.h"

#include <QFontMetrics>
#include <QPainter>
#include <QStyle>

namespace velmora
{

namespace
{

constexpr int kPadding = 8;
constexpr int kLineGap = 1;
constexpr int kLinkSide = 28;
constexpr int kLinkSymbolSide = 16;
constexpr int kCornerRadius = 6;
/// The distance of a row's highlight from the edges of the list.
constexpr int kLightMargin = 4;

void paintLight(QPainter *painter, const QRect &place, const QColor &colour)
{
    painter->setPen(Qt::NoPen);
    painter->setBrush(colour);
    painter->drawRoundedRect(place, kCornerRadius, kCornerRadius);
}

/// Elides in the middle if the text is too wide. Measures first, because elidedText() sometimes cuts a text that has
/// exactly the width.
QString fitted(const QFontMetrics &metrics, const QString &text, int width)
{
    return metrics.horizontalAdvance(text) <= width ? text : metrics.elidedText(text, Qt::ElideMiddle, width);
}

} // namespace

std::pair<int, int> sharedWidths(int available, int first, int second)
{
    if (first + second <= available)
        return {first, second};
    const int secondShare = std::min(second, std::max(available * 2 / 5, available - first));
    return {std::max(0, available - secondShare), secondShare};
}

DeploymentRowView::DeploymentRowView(const QFont &font, Qt::LayoutDirection direction)
    : m_nameFont(styledFont(font, TextSize::Body, QFont::Medium))
    , m_captionFont(styledFont(font, TextSize::Caption))
    , m_direction(direction)
{
}

int DeploymentRowView::height() const
{
    const int texts = QFontMetrics(m_nameFont).height() + kLineGap + QFontMetrics(m_captionFont).height();
    return std::max(texts, kLinkSide) + 2 * kPadding;
}

DeploymentRowView::Parts DeploymentRowView::parts(const QRect &frame, const DeploymentSnapshot &deployment) const
{
    const QRect content = frame.adjusted(kRowMargin, 0, -kRowMargin, 0);
    const bool hasLink = environmentAddress(deployment).has_value();
    const QRect link(
        content.right() + 1 - kLinkSide + kRowGap / 2, frame.center().y() - kLinkSide / 2 + 1, kLinkSide, kLinkSide);
    const int textLeft = content.left() + kIconColumn + kRowGap;
    const int textRight = hasLink ? link.left() - kRowGap / 2 : content.right() + 1;
    const QRect text(
        textLeft, frame.top() + kPadding, std::max(0, textRight - textLeft), frame.height() - 2 * kPadding);
    // The icon is aligned with the first line.
    const int lineHeight = QFontMetrics(m_nameFont).height();
    const QRect icon(content.left(), text.top() + (lineHeight - kIconSide + 1) / 2, kIconColumn, kIconSide);
    return {QStyle::visualRect(m_direction, frame, icon), QStyle::visualRect(m_direction, frame, text),
        hasLink ? QStyle::visualRect(m_direction, frame, link) : QRect()};
}

void DeploymentRowView::paint(QPainter *painter, const QRect &frame, const QRect &exposed, const Content &content,
    const State &state, const QPalette &palette) const
{
    const DeploymentSnapshot &deployment = content.deployment;
    const Parts places = parts(frame, deployment);
    painter->setRenderHint(QPainter::Antialiasing);
    paintBackground(painter, frame, places, state, palette);
    if (exposed.intersects(places.icon)) {
        const StateIcon icon = stateIcon(deployment.state);
        const int degrees = deployment.state == DeploymentState::InProgress ? state.turnedBy : 0;
        const Tone tone = content.mark.isCounted ? icon.tone : Tone::Secondary;
        paintSymbol(painter, icon.symbol, places.icon, toneColour(tone, palette), degrees);
    }
    if (exposed.intersects(places.text))
        paintTexts(painter, places.text, content, palette);
    if (exposed.intersects(places.link))
        paintLink(painter, places.link, state, palette);
}

void DeploymentRowView::paintBackground(
    QPainter *painter, const QRect &frame, const Parts &parts, const State &state, const QPalette &palette) const
{
    const QRect light = frame.adjusted(kLightMargin, 0, -kLightMargin, -1);
    if (state.isPressed)
        paintLight(painter, light, pressedColour(palette));
    else if (state.isHovered)
        paintLight(painter, light, hoverColour(palette));
    if (state.hasFocus) {
        painter->setPen(QPen(palette.color(QPalette::Active, QPalette::Highlight), 1.5));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(QRectF(light).adjusted(1, 1, -1, -1), kCornerRadius, kCornerRadius);
    }
    if (state.hasDivider && !state.hasFocus && !state.isHovered && !state.isPressed) {
        const QRect line(parts.text.left(), frame.bottom(), frame.right() + 1 - kRowMargin - parts.text.left(), 1);
        const QRect mirrored(
            frame.left() + kRowMargin, frame.bottom(), parts.text.right() - frame.left() - kRowMargin, 1);
        painter->fillRect(m_direction == Qt::LeftToRight ? line : mirrored, separatorColour(palette));
    }
}

void DeploymentRowView::paintTexts(
    QPainter *painter, const QRect &column, const Content &content, const QPalette &palette) const
{
    const DeploymentSnapshot &deployment = content.deployment;
    const QFontMetrics nameMetrics(m_nameFont);
    const QFontMetrics captionMetrics(m_captionFont);
    QString name = shownOnOneLine(deployment.repositoryName);
    QString environment = shownOnOneLine(deployment.environment);
    const auto [nameShare, environmentShare] = sharedWidths(
        column.width() - kRowGap, nameMetrics.horizontalAdvance(name), captionMetrics.horizontalAdvance(environment));
    name = fitted(nameMetrics, name, nameShare);
    environment = fitted(captionMetrics, environment, environmentShare);
    const int environmentLeft = column.left() + nameMetrics.horizontalAdvance(name) + kRowGap;

    const int textHeight = nameMetrics.height() + kLineGap + captionMetrics.height();
    const int top = column.top() + (column.height() - textHeight) / 2;
    const int baseline = top + nameMetrics.ascent();
    const int detailBaseline = top + nameMetrics.height() + kLineGap + captionMetrics.ascent();
    const auto draw = [&](int left, const QFontMetrics &metrics, int line, const QString &text) {
        const QRect place(left, line - metrics.ascent(), column.right() + 1 - left, metrics.height());
        painter->drawText(QStyle::visualRect(m_direction, column, place),
            static_cast<int>(QStyle::visualAlignment(m_direction, Qt::AlignLeft)) | Qt::TextSingleLine
                | Qt::TextDontClip,
            text);
    };

    painter->setFont(m_nameFont);
    painter->setPen(toneColour(content.mark.isCounted ? Tone::Primary : Tone::Secondary, palette));
    draw(column.left(), nameMetrics, baseline, name);
    painter->setFont(m_captionFont);
    painter->setPen(toneColour(Tone::Secondary, palette));
    draw(environmentLeft, captionMetrics, baseline, environment);
    draw(column.left(), captionMetrics, detailBaseline, detailLine(content, column.width()));
}

/// If the line is too wide, shortens the ref first: the commit and the age matter more. Beside a mark there is less
/// room, and the revision gives way to it.
QString DeploymentRowView::detailLine(const Content &content, int width) const
{
    const QString separator = QStringLiteral(" · ");
    const QFontMetrics metrics(m_captionFont);
    QStringList details = deploymentDetails(content.deployment, content.now, content.mark);
    for (QString &detail : details)
        detail = shownOnOneLine(detail);
    const qsizetype marks = markDetails(content.mark, content.now).size();
    while (marks > 0 && details.size() > marks + 1 && metrics.horizontalAdvance(details.join(separator)) > width)
        details.removeFirst();
    QString line = details.join(separator);
    if (marks == 0 && content.deployment.refName && metrics.horizontalAdvance(line) > width) {
        const QString ref = details.takeFirst();
        const QString rest = separator + details.join(separator);
        line = metrics.elidedText(ref, Qt::ElideMiddle, width - metrics.horizontalAdvance(rest)) + rest;
    }
    return fitted(metrics, line, width);
}

void DeploymentRowView::paintLink(
    QPainter *painter, const QRect &place, const State &state, const QPalette &palette) const
{
    if (state.isLinkPressed)
        paintLight(painter, place, pressedColour(palette));
    else if (state.isLinkHovered)
        paintLight(painter, place, hoverColour(palette));
    QRect symbol(0, 0, kLinkSymbolSide, kLinkSymbolSide);
    symbol.moveCenter(place.center());
    const bool isLit = state.isLinkHovered || state.isLinkPressed;
    paintSymbol(painter, u"arrow.up.right", symbol, toneColour(isLit ? Tone::Blue : Tone::Secondary, palette));
}

} // namespace velmora
