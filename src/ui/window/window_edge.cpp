// SPDX-License-Identifier: MIT
#include "ui/window/window_edge.h"

#include "platform/current_desktops.h"
#include "platform/window_blending.h"
#include "ui/controls/tones.h"
#include "ui/window/window_shadow.h"

#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace velmora
{

namespace
{

constexpr int kLine = 1;
/// That of GNOME's own pop-ups, the only ones that stand off the panel and have all their corners round.
constexpr int kGap = 6;

/// Like the windows of the desktop's own programs.
int radiusOfDesktop()
{
    const QStringList desktops = currentDesktops();
    if (desktops.contains(QLatin1String("GNOME")))
        return 12;
    return desktops.contains(QLatin1String("KDE")) ? 5 : 8;
}

QPainterPath rounded(const QRectF &rectangle, qreal radius)
{
    QPainterPath path;
    path.addRoundedRect(rectangle, radius, radius);
    return path;
}

/// The thickest line of whole pixels that is no thicker than a point, in points.
qreal sharpLine(const QPainter &painter)
{
    const qreal scale = painter.device()->devicePixelRatioF();
    return std::max(std::floor(kLine * scale), 1.0) / scale;
}

} // namespace

WindowEdge WindowEdge::line()
{
    WindowEdge edge;
    edge.m_line = kLine;
    return edge;
}

WindowEdge WindowEdge::soft(int radius)
{
    WindowEdge edge = line();
    edge.m_radius = radius;
    edge.m_shadow = shadowMargins();
    return edge;
}

WindowEdge WindowEdge::ofDesktop()
{
    return desktopBlendsWindows() ? soft(radiusOfDesktop()) : line();
}

QMargins WindowEdge::margins() const
{
    return m_shadow + QMargins(m_line, m_line, m_line, m_line);
}

int WindowEdge::gap() const
{
    return isSoft() ? kGap : 0;
}

void WindowEdge::paint(QPainter *painter, const QRect &window, const QRect &area, const QPalette &palette) const
{
    if (m_line == 0)
        return;
    const QRect visible = window.marginsRemoved(m_shadow);
    if (!isSoft()) {
        painter->setPen(separatorColour(palette));
        painter->drawRect(visible.adjusted(0, 0, -1, -1));
        return;
    }
    const QColor ground = palette.color(QPalette::Window);
    // What scrolls and blinks lies between the corners, where there is nothing to blend.
    if (visible.adjusted(kLine, m_radius, -kLine, -m_radius).contains(area)) {
        painter->fillRect(area, ground);
        return;
    }
    paintShadow(painter, visible);
    painter->setRenderHint(QPainter::Antialiasing);
    painter->fillPath(rounded(visible, m_radius), separatorColour(palette));
    const qreal line = sharpLine(*painter);
    painter->fillPath(rounded(QRectF(visible).adjusted(line, line, -line, -line), m_radius - line), ground);
}

} // namespace velmora
