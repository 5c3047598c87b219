// SPDX-License-Identifier: MIT
#include "notifications/notification_text.h"

#include <QTextBoundaryFinder>

namespace velmora
{

namespace
{

// In UTF-16 units: more than any server shows, and not enough to slow one down.
constexpr qsizetype kTitleLimit = 200;
constexpr qsizetype kSubtitleLimit = 200;
constexpr qsizetype kBodyLimit = 500;

constexpr char16_t kEllipsis = u'\u2026';

/// Embeddings, overrides and isolates, which would reorder the text after them, Velmora's own included.
bool changesDirection(char32_t character)
{
    return (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x206F);
}

bool isControl(char32_t character)
{
    return character < 0x20 || (character >= 0x7F && character <= 0x9F);
}

/// The character to show instead; 0 to show nothing.
char32_t presentable(char32_t character)
{
    if (character == U'\n' || character == 0x2028 || character == 0x2029)
        return U'\n';
    // A tab separates words.
    if (character == U'\t')
        return U' ';
    if (isControl(character) || changesDirection(character))
        return 0;
    if (QChar::isSurrogate(character) || QChar::isNonCharacter(character))
        return QChar::ReplacementCharacter;
    return character;
}

QString shortened(const QString &text, qsizetype limit)
{
    if (text.size() <= limit)
        return text;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    finder.setPosition(limit - 1);
    qsizetype end = finder.isAtBoundary() ? limit - 1 : finder.toPreviousBoundary();
    // The first character alone exceeds the limit, by its many combining marks: cut within it.
    if (end <= 0)
        end = text.at(limit - 2).isHighSurrogate() ? limit - 2 : limit - 1;
    return text.left(end) + kEllipsis;
}

QString onOneLine(QString text)
{
    return text.replace(u'\n', u' ');
}

} // namespace

QString presentableText(const QString &text, qsizetype limit)
{
    QString shown;
    shown.reserve(text.size());
    const QList<uint> characters = text.toUcs4();
    for (const char32_t character : characters) {
        if (const char32_t replacement = presentable(character))
            shown += QChar::fromUcs4(replacement);
    }
    return shortened(shown, limit);
}

QString summaryText(const DeploymentNotification &notification)
{
    return onOneLine(presentableText(notification.title, kTitleLimit));
}

QString bodyText(const DeploymentNotification &notification, BodyFormat format)
{
    const QString subtitle = onOneLine(presentableText(notification.subtitle, kSubtitleLimit));
    const QString body = presentableText(notification.body, kBodyLimit);
    const QString separator = subtitle.isEmpty() || body.isEmpty() ? QString() : QStringLiteral("\n");
    const QString text = subtitle + separator + body;
    // Apostrophes need no escaping outside tags, and some servers do not know their entity.
    return format == BodyFormat::Markup ? text.toHtmlEscaped() : text;
}

} // namespace velmora
