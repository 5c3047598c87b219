// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDeadlineTimer>

namespace velmora
{

/// The desktop's own switch for the notifications of this application. Nothing here asks the person.
class NotificationPermission
{
public:
    virtual ~NotificationPermission() = default;

    /// False only when the person has switched the notifications of this application off. A desktop without such a
    /// switch, and one that cannot be read before the deadline, allow them. Does not throw.
    [[nodiscard]] virtual QCoro::Task<bool> isGranted(QDeadlineTimer deadline) = 0;
};

/// A desktop that has no switch.
class UnrestrictedNotificationPermission final : public NotificationPermission
{
public:
    [[nodiscard]] QCoro::Task<bool> isGranted(QDeadlineTimer) override { co_return true; }
};

} // namespace velmora
