// SPDX-License-Identifier: MIT
#include "ui/window/window_shadow.h"

#include <QPainter>

#include <cmath>

namespace velmora
{

namespace
{

/// How far the shadow lies below the window.
constexpr int kDrop = 4;
/// From the edge of the shadow to where nothing is seen of it.
constexpr int kBlur = 18;
/// The radius of its corners, which the blur makes rounder than those of the window.
constexpr int kRadius = 24;
constexpr qreal kReach = kRadius + kBlur;
/// The share of black where the shadow is darkest.
constexpr qreal kDarkest = 0.36;
constexpr int kSteps = 16;

/// The shadow from the inside out, over the length of kReach: the edge of a blurred area.
QGradientStops fading()
{
    constexpr qreal kDeviation = kBlur / 2.5;
    QGradientStops stops;
    for (int step = 0; step <= kSteps; ++step) {
        const qreal place = qreal(step) / kSteps;
        const qreal beyondEdge = place * kReach - kRadius;
        const qreal share = step == kSteps ? 0 : 0.5 * std::erfc(beyondEdge / (kDeviation * std::sqrt(2.0)));
        stops.append({place, QColor::fromRgbF(0, 0, 0, static_cast<float>(kDarkest * share))});
    }
    return stops;
}

/// Fills the part of a gradient that lies on one side of the window.
void fill(QPainter *painter, const QRectF &part, QGradient gradient)
{
    static const QGradientStops kFading = fading();
    gradient.setStops(kFading);
    painter->fillRect(part, gradient);
}

void fillSide(QPainter *painter, const QRectF &part, QPointF inside, QPointF outside)
{
    fill(painter, part, QLinearGradient(inside, outside));
}

void fillCorner(QPainter *painter, QPointF centre, QPointF direction)
{
    const QRectF part(centre, centre + direction * kReach);
    fill(painter, part.normalized(), QRadialGradient(centre, kReach));
}

} // namespace

QMargins shadowMargins()
{
    return {kBlur, kBlur - kDrop, kBlur, kBlur + kDrop};
}

void paintShadow(QPainter *painter, const QRect &window)
{
    const QRectF inner = QRectF(window).translated(0, kDrop).adjusted(kRadius, kRadius, -kRadius, -kRadius);
    const QRectF outer = inner.adjusted(-kReach, -kReach, kReach, kReach);
    fillCorner(painter, inner.topLeft(), {-1, -1});
    fillCorner(painter, inner.topRight(), {1, -1});
    fillCorner(painter, inner.bottomLeft(), {-1, 1});
    fillCorner(painter, inner.bottomRight(), {1, 1});
    fillSide(
        painter, {QPointF(inner.left(), outer.top()), inner.topRight()}, inner.topLeft(), {inner.left(), outer.top()});
    fillSide(painter, {inner.bottomLeft(), QPointF(inner.right(), outer.bottom())}, inner.bottomLeft(),
        {inner.left(), outer.bottom()});
    fillSide(painter, {QPointF(outer.left(), inner.top()), inner.bottomLeft()}, inner.topLeft(),
        {outer.left(), inner.top()});
    fillSide(painter, {inner.topRight(), QPointF(outer.right(), inner.bottom())}, inner.topRight(),
        {outer.right(), inner.top()});
}

} // namespace velmora
