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

/// Every name that has a picture, in alphabetical order.
[[nodiscard]] QStringList symbolNames();

/// Paints the symbol into the largest square in the middle of `frame`, in one colour, turned clockwise by `degrees`.
/// Sharp at the ratio of the painter's device. Pictures are drawn once for each name, size, colour and turn and kept
/// in Qt's cache of pixmaps, which is bounded. An unknown name paints nothing.
void paintSymbol(QPainter *painter, QStringView name, const QRectF &frame, const QColor &colour, int degrees = 0);

/// An icon in the text colour of the application's palette as it is when the icon is drawn, greyed where disabled. Null
/// for an unknown name.
[[nodiscard]] QIcon symbolIcon(QStringView name);

} // namespace velmora
