// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QPoint>
#include <QSize>
#include <QString>

class QPainter;

namespace velmora
{

/// Digits and the plus sign out of straight strokes that lie on whole pixels: they stay sharp where the letters of a
/// font, whichever is installed, would be seven pixels high.
class PixelDigits
{
public:
    /// All in pixels.
    struct Measures {
        int stroke = 1;
        int width = 4; ///< of a digit; a one is narrower
        int height = 7;
        int gap = 1; ///< between two characters
    };

    explicit PixelDigits(const Measures &measures)
        : m_measures(measures)
    {
    }

    /// The room that the text takes; characters other than digits and plus take none.
    [[nodiscard]] QSize size(const QString &text) const;
    /// Fills the strokes with the colour. `corner` is the upper left one of the text.
    void paint(QPainter *painter, const QString &text, QPoint corner, const QColor &colour) const;

private:
    [[nodiscard]] int widthOf(QChar character) const;
    void paintCharacter(QPainter *painter, QChar character, QPoint corner, const QColor &colour) const;
    void paintPlus(QPainter *painter, QPoint corner, const QColor &colour) const;

    Measures m_measures;
};

} // namespace velmora
