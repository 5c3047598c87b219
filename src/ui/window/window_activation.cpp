// SPDX-License-Identifier: MIT
#include "ui/window/window_activation.h"

#include <QWidget>

namespace velmora
{

void bringToFront(QWidget *window, const QString &activationToken)
{
    constexpr auto kTokenVariable = "XDG_ACTIVATION_TOKEN";
    // Qt's Wayland plugin reads the token from the environment. It is removed afterwards, so that no child process
    // inherits it.
    if (!activationToken.isEmpty())
        qputenv(kTokenVariable, activationToken.toUtf8());
    window->raise();
    window->activateWindow();
    if (!activationToken.isEmpty())
        qunsetenv(kTokenVariable);
}

} // namespace velmora
