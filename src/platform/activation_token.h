// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace velmora
{

/// Whether the text can be an activation token, the desktop's permission to take the focus: one short printable word.
/// Tokens come from other programs and go into the environment and to the compositor, which disconnects a program that
/// sends a message of more than 4096 bytes.
[[nodiscard]] bool isActivationToken(const QString &text);

/// The text if it can be an activation token, else empty, which means no token.
[[nodiscard]] QString checkedActivationToken(const QString &text);

} // namespace velmora
