// SPDX-License-Identifier: MIT
#include "platform/clipboard_pasteboard.h"

#include <QClipboard>
#include <QGuiApplication>

namespace velmora
{

namespace
{

/// Whether copied text would reach a clipboard that other programs see.
bool hasClipboard()
{
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return false;
    const QString platform = QGuiApplication::platformName();
    if (platform == QLatin1String("xcb"))
        return true;
    return platform.startsWith(QLatin1String("wayland")) && QGuiApplication::focusWindow();
}

} // namespace

bool ClipboardPasteboard::setText(const QString &text)
{
    if (!hasClipboard())
        return false;
    QGuiApplication::clipboard()->setText(text);
    return true;
}

} // namespace velmora
