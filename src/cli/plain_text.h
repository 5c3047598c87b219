// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

namespace velmora
{

/// The text without anything by which a terminal could be steered: control characters, escape sequences and
/// what reverses or hides the order of letters become U+FFFD, line breaks and tabs a space. Every text
/// that came over the network passes through here before it is printed.
[[nodiscard]] QString harmless(QStringView text);

/// JSON in which the characters that steer terminals, and that JSON allows in plain, are written as escapes.
/// It decodes to the same document.
[[nodiscard]] QByteArray harmlessJSON(const QByteArray &json);

/// The number of columns that the text takes in a terminal. Wide characters take two.
[[nodiscard]] int displayWidth(QStringView text);

/// The text, in at most `width` columns: what is too much is left out in the middle, where the names of
/// repositories and environments differ least.
[[nodiscard]] QString elidedMiddle(const QString &text, int width);

/// The text filled up with spaces to `width` columns, elided in the middle when it is longer.
[[nodiscard]] QString fitted(const QString &text, int width);

} // namespace velmora
