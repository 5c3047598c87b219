// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>

namespace velmora
{

/// The text without anything that can control a terminal: control characters, and characters that hide letters or
/// change their direction, become U+FFFD; line breaks and tabs become spaces. Every text from the network must pass
/// through here before it is printed.
[[nodiscard]] QString harmless(QStringView text);

/// The JSON with escapes for characters that can control a terminal and that JSON permits unescaped. It decodes to the
/// same document.
[[nodiscard]] QByteArray harmlessJSON(const QByteArray &json);

/// The number of columns that a terminal needs for the text. Wide characters take two.
[[nodiscard]] int displayWidth(QStringView text);

/// The text in at most `width` columns. A longer one is cut in the middle, where names of repositories and environments
/// differ least.
[[nodiscard]] QString elidedMiddle(const QString &text, int width);

/// The text padded with spaces to `width` columns, or elided in the middle if it is longer.
[[nodiscard]] QString fitted(const QString &text, int width);

} // namespace velmora
