// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/notification_error.h"
#include "notifications/notification_permission.h"
#include "notifications/notification_server.h"
#include "support/fake_url_opener.h"
#include "support/one_shot.h"

#include <QList>
#include <QStringList>

#include <deque>
#include <optional>

namespace velmora::testing
{

/// Records the requests. Returns the handles "1", "2", … or the replaced handle.
class FakeNotificationServer final : public NotificationServer
{
public:
    [[nodiscard]] QCoro::Task<> requireServer(QDeadlineTimer deadline) override
    {
        deadlines.append(deadline);
        if (!isThere)
            throw NotificationError(NotificationError::Kind::NoServer);
        co_return;
    }

    [[nodiscard]] QCoro::Task<NotificationCapabilities> capabilities(QDeadlineTimer deadline) override
    {
        deadlines.append(deadline);
        if (!isThere)
            throw NotificationError(NotificationError::Kind::NoServer);
        if (isSilent)
            throw NotificationError(NotificationError::Kind::TimedOut);
        const NotificationCapabilities present = able;
        co_return present;
    }

    [[nodiscard]] QCoro::Task<QString> post(NotificationRequest request, QDeadlineTimer deadline) override
    {
        deadlines.append(deadline);
        requests.append(request);
        // The server has received the notification and may show it later.
        if (isSilent)
            throw NotificationError(NotificationError::Kind::TimedOut);
        if (gate) {
            const OneShot<> opened = *gate;
            co_await opened;
        }
        if (!failures.empty()) {
            const std::exception_ptr failure = failures.front();
            failures.pop_front();
            if (onFailure)
                onFailure();
            std::rethrow_exception(failure);
        }
        if (!request.replacedHandle.isEmpty())
            co_return request.replacedHandle;
        co_return QString::number(++m_lastHandle);
    }

    void withdraw(const QString &handle) override { withdrawn.append(handle); }

    bool isThere = true;
    bool isSilent = false; ///< accepts calls without ever answering
    NotificationCapabilities able{
        .server = QStringLiteral("first"), .interpretsMarkup = true, .hasActions = true, .playsSounds = false};
    std::optional<OneShot<>> gate; ///< posts wait for it
    std::deque<std::exception_ptr> failures; ///< for the next posts, in order
    std::function<void()> onFailure; ///< called before a post fails

    QList<NotificationRequest> requests;
    QStringList withdrawn;
    QList<QDeadlineTimer> deadlines;

private:
    int m_lastHandle = 0;
};

class FakeNotificationPermission final : public NotificationPermission
{
public:
    [[nodiscard]] QCoro::Task<bool> isGranted(QDeadlineTimer) override
    {
        ++questions;
        const bool answer = isOn;
        co_return answer;
    }

    bool isOn = true;
    int questions = 0;
};

} // namespace velmora::testing
