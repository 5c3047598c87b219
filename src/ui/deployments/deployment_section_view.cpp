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

constexpr int kPaddingAbove = 10;
constexpr int kPaddingBelow = 4;
constexpr int kSectionEnd = 4;

int digitWidth(const QFontMetrics &metrics)
{
    int width = 0;
    for (char16_t digit = u'0'; digit <= u'9'; ++digit)
        width = std::max(width, metrics.horizontalAdvance(QChar(digit)));
    return width;
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

void DeploymentSectionView::paint(
    QPainter *painter, const QRect &frame, const QString &title, qsizetype count, const QPalette &palette) const
{
    const QRect line = frame.adjusted(kRowMargin, kPaddingAbove, -kRowMargin, -kPaddingBelow);
    const QString digits = QString::number(count);
    const int countWidth = monospacedDigitsWidth(m_countFont, digits);
    const QRect countPlace = QStyle::visualRect(m_direction, line, line.adjusted(line.width() - countWidth, 0, 0, 0));
    const QRect titlePlace = QStyle::visualRect(m_direction, line, line.adjusted(0, 0, -countWidth - kRowGap, 0));

    painter->setPen(toneColour(Tone::Secondary, palette));
    painter->setFont(m_titleFont);
    painter->drawText(titlePlace,
        static_cast<int>(QStyle::visualAlignment(m_direction, Qt::AlignLeft | Qt::AlignVCenter)),
        painter->fontMetrics().elidedText(title, Qt::ElideRight, titlePlace.width()));
    painter->setFont(m_countFont);
    paintMonospacedDigits(painter, countPlace, digits);
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
