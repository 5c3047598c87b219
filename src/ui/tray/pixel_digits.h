// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QPoint>
#include <QSize>
#include <QString>

class QPainter;

namespace velmora
{

/// Draws digits and the plus sign from straight strokes on whole pixels. They stay sharp at a height of seven pixels,
/// at which the glyphs of a font blur.
class PixelDigits
{
public:
    /// In pixels.
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

    /// The size of the text; characters other than digits and plus are left out.
    [[nodiscard]] QSize size(const QString &text) const;
    /// `corner` is the upper left corner of the text.
    void paint(QPainter *painter, const QString &text, QPoint corner, const QColor &colour) const;

private:
    [[nodiscard]] int widthOf(QChar character) const;
    void paintCharacter(QPainter *painter, QChar character, QPoint corner, const QColor &colour) const;
    void paintPlus(QPainter *painter, QPoint corner, const QColor &colour) const;

    Measures m_measures;
};

} // namespace velmora
