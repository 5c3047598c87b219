// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>

namespace velmora
{

/// Whether the desktop starts Velmora at login.
enum class LoginItemStatus {
    Disabled,
    Enabled,
    NeedsRepair, ///< it is to be started, but not from where it is now
};

/// Starts Velmora, quietly, when the person logs in.
///
/// Registering is awaited: a file is written away from the main thread, and a desktop that asks the person answers
/// when it pleases. So one operation and one way of failing serve every desktop.
class LoginItem
{
public:
    virtual ~LoginItem() = default;

    /// What the desktop would do at the next login, read anew with every call: for a start or an opened window,
    /// not for every repaint. Never fails; what cannot be read is Disabled.
    [[nodiscard]] virtual LoginItemStatus status() const = 0;
    /// Has this program started at login; whatever was registered before is replaced. Calls take effect in the order in
    /// which they were made. Throws an Error when the desktop refused.
    [[nodiscard]] virtual QCoro::Task<> registerItem() = 0;
    /// Has it started no more; no error when it was not. Throws an Error when the desktop refused.
    [[nodiscard]] virtual QCoro::Task<> unregisterItem() = 0;
};

} // namespace velmora
