// SPDX-License-Identifier: MIT
#pragma once

#include <QKeySequence>
#include <QList>

#include <functional>

class QWidget;

namespace velmora
{

/// The keys that refresh, each once: those that the desktop has for it, F5 and Control R.
[[nodiscard]] QList<QKeySequence> refreshKeys(
    const QList<QKeySequence> &ofDesktop = QKeySequence::keyBindings(QKeySequence::Refresh));

/// Has refreshKeys() do `action` in the whole window of the widget. Once for a window: two who wait for the same key
/// both go without it.
void onRefreshKeys(QWidget *widget, std::function<void()> action);

} // namespace velmora
