// SPDX-License-Identifier: MIT
#include "ui/controls/link_button.h"

#include "ui/controls/switch_painting.h"
#include "ui/controls/text_label.h"

#include <QPainter>
#include <QStyleOption>

namespace velmora
{

namespace
{

constexpr int kPadding = 3; ///< room for the focus ring
constexpr qreal kCorner = 4;
constexpr qreal kRingWidth = 1.5;

} // namespace

LinkButton::LinkButton(const QString &text, QWidget *parent)
    : QPushButton(text, parent)
{
    setFlat(true);
    setCursor(Qt::PointingHandCursor);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QFont LinkButton::shownFont() const
{
    return styledFont(font(), TextSize::Caption);
}

QSize LinkButton::sizeHint() const
{
    const QFontMetrics metrics(shownFont());
    return metrics.size(Qt::TextSingleLine | Qt::TextShowMnemonic, text()) + QSize(2 * kPadding, 2);
}

void LinkButton::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QStyleOption option;
    option.initFrom(this);
    const bool showsMnemonic = style()->styleHint(QStyle::SH_UnderlineShortcut, &option, this) != 0;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QFont font = shownFont();
    font.setUnderline(underMouse() || isDown());
    painter.setFont(font);
    painter.setPen(toneColour(Tone::Blue, palette()));
    painter.drawText(rect(),
        static_cast<int>(Qt::AlignCenter) | Qt::TextSingleLine
            | static_cast<int>(showsMnemonic ? Qt::TextShowMnemonic : Qt::TextHideMnemonic),
        text());
    if (!hasFocus())
        return;
    painter.setPen(QPen(focusColour(palette()), kRingWidth));
    painter.drawRoundedRect(
        QRectF(rect()).adjusted(kRingWidth / 2, kRingWidth / 2, -kRingWidth / 2, -kRingWidth / 2), kCorner, kCorner);
}

} // namespace velmora
