// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"

#include <QFont>
#include <QPalette>
#include <QRect>

#include <utility>

class QPainter;

namespace velmora
{

/// Draws one deployment: its state as an icon, repository and environment above ref, commit and age, and a link to the
/// environment where there is one.
class DeploymentRowView
{
public:
    /// What the mouse or the keyboard is doing to the row.
    struct State {
        bool isHovered = false;
        bool isPressed = false;
        bool isLinkHovered = false;
        bool isLinkPressed = false;
        bool hasFocus = false;
        bool hasDivider = false; ///< another row follows
        int turnedBy = 0; ///< degrees, of the icon of what is in progress
    };
    struct Parts {
        QRect icon;
        QRect text;
        QRect link; ///< empty when there is none; the place that is clicked, larger than the picture
    };

    DeploymentRowView() = default;
    DeploymentRowView(const QFont &font, Qt::LayoutDirection direction);

    [[nodiscard]] int height() const;
    [[nodiscard]] Parts parts(const QRect &frame, const DeploymentSnapshot &deployment) const;
    /// Paints what lies within `exposed`; text that does not is not even measured.
    void paint(QPainter *painter, const QRect &frame, const QRect &exposed, const DeploymentSnapshot &deployment,
        const State &state, Instant now, const QPalette &palette) const;

private:
    void paintBackground(
        QPainter *painter, const QRect &frame, const Parts &parts, const State &state, const QPalette &palette) const;
    void paintTexts(QPainter *painter, const QRect &column, const DeploymentSnapshot &deployment, Instant now,
        const QPalette &palette) const;
    void paintLink(QPainter *painter, const QRect &place, const State &state, const QPalette &palette) const;
    [[nodiscard]] QString detailLine(const DeploymentSnapshot &deployment, Instant now, int width) const;

    QFont m_nameFont;
    QFont m_captionFont;
    Qt::LayoutDirection m_direction = Qt::LeftToRight;
};

/// How two texts share a line: each gets what it needs when both fit; else the second keeps up to two fifths, and each
/// what the other does not need. First, then second.
[[nodiscard]] std::pair<int, int> sharedWidths(int available, int first, int second);

} // namespace velmora
