// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QWidget;

namespace velmora
{

/// Raises a visible window and gives it the focus, as far as the desktop permits. Wayland requires the activation token
/// of the user's action; elsewhere it may be empty.
void bringToFront(QWidget *window, const QString &activationToken);

} // namespace velmora
