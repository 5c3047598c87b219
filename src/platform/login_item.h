// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>

namespace velmora
{

/// Whether the desktop starts Velmora at login.
enum class LoginItemStatus {
    Disabled,
    Enabled,
    NeedsRepair, ///< enabled, but for another program file than the current one
};

/// Starts Velmora in the background when the user logs in.
///
/// Operations are awaited, since a file is written on another thread, and a desktop may ask the user for any time. Thus
/// one interface serves every desktop.
class LoginItem
{
public:
    virtual ~LoginItem() = default;

    /// The desktop's behaviour at the next login, read again with every call: call it at the start or when a window
    /// opens, not for every repaint. Never fails; an unreadable setting counts as Disabled.
    [[nodiscard]] virtual LoginItemStatus status() const = 0;
    /// Makes this program start at login, and replaces an earlier registration. Calls take effect in their order.
    /// Throws an Error if the desktop refuses.
    [[nodiscard]] virtual QCoro::Task<> registerItem() = 0;
    /// Ends the start at login. It is no error if it was not enabled. Throws an Error if the desktop refuses.
    [[nodiscard]] virtual QCoro::Task<> unregisterItem() = 0;
};

} // namespace velmora
