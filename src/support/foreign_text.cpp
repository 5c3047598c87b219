// SPDX-License-Identifier: MIT
#include "support/foreign_text.h"

#include <QList>
#include <QTextBoundaryFinder>

namespace velmora
{

namespace
{

constexpr char16_t kEllipsis = u'\u2026';

bool isControl(char32_t character)
{
    return character < 0x20 || (character >= 0x7F && character <= 0x9F);
}

/// Marks, embeddings, overrides and isolates reorder the text around them, which may be ours.
bool changesDirection(char32_t character)
{
    return character == 0x061C || character == 0x200E || character == 0x200F
        || (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x206F);
}

QString shortened(const QString &text, qsizetype limit)
{
    if (text.size() <= limit)
        return text;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    finder.setPosition(limit - 1);
    qsizetype end = finder.isAtBoundary() ? limit - 1 : finder.toPreviousBoundary();
    // A single visible character may be longer than the limit; then cut inside it, but not inside a surrogate pair.
    if (end <= 0)
        end = text.at(limit - 2).isHighSurrogate() ? limit - 2 : limit - 1;
    return text.left(end) + kEllipsis;
}

} // namespace

bool isUnsafeToShow(char32_t character)
{
    return isControl(character) || changesDirection(character);
}

QString cleanedText(QStringView text, UnsafeCharacters unsafe)
{
    QString cleaned;
    cleaned.reserve(text.size());
    const QList<uint> characters = text.toUcs4();
    for (const char32_t character : characters) {
        if (character == U'\n' || character == 0x2028 || character == 0x2029)
            cleaned += QLatin1Char('\n');
        else if (character == U'\t')
            cleaned += QLatin1Char(' ');
        else if (QChar::isSurrogate(character) || QChar::isNonCharacter(character))
            cleaned += QChar(QChar::ReplacementCharacter);
        else if (!isUnsafeToShow(character))
            cleaned += QChar::fromUcs4(character);
        else if (unsafe == UnsafeCharacters::Replaced)
            cleaned += QChar(QChar::ReplacementCharacter);
    }
    return cleaned;
}

QString presentableText(QStringView text, qsizetype limit)
{
    return shortened(cleanedText(text, UnsafeCharacters::Dropped), limit);
}

} // namespace velmora
