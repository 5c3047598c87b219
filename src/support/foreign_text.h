// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringView>

namespace velmora
{

/// Whether the character is unsafe in a text that another program or the network supplied: it controls a terminal, or
/// changes the direction of the text around it. Invisible characters are safe, since emoji and some scripts need them.
[[nodiscard]] bool isUnsafeToShow(char32_t character);

/// What cleanedText() does with unsafe characters.
enum class UnsafeCharacters {
    Dropped,
    Replaced, ///< by U+FFFD, so that the user sees that there was something
};

/// The text without unsafe characters. Line and paragraph separators become line feeds, tabs become spaces, and code
/// points that are no characters become U+FFFD, because D-Bus refuses them.
[[nodiscard]] QString cleanedText(QStringView text, UnsafeCharacters unsafe);

/// The cleaned text, without unsafe characters, in at most `limit` UTF-16 units. Cuts between visible characters and
/// marks the cut with an ellipsis.
[[nodiscard]] QString presentableText(QStringView text, qsizetype limit);

} // namespace velmora
