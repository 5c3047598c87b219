// SPDX-License-Identifier: MIT
#pragma once

#include <QFont>
#include <QPalette>
#include <QRect>
#include <QString>

class QPainter;

namespace velmora
{

/// Draws the header of a section: its title at one end, the number of its deployments at the other.
class DeploymentSectionView
{
public:
    DeploymentSectionView() = default;
    DeploymentSectionView(const QFont &font, Qt::LayoutDirection direction);

    /// With the padding above the header; sectionEnd() is the padding below the last row.
    [[nodiscard]] int headerHeight() const;
    [[nodiscard]] int sectionEnd() const;

    void paint(
        QPainter *painter, const QRect &frame, const QString &title, qsizetype count, const QPalette &palette) const;

private:
    QFont m_titleFont;
    QFont m_countFont;
    Qt::LayoutDirection m_direction = Qt::LeftToRight;
};

/// Digits that all take the width of the widest, so that a number that changes does not dance. `frame` holds them at
/// its right end.
void paintMonospacedDigits(QPainter *painter, const QRect &frame, const QString &digits);
/// The width that paintMonospacedDigits() takes.
[[nodiscard]] int monospacedDigitsWidth(const QFont &font, const QString &digits);

} // namespace velmora
