// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QIcon>
#include <QRectF>
#include <QStringList>
#include <QStringView>

class QPainter;

namespace velmora
{

/// The names of all symbols, in alphabetical order.
[[nodiscard]] QStringList symbolNames();

/// Paints the symbol into the largest square in the centre of `frame`, in one colour, rotated clockwise by `degrees`.
/// Sharp at the pixel ratio of the painter's device. Each combination of name, size, colour and rotation is rendered
/// once and kept in QPixmapCache, which is bounded. An unknown name paints nothing.
void paintSymbol(QPainter *painter, QStringView name, const QRectF &frame, const QColor &colour, int degrees = 0);

/// An icon in the text colour of the application's palette at the time of painting, greyed if disabled. Null for an
/// unknown name.
[[nodiscard]] QIcon symbolIcon(QStringView name);

} // namespace velmora
