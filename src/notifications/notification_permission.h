// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDeadlineTimer>

namespace velmora
{

/// The desktop's own switch for the notifications of this application. Never asks the user.
class NotificationPermission
{
public:
    virtual ~NotificationPermission() = default;

    /// False only if the user has switched off the notifications of this application. True if the desktop has no such
    /// switch or it cannot be read before the deadline. Does not throw.
    [[nodiscard]] virtual QCoro::Task<bool> isGranted(QDeadlineTimer deadline) = 0;
};

/// For a desktop without such a switch.
class UnrestrictedNotificationPermission final : public NotificationPermission
{
public:
    [[nodiscard]] QCoro::Task<bool> isGranted(QDeadlineTimer) override { co_return true; }
};

} // namespace velmora
