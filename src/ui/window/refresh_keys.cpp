// SPDX-License-Identifier: MIT
#include "ui/window/refresh_keys.h"

#include <QShortcut>
#include <QWidget>

namespace velmora
{

QList<QKeySequence> refreshKeys(const QList<QKeySequence> &ofDesktop)
{
    QList<QKeySequence> keys{QKeySequence(Qt::Key_F5), QKeySequence(Qt::CTRL | Qt::Key_R)};
    for (const QKeySequence &key : ofDesktop) {
        if (!keys.contains(key))
            keys.append(key);
    }
    return keys;
}

void onRefreshKeys(QWidget *widget, std::function<void()> action)
{
    auto *shortcut = new QShortcut(widget);
    shortcut->setKeys(refreshKeys());
    shortcut->setAutoRepeat(false);
    QObject::connect(shortcut, &QShortcut::activated, widget, std::move(action));
}

} // namespace velmora
