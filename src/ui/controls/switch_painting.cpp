// SPDX-License-Identifier: MIT
#include "ui/controls/switch_painting.h"

#include <QFontMetrics>
#include <QPainter>

#include <cmath>

namespace velmora
{

namespace
{

constexpr qreal kRing = 3; ///< the focus ring and the gap between it and the track
constexpr qreal kRingWidth = 2;
constexpr qreal kOutline = 1.5;

QColor mixed(const QColor &front, const QColor &back, qreal share)
{
    const qreal rest = 1 - share;
    const auto part = [share, rest](float one, float other) {
        return static_cast<float>(share * one + rest * other);
    };
    return QColor::fromRgbF(
        part(front.redF(), back.redF()), part(front.greenF(), back.greenF()), part(front.blueF(), back.blueF()));
}

void paintPill(QPainter *painter, const QRectF &pill)
{
    painter->drawRoundedRect(pill, pill.height() / 2, pill.height() / 2);
}

struct Colours {
    QColor fill;
    QColor outline;
    QColor knob;
};

/// Uses the active colours in every window: greyed, a switch that is on would look off.
Colours coloursOf(const SwitchLook &look, const QPalette &palette)
{
    const QColor text = palette.color(QPalette::Active, QPalette::WindowText);
    const QColor back = palette.color(QPalette::Active, QPalette::Base);
    const QColor highlight = palette.color(QPalette::Active, QPalette::Highlight);
    Colours colours;
    if (look.isOn) {
        colours.fill = look.isPressed ? mixed(highlight, text, 0.8) : highlight;
        colours.outline = colours.fill;
        colours.knob = palette.color(QPalette::Active, QPalette::HighlightedText);
    } else {
        colours.fill = mixed(text, back, look.isPressed ? 0.2 : look.isHovered ? 0.1 : 0.03);
        colours.outline = mixed(text, back, 0.58);
        colours.knob = mixed(text, back, 0.66);
    }
    if (!look.isEnabled) {
        colours.fill = mixed(colours.fill, back, 0.4);
        colours.outline = mixed(colours.outline, back, 0.4);
        colours.knob = look.isOn ? back : mixed(colours.knob, back, 0.4);
    }
    return colours;
}

} // namespace

QSize switchSize(const QFontMetrics &metrics)
{
    const int height = std::max(16, qRound(metrics.height() * 1.12));
    return QSize(qRound(height * 1.85), height) + QSize(qRound(2 * kRing), qRound(2 * kRing));
}

void paintSwitch(QPainter *painter, const QRectF &frame, const SwitchLook &look, const QPalette &palette)
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QRectF track = frame.adjusted(kRing, kRing, -kRing, -kRing);
    const Colours colours = coloursOf(look, palette);

    painter->setPen(QPen(colours.outline, kOutline));
    painter->setBrush(colours.fill);
    paintPill(painter, track.adjusted(kOutline / 2, kOutline / 2, -kOutline / 2, -kOutline / 2));

    const bool isAtRight = look.isOn == (look.direction == Qt::LeftToRight);
    const qreal radius = track.height() / 2;
    const QPointF centre(isAtRight ? track.right() - radius : track.left() + radius, track.center().y());
    const qreal knob = radius - std::round(track.height() * (look.isOn ? 0.16 : 0.24));
    painter->setPen(Qt::NoPen);
    painter->setBrush(colours.knob);
    painter->drawEllipse(centre, knob, knob);

    if (look.hasFocus) {
        painter->setPen(QPen(focusColour(palette), kRingWidth));
        painter->setBrush(Qt::NoBrush);
        paintPill(painter, frame.adjusted(kRingWidth / 2, kRingWidth / 2, -kRingWidth / 2, -kRingWidth / 2));
    }
    painter->restore();
}

QColor focusColour(const QPalette &palette)
{
    // The highlight alone would be invisible around the track of a switch that is on.
    return mixed(palette.color(QPalette::Active, QPalette::Highlight),
        palette.color(QPalette::Active, QPalette::WindowText), 0.6);
}

} // namespace velmora
