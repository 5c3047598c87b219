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

/// Posts one desktop notification for a deployment that failed, succeeded or waits, and opens its page on a click.
///
/// The opener must outlive the service. Operations that are running when the service is destroyed are completed; later
/// clicks have no effect. Errors of the server and of the permission pass unchanged.
class UserNotificationService final : public DeploymentNotifying
{
public:
    /// The time limit of every operation except untilReady().
    static constexpr std::chrono::milliseconds kBound = std::chrono::seconds(9);
    /// The pause before a silent server is called again, unless another server replaces it.
    static constexpr std::chrono::milliseconds kPause = std::chrono::seconds(15);

    UserNotificationService(std::shared_ptr<NotificationServer> server,
        std::shared_ptr<NotificationPermission> permission, URLOpener &opener, std::chrono::milliseconds bound = kBound,
        std::chrono::milliseconds pause = kPause);
    ~UserNotificationService() override;
    UserNotificationService(const UserNotificationService &) = delete;
    UserNotificationService &operator=(const UserNotificationService &) = delete;

    /// False if the user has switched off the notifications of this application. Never shows a prompt, since these
    /// desktops have none. Throws if there is no notification service, which says nothing about the user's choice.
    [[nodiscard]] QCoro::Task<bool> requestAuthorizationIfNeeded() override;
    /// Calls the server repeatedly while it does not answer. Only the stop limits it.
    [[nodiscard]] QCoro::Task<> untilReady(std::stop_token stop) override;
    /// Does not check the permission first; the desktop drops notifications that it must not show.
    [[nodiscard]] QCoro::Task<> notify(DeploymentSnapshot deployment, DeploymentNotificationKind kind) override;

private:
    struct State;

    void watchServer();
    void openClicked(const QString &handle);

    std::shared_ptr<State> m_state;
    URLOpener &m_opener;
    QObject m_context; ///< its end disconnects from the server
};

} // namespace velmora
