// SPDX-License-Identifier: MIT
#include "ui/window_activation.h"

#include <QWidget>

namespace velmora
{

void bringToFront(QWidget *window, const QString &activationToken)
{
    constexpr auto kTokenVariable = "XDG_ACTIVATION_TOKEN";
    // Qt's plugin for Wayland takes the token from there. Nothing that is started later may find it.
    if (!activationToken.isEmpty())
        qputenv(kTokenVariable, activationToken.toUtf8());
    window->raise();
    window->activateWindow();
    if (!activationToken.isEmpty())
        qunsetenv(kTokenVariable);
}

} // namespace velmora
