// SPDX-License-Identifier: MIT
#pragma once

#include <QMargins>
#include <QPalette>
#include <QRect>

class QPainter;

namespace velmora
{

/// The edge of a window around which the desktop draws no frame: a thin line and, where the desktop blends windows,
/// rounded corners and a soft shadow, as the desktop's own pop-ups have. The shadow is a part of the window.
class WindowEdge
{
public:
    /// No edge: the desktop draws the frame.
    WindowEdge() = default;
    /// A line with square corners.
    [[nodiscard]] static WindowEdge line();
    /// With corners of this radius and a shadow. The window has to be translucent.
    [[nodiscard]] static WindowEdge soft(int radius);
    /// What this desktop can show, with corners like its own. Where a compositor comes or goes, this changes.
    [[nodiscard]] static WindowEdge ofDesktop();

    [[nodiscard]] bool isSoft() const { return m_radius > 0; }
    /// The shadow.
    [[nodiscard]] QMargins shadow() const { return m_shadow; }
    /// All that the content stays clear of: the shadow and the line.
    [[nodiscard]] QMargins margins() const;
    /// How far a window beside a panel stays from it, and from the end of the screen: a shadow needs room to be seen.
    [[nodiscard]] int gap() const;

    /// Draws the edge of a window of this size, and its ground inside if the edge is soft. Of the area to be painted,
    /// which the painter is clipped to, it draws no more than needed.
    void paint(QPainter *painter, const QRect &window, const QRect &area, const QPalette &palette) const;

private:
    int m_line = 0;
    int m_radius = 0; ///< greater than 0: soft
    QMargins m_shadow;
};

} // namespace velmora
