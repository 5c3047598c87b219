// SPDX-License-Identifier: MIT
#pragma once

#include <QKeySequence>
#include <QList>

#include <functional>

class QWidget;

namespace velmora
{

/// The shortcuts for a refresh, each once: F5, Control+R and those of the desktop.
[[nodiscard]] QList<QKeySequence> refreshKeys(
    const QList<QKeySequence> &ofDesktop = QKeySequence::keyBindings(QKeySequence::Refresh));

/// Makes refreshKeys() run `action` in the whole window of the widget. Call it once for each window: if two shortcuts
/// have the same key, Qt activates neither.
void onRefreshKeys(QWidget *widget, std::function<void()> action);

} // namespace velmora
