// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"

namespace velmora
{

/// The desktop's notification service is missing, or did not accept a notification.
class NotificationError final : public Error
{
public:
    enum class Kind {
        NoServer, ///< none runs and none can be started; at login it may appear a moment later
        TimedOut, ///< no answer in time
        ServerChanged, ///< the server that was asked is gone; its successor has not been asked yet
        Failed, ///< the server answered with an error
    };

    /// `errorName` is the D-Bus name of the error, for Failed only; it never holds text of a notification.
    explicit NotificationError(Kind kind, QString errorName = {});
    [[nodiscard]] Kind kind() const { return m_kind; }
    [[nodiscard]] QString description() const override;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::NotificationError"; }
    friend bool operator==(const NotificationError &first, const NotificationError &second)
    {
        return first.m_kind == second.m_kind && first.m_errorName == second.m_errorName;
    }

private:
    Kind m_kind;
    QString m_errorName;
};

} // namespace velmora
