// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"
#include "monitor/failure_marks.h"

#include <QFont>
#include <QPalette>
#include <QRect>

#include <utility>

class QPainter;

namespace velmora
{

/// Draws one deployment: the icon of its state, repository and environment above ref, commit and age, and a link if the
/// environment has an address. A failure that does not count is drawn in the colour of secondary text.
class DeploymentRowView
{
public:
    /// What the row shows.
    struct Content {
        const DeploymentSnapshot &deployment;
        FailureMark mark;
        Instant now;
    };
    /// How the row is drawn, depending on mouse and keyboard.
    struct State {
        bool isHovered = false;
        bool isPressed = false;
        bool isLinkHovered = false;
        bool isLinkPressed = false;
        bool hasFocus = false;
        bool hasDivider = false; ///< another row of the section follows
        int turnedBy = 0; ///< rotation of the icon of a deployment in progress, in degrees
    };
    struct Parts {
        QRect icon;
        QRect text;
        QRect link; ///< the area that reacts to a click, larger than the symbol; empty without a link
    };

    DeploymentRowView() = default;
    DeploymentRowView(const QFont &font, Qt::LayoutDirection direction);

    [[nodiscard]] int height() const;
    [[nodiscard]] Parts parts(const QRect &frame, const DeploymentSnapshot &deployment) const;
    /// Paints the parts within `exposed`; other texts are not even measured.
    void paint(QPainter *painter, const QRect &frame, const QRect &exposed, const Content &content, const State &state,
        const QPalette &palette) const;

private:
    void paintBackground(
        QPainter *painter, const QRect &frame, const Parts &parts, const State &state, const QPalette &palette) const;
    void paintTexts(QPainter *painter, const QRect &column, const Content &content, const QPalette &palette) const;
    void paintLink(QPainter *painter, const QRect &place, const State &state, const QPalette &palette) const;
    [[nodiscard]] QString detailLine(const Content &content, int width) const;

    QFont m_nameFont;
    QFont m_captionFont;
    Qt::LayoutDirection m_direction = Qt::LeftToRight;
};

/// Divides a line between two texts; returns the widths of the first and the second. If both fit, each gets what it
/// needs. Otherwise the second gets at most two fifths, or what the first leaves, and the first gets the rest.
[[nodiscard]] std::pair<int, int> sharedWidths(int available, int first, int second);

} // namespace velmora
