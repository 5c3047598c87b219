// SPDX-License-Identifier: MIT
#pragma once

#include <QFont>
#include <QPalette>
#include <QRect>
#include <QString>

#include <optional>

class QPainter;

namespace velmora
{

/// Draws the header of a section: its title at the start, the number of its deployments at the end, and before that an
/// action on all of them, if there is one.
class DeploymentSectionView
{
public:
    struct Header {
        QString title;
        std::optional<qsizetype> count; ///< nullopt for none
        QString action; ///< empty for none
        bool isActionLit = false; ///< the mouse is over it
        bool hasFocus = false; ///< the keyboard is at it

        friend bool operator==(const Header &, const Header &) = default;
    };

    DeploymentSectionView() = default;
    DeploymentSectionView(const QFont &font, Qt::LayoutDirection direction);

    /// Includes the padding above the header. sectionEnd() is the padding below the last row.
    [[nodiscard]] int headerHeight() const;
    [[nodiscard]] int sectionEnd() const;

    void paint(QPainter *painter, const QRect &frame, const Header &header, const QPalette &palette) const;
    /// The area in which a click means the action; empty without one.
    [[nodiscard]] QRect actionPlace(const QRect &frame, const Header &header) const;

private:
    [[nodiscard]] static QRect lineIn(const QRect &frame);

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
