// SPDX-License-Identifier: MIT
#include "ui/deployments/deployment_section_view.h"

#include "ui/controls/text_label.h"
#include "ui/deployments/row_metrics.h"

#include <QFontMetrics>
#include <QPainter>
#include <QStyle>

namespace velmora
{

namespace
{

constexpr int kPaddingAbove = 12;
constexpr int kPaddingBelow = 4;
constexpr int kSectionEnd = 4;
/// The distance of an action's text from the edges of what reacts to a click.
constexpr int kActionPadding = 4;
constexpr qreal kCorner = 4;

int digitWidth(const QFontMetrics &metrics)
{
    int width = 0;
    for (char16_t digit = u'0'; digit <= u'9'; ++digit)
        width = std::max(width, metrics.horizontalAdvance(QChar(digit)));
    return width;
}

QString digitsOf(const DeploymentSectionView::Header &header)
{
    return header.count ? QString::number(*header.count) : QString();
}

} // namespace

DeploymentSectionView::DeploymentSectionView(const QFont &font, Qt::LayoutDirection direction)
    : m_titleFont(styledFont(font, TextSize::Caption, QFont::DemiBold))
    , m_countFont(styledFont(font, TextSize::Caption))
    , m_direction(direction)
{
}

int DeploymentSectionView::headerHeight() const
{
    return kPaddingAbove + QFontMetrics(m_titleFont).height() + kPaddingBelow;
}

int DeploymentSectionView::sectionEnd() const
{
    return kSectionEnd;
}

QRect DeploymentSectionView::lineIn(const QRect &frame)
{
    return frame.adjusted(kRowMargin, kPaddingAbove, -kRowMargin, -kPaddingBelow);
}

QRect DeploymentSectionView::actionPlace(const QRect &frame, const Header &header) const
{
    if (header.action.isEmpty())
        return {};
    const int countWidth = monospacedDigitsWidth(m_countFont, digitsOf(header));
    const int width = QFontMetrics(m_countFont).horizontalAdvance(header.action) + 2 * kActionPadding;
    const QRect line = lineIn(frame);
    const QRect place(line.right() + 1 - countWidth - kRowGap - width, line.top() - kActionPadding, width,
        line.height() + 2 * kActionPadding);
    return QStyle::visualRect(m_direction, line, place);
}

void DeploymentSectionView::paint(
    QPainter *painter, const QRect &frame, const Header &header, const QPalette &palette) const
{
    const QRect line = lineIn(frame);
    const QString digits = digitsOf(header);
    const int countWidth = monospacedDigitsWidth(m_countFont, digits);
    const QRect action = actionPlace(frame, header);
    const QRect countPlace = QStyle::visualRect(m_direction, line, line.adjusted(line.width() - countWidth, 0, 0, 0));
    const QRect titlePlace = QStyle::visualRect(
        m_direction, line, line.adjusted(0, 0, -countWidth - kRowGap - (action.isEmpty() ? 0 : action.width()), 0));

    painter->setPen(toneColour(Tone::Secondary, palette));
    painter->setFont(m_titleFont);
    painter->drawText(titlePlace,
        static_cast<int>(QStyle::visualAlignment(m_direction, Qt::AlignLeft | Qt::AlignVCenter)),
        painter->fontMetrics().elidedText(header.title, Qt::ElideRight, titlePlace.width()));
    painter->setFont(m_countFont);
    paintMonospacedDigits(painter, countPlace, digits);
    if (action.isEmpty())
        return;
    painter->setPen(toneColour(header.isActionLit || header.hasFocus ? Tone::Blue : Tone::Secondary, palette));
    painter->drawText(action, Qt::AlignCenter | Qt::TextSingleLine, header.action);
    if (!header.hasFocus)
        return;
    painter->setPen(QPen(palette.color(QPalette::Active, QPalette::Highlight), 1.5));
    painter->setBrush(Qt::NoBrush);
    painter->drawRoundedRect(QRectF(action).adjusted(0.75, 0.75, -0.75, -0.75), kCorner, kCorner);
}

int monospacedDigitsWidth(const QFont &font, const QString &digits)
{
    return digitWidth(QFontMetrics(font)) * static_cast<int>(digits.size());
}

void paintMonospacedDigits(QPainter *painter, const QRect &frame, const QString &digits)
{
    const int width = digitWidth(painter->fontMetrics());
    QRect place = frame.adjusted(frame.width() - width * static_cast<int>(digits.size()), 0, 0, 0);
    place.setWidth(width);
    for (const QChar digit : digits) {
        painter->drawText(place, Qt::AlignCenter, digit);
        place.translate(width, 0);
    }
}

} // namespace velmora
