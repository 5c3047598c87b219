// SPDX-License-Identifier: MIT
#include "cli/plain_text.h"

#include "support/foreign_text.h"

#include <QList>

#include <cwchar>

namespace velmora
{

namespace
{

using CodePoints = QList<uint>;

int columns(uint c)
{
    // Terminals show characters that are unknown to the C library in one column.
    return std::max(c < 0x80 ? 1 : ::wcwidth(static_cast<wchar_t>(c)), c < 0x80 ? 1 : 0);
}

int columns(const CodePoints &points)
{
    int sum = 0;
    for (const uint c : points)
        sum += columns(c);
    return sum;
}

QString toText(const CodePoints &points)
{
    return QString::fromUcs4(reinterpret_cast<const char32_t *>(points.constData()), points.size());
}

CodePoints toPoints(QStringView text)
{
    return text.toUcs4();
}

/// The number of code points from the front that fit, including marks that combine with the last.
qsizetype fitting(const CodePoints &points, int width)
{
    qsizetype count = 0;
    for (int used = 0; count < points.size(); ++count) {
        used += columns(points.at(count));
        if (used > width)
            break;
    }
    return count;
}

} // namespace

QString harmless(QStringView text)
{
    QString line = text.toString();
    line.replace(QLatin1Char('\r'), QLatin1Char(' '));
    return cleanedText(line, UnsafeCharacters::Replaced).replace(QLatin1Char('\n'), QLatin1Char(' '));
}

QByteArray harmlessJSON(const QByteArray &json)
{
    const auto isPlain = [](char byte) {
        return static_cast<unsigned char>(byte) < 0x7F;
    };
    if (std::ranges::all_of(json, isPlain))
        return json;
    QByteArray result;
    result.reserve(json.size());
    const CodePoints points = QString::fromUtf8(json).toUcs4();
    for (const uint c : points) {
        // Characters below space occur only as white space between values: inside strings JSON forbids them.
        // Tags are invisible; an escape loses nothing and shows them.
        const bool isTag = c >= 0xE0000 && c <= 0xE007F;
        if (c <= ' ' || !(isUnsafeToShow(c) || isTag || c == 0x2028 || c == 0x2029)) {
            result += toText({c}).toUtf8();
            continue;
        }
        // JSON escapes are in UTF-16.
        const QString units = toText({c});
        for (const QChar unit : units)
            result += "\\u" + QByteArray::number(unit.unicode(), 16).rightJustified(4, '0');
    }
    return result;
}

int displayWidth(QStringView text)
{
    return columns(toPoints(text));
}

QString elidedMiddle(const QString &text, int width)
{
    const CodePoints points = toPoints(text);
    if (columns(points) <= width)
        return text;
    if (width < 1)
        return QString();
    const CodePoints front = points.first(fitting(points, width / 2));
    CodePoints back(points.crbegin(), points.crend());
    back = back.first(fitting(back, width - 1 - columns(front)));
    // A combining mark must not be separated from its letter.
    while (!back.isEmpty() && columns(back.last()) == 0)
        back.removeLast();
    std::ranges::reverse(back);
    return toText(front) + QChar(0x2026) + toText(back);
}

QString fitted(const QString &text, int width)
{
    const QString elided = elidedMiddle(text, width);
    return elided + QString(std::max(0, width - displayWidth(elided)), QLatin1Char(' '));
}

} // namespace velmora
