// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notifying.h"
#include "notifications/notification_permission.h"
#include "notifications/notification_server.h"
#include "platform/url_opener.h"

#include <chrono>
#include <memory>

namespace velmora
{

/// Posts one desktop notification for a deployment that failed or succeeded, and opens its page when it is clicked.
///
/// Needs the opener alive for as long as it lives itself. An operation that runs when the service ends is still
/// carried out; clicks lead nowhere from then on. Errors of the server and of the permission pass unchanged.
class UserNotificationService final : public DeploymentNotifying
{
public:
    /// No operation but untilReady() takes longer, whatever the desktop does.
    static constexpr std::chrono::milliseconds kBound = std::chrono::seconds(9);
    /// Before a server that does not answer is asked again, unless another one takes its place.
    static constexpr std::chrono::milliseconds kPause = std::chrono::seconds(15);

    UserNotificationService(std::shared_ptr<NotificationServer> server,
        std::shared_ptr<NotificationPermission> permission, URLOpener &opener, std::chrono::milliseconds bound = kBound,
        std::chrono::milliseconds pause = kPause);
    ~UserNotificationService() override;
    UserNotificationService(const UserNotificationService &) = delete;
    UserNotificationService &operator=(const UserNotificationService &) = delete;

    /// False when the person has switched the notifications of this application off. No prompt is ever shown: this
    /// desktop has none. Throws when there is no notification service, which says nothing about the person's wish.
    [[nodiscard]] QCoro::Task<bool> requestAuthorizationIfNeeded() override;
    /// Asks the server again and again, while it does not answer. Not bounded but by the stop.
    [[nodiscard]] QCoro::Task<> untilReady(std::stop_token stop) override;
    /// Does not ask for the permission first; the desktop drops what it must not show.
    [[nodiscard]] QCoro::Task<> notifyFailure(DeploymentSnapshot deployment) override;
    [[nodiscard]] QCoro::Task<> notifySuccess(DeploymentSnapshot deployment) override;

private:
    struct State;

    void watchServer();
    void openClicked(const QString &handle);

    std::shared_ptr<State> m_state;
    URLOpener &m_opener;
    QObject m_context; ///< ends the connections to the server
};

} // namespace velmora
