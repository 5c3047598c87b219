// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

class QWidget;

namespace velmora
{

/// Brings a window that is shown to the front and gives it the focus, as far as the desktop lets it. On Wayland that
/// needs the token of what the person did to ask for it; elsewhere it may be empty.
void bringToFront(QWidget *window, const QString &activationToken);

} // namespace velmora
