// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace velmora
{

/// Whether the text can be an activation token: the desktop's leave to take the focus, one short printable word. Tokens
/// come from other programs and go into the environment and to the compositor, which ends the connection of a program
/// whose message is longer than 4096 bytes.
[[nodiscard]] bool isActivationToken(const QString &text);

/// The text where it can be an activation token; else empty, which is none.
[[nodiscard]] QString checkedActivationToken(const QString &text);

} // namespace velmora
