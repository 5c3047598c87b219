// SPDX-License-Identifier: MIT
#include "ui/tray/pixel_digits.h"

#include <QPainter>

#include <array>

namespace velmora
{

namespace
{

/// The strokes of a digit: three across and two on each side.
enum Stroke : unsigned {
    Top = 1U,
    UpperLeft = 2U,
    UpperRight = 4U,
    Middle = 8U,
    LowerLeft = 16U,
    LowerRight = 32U,
    Bottom = 64U,
};

constexpr unsigned kRight = UpperRight | LowerRight;
constexpr unsigned kLeft = UpperLeft | LowerLeft;

constexpr std::array<unsigned, 10> kStrokes{
    Top | kLeft | kRight | Bottom,
    kRight,
    Top | UpperRight | Middle | LowerLeft | Bottom,
    Top | kRight | Middle | Bottom,
    UpperLeft | Middle | kRight,
    Top | UpperLeft | Middle | LowerRight | Bottom,
    Top | kLeft | Middle | LowerRight | Bottom,
    Top | kRight,
    Top | kLeft | kRight | Middle | Bottom,
    Top | UpperLeft | kRight | Middle | Bottom,
};

bool isDigit(QChar character)
{
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

} // namespace

int PixelDigits::widthOf(QChar character) const
{
    if (character == QLatin1Char('1'))
        return 2 * m_measures.stroke;
    if (character == QLatin1Char('+'))
        return 3 * m_measures.stroke;
    return isDigit(character) ? m_measures.width : 0;
}

QSize PixelDigits::size(const QString &text) const
{
    int width = 0;
    for (const QChar character : text) {
        if (const int own = widthOf(character); own > 0)
            width += own + (width > 0 ? m_measures.gap : 0);
    }
    return {width, m_measures.height};
}

void PixelDigits::paint(QPainter *painter, const QString &text, QPoint corner, const QColor &colour) const
{
    for (const QChar character : text) {
        const int width = widthOf(character);
        if (width == 0)
            continue;
        paintCharacter(painter, character, corner, colour);
        corner.rx() += width + m_measures.gap;
    }
}

void PixelDigits::paintCharacter(QPainter *painter, QChar character, QPoint corner, const QColor &colour) const
{
    if (character == QLatin1Char('+')) {
        paintPlus(painter, corner, colour);
        return;
    }
    const int stroke = m_measures.stroke;
    const int width = widthOf(character);
    const int height = m_measures.height;
    const int middle = (height - stroke) / 2;
    const int right = width - stroke;
    const auto fill = [&](int x, int y, int w, int h) {
        painter->fillRect(QRect(corner + QPoint(x, y), QSize(w, h)), colour);
    };
    const unsigned strokes = kStrokes.at(static_cast<std::size_t>(character.digitValue()));
    if (strokes & Top)
        fill(0, 0, width, stroke);
    if (strokes & Middle)
        fill(0, middle, width, stroke);
    if (strokes & Bottom)
        fill(0, height - stroke, width, stroke);
    if (strokes & UpperLeft)
        fill(0, 0, stroke, middle + stroke);
    if (strokes & UpperRight)
        fill(right, 0, stroke, middle + stroke);
    if (strokes & LowerLeft)
        fill(0, middle, stroke, height - middle);
    if (strokes & LowerRight)
        fill(right, middle, stroke, height - middle);
    if (character == QLatin1Char('1'))
        fill(0, stroke, stroke, stroke);
}

void PixelDigits::paintPlus(QPainter *painter, QPoint corner, const QColor &colour) const
{
    const int stroke = m_measures.stroke;
    const QPoint upper = corner + QPoint(0, (m_measures.height - 3 * stroke) / 2);
    painter->fillRect(QRect(upper + QPoint(stroke, 0), QSize(stroke, 3 * stroke)), colour);
    painter->fillRect(QRect(upper + QPoint(0, stroke), QSize(3 * stroke, stroke)), colour);
}

} // namespace velmora
