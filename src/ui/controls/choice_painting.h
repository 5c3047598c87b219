// SPDX-License-Identifier: MIT
#pragma once

#include <QFont>
#include <QPalette>
#include <QRect>
#include <QStringList>

class QPainter;

namespace velmora
{

/// The look of one choice among a few, all of which are seen side by side.
struct ChoiceLook {
    QStringList names;
    int chosen = 0; ///< the place of its name
    bool hasFocus = false;
    Qt::LayoutDirection direction = Qt::LeftToRight;
};

/// The size that fits these names in this font.
[[nodiscard]] QSize choiceSize(const QFont &font, const QStringList &names);

/// Which of so many names is at the point; -1 for none.
[[nodiscard]] int choiceAt(const QRect &frame, qsizetype count, const QPoint &point, Qt::LayoutDirection direction);

/// Paints the names in fields of the same width. That of the choice is filled and its name set off, so that it is told
/// without colour.
void paintChoice(
    QPainter *painter, const QRect &frame, const QFont &font, const ChoiceLook &look, const QPalette &palette);

} // namespace velmora
