// SPDX-License-Identifier: MIT
#include "ui/controls/two_line_row.h"

#include "ui/controls/text_label.h"

#include <QHelpEvent>
#include <QPainter>
#include <QTextDocument>
#include <QToolTip>

namespace velmora
{

namespace
{

constexpr int kPadding = 3; ///< above and below the text
constexpr int kInset = 2; ///< above and below the row
constexpr int kSide = 8; ///< before the text and after the control
constexpr int kGap = 12;
constexpr qreal kCorner = 6;

QFont nameFont(const QStyleOptionViewItem &option)
{
    return styledFont(option.font, TextSize::Body, QFont::Medium);
}

QFont detailsFont(const QStyleOptionViewItem &option)
{
    return styledFont(option.font, TextSize::Caption);
}

void paintText(QPainter *painter, const QStyleOptionViewItem &option, const QRect &frame, const QString &text,
    Qt::TextElideMode elision)
{
    const auto start = QStyle::visualAlignment(option.direction, Qt::AlignLeft | Qt::AlignVCenter);
    painter->drawText(frame, static_cast<int>(start) | Qt::TextSingleLine,
        painter->fontMetrics().elidedText(text, elision, frame.width()));
}

} // namespace

TwoLineRow::TwoLineRow(const QStyleOptionViewItem &option, const QSize &control)
    : m_option(option)
{
    const QRect content = option.rect.adjusted(kSide, kInset + kPadding, -kSide, -kInset - kPadding);
    const int width = content.width() - control.width() - kGap;
    const int nameHeight = QFontMetrics(nameFont(option)).height();
    const int detailsHeight = QFontMetrics(detailsFont(option)).height();
    const int top = content.top() + (content.height() - nameHeight - detailsHeight) / 2;
    m_name = QRect(content.left(), top, width, nameHeight);
    m_details = QRect(content.left(), top + nameHeight, width, detailsHeight);
    m_control = QStyle::alignedRect(Qt::LeftToRight, Qt::AlignRight | Qt::AlignVCenter, control, content);
    for (QRect *part : {&m_name, &m_details, &m_control})
        *part = QStyle::visualRect(option.direction, option.rect, *part);
}

QSize TwoLineRow::size(const QStyleOptionViewItem &option, const QSize &control)
{
    const int text = QFontMetrics(nameFont(option)).height() + QFontMetrics(detailsFont(option)).height();
    return {control.width() + kGap + 2 * kSide, std::max(text, control.height()) + 2 * (kPadding + kInset)};
}

void TwoLineRow::paint(QPainter *painter, const QString &name, const QString &details) const
{
    if (m_option.state.testFlag(QStyle::State_MouseOver) || m_option.state.testFlag(QStyle::State_HasFocus)) {
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        painter->setBrush(hoverColour(m_option.palette));
        painter->drawRoundedRect(m_option.rect.adjusted(0, kInset / 2, 0, -kInset / 2), kCorner, kCorner);
    }
    painter->setFont(nameFont(m_option));
    painter->setPen(toneColour(Tone::Primary, m_option.palette));
    paintText(painter, m_option, m_name, name, Qt::ElideMiddle);
    painter->setFont(detailsFont(m_option));
    painter->setPen(toneColour(Tone::Secondary, m_option.palette));
    paintText(painter, m_option, m_details, details, Qt::ElideRight);
}

void TwoLineRow::showToolTip(const QHelpEvent &event, QWidget *view, const QString &name) const
{
    const bool isCut = QFontMetrics(nameFont(m_option)).horizontalAdvance(name) > m_name.width();
    showPlainToolTip(event, view, isCut ? name : QString());
}

void showPlainToolTip(const QHelpEvent &event, QWidget *view, const QString &text)
{
    QToolTip::showText(
        event.globalPos(), text.isEmpty() ? QString() : Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal), view);
}

} // namespace velmora
