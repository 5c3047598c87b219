// SPDX-License-Identifier: MIT
#pragma once

#include <QFont>
#include <QPalette>
#include <QRect>
#include <QString>

class QPainter;

namespace velmora
{

/// Draws the header of a section: its title at the start, the number of its deployments at the end.
class DeploymentSectionView
{
public:
    DeploymentSectionView() = default;
    DeploymentSectionView(const QFont &font, Qt::LayoutDirection direction);

    /// Includes the padding above the header. sectionEnd() is the padding below the last row.
    [[nodiscard]] int headerHeight() const;
    [[nodiscard]] int sectionEnd() const;

    void paint(
        QPainter *painter, const QRect &frame, const QString &title, qsizetype count, const QPalette &palette) const;

private:
    QFont m_titleFont;
    QFont m_countFont;
    Qt::LayoutDirection m_direction = Qt::LeftToRight;
};

/// Paints digits at the right end of `frame`. Each takes the width of the widest digit, so that a changing number does
/// not shift.
void paintMonospacedDigits(QPainter *painter, const QRect &frame, const QString &digits);
/// The width of what paintMonospacedDigits() paints.
[[nodiscard]] int monospacedDigitsWidth(const QFont &font, const QString &digits);

} // namespace velmora
