// SPDX-License-Identifier: MIT
#include "ui/controls/choice_painting.h"

#include "ui/controls/switch_painting.h"
#include "ui/controls/tones.h"

#include <QFontMetrics>
#include <QPainter>
#include <QStyle>

namespace velmora
{

namespace
{

constexpr int kNameSide = 10; ///< left and right of a name
constexpr int kNameInset = 4; ///< above and below
constexpr qreal kCorner = 5;

QFont chosenFont(QFont font)
{
    font.setWeight(QFont::DemiBold);
    return font;
}

QRect fieldAt(const QRect &frame, qsizetype count, qsizetype place, Qt::LayoutDirection direction)
{
    const int width = frame.width() / static_cast<int>(count);
    const QRect field(frame.left() + width * static_cast<int>(place), frame.top(), width, frame.height());
    return QStyle::visualRect(direction, frame, field);
}

} // namespace

QSize choiceSize(const QFont &font, const QStringList &names)
{
    const QFontMetrics metrics(chosenFont(font));
    int widest = 0;
    for (const QString &name : names)
        widest = std::max(widest, metrics.horizontalAdvance(name));
    return {(widest + 2 * kNameSide) * static_cast<int>(names.size()), metrics.height() + 2 * kNameInset};
}

int choiceAt(const QRect &frame, qsizetype count, const QPoint &point, Qt::LayoutDirection direction)
{
    for (qsizetype place = 0; place < count; ++place) {
        if (fieldAt(frame, count, place, direction).contains(point))
            return static_cast<int>(place);
    }
    return -1;
}

void paintChoice(
    QPainter *painter, const QRect &frame, const QFont &font, const ChoiceLook &look, const QPalette &palette)
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(look.hasFocus ? QPen(focusColour(palette), 2) : QPen(separatorColour(palette), 1));
    painter->setBrush(Qt::NoBrush);
    painter->drawRoundedRect(QRectF(frame).adjusted(1, 1, -1, -1), kCorner, kCorner);
    for (qsizetype place = 0; place < look.names.size(); ++place) {
        const QRect field = fieldAt(frame, look.names.size(), place, look.direction);
        const bool isChosen = place == look.chosen;
        if (isChosen) {
            painter->setPen(Qt::NoPen);
            painter->setBrush(pressedColour(palette));
            painter->drawRoundedRect(QRectF(field).adjusted(3, 3, -3, -3), kCorner - 2, kCorner - 2);
        }
        painter->setFont(isChosen ? chosenFont(font) : font);
        painter->setPen(toneColour(isChosen ? Tone::Primary : Tone::Secondary, palette));
        painter->drawText(field, Qt::AlignCenter | Qt::TextSingleLine, look.names.at(place));
    }
    painter->restore();
}

} // namespace velmora
