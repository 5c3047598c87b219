// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notifying.h"
#include "notifications/notification_permission.h"
#include "notifications/notification_server.h"
#include "platform/url_opener.h"
#include "support/clock.h"

#include <chrono>
#include <functional>
#include <memory>

namespace velmora
{

/// Posts one desktop notification for a deployment that failed, succeeded or waits, and opens its page on a click. A
/// button mutes its repository.
///
/// Of results of one kind that come faster than three in 30 seconds, three are posted by themselves. The others are
/// folded into one notification that grows: each replaces the one before. It counts all results of the burst, those
/// that were posted by themselves included. Only its first post plays a sound.
///
/// The opener and the clock must outlive the service. Operations that are running when the service is destroyed are
/// completed; later clicks have no effect. Errors of the server and of the permission pass unchanged.
class UserNotificationService final : public DeploymentNotifying
{
public:
    /// The time limit of every operation except untilReady().
    static constexpr std::chrono::milliseconds kBound = std::chrono::seconds(9);
    /// The pause before a silent server is called again, unless another server replaces it.
    static constexpr std::chrono::milliseconds kPause = std::chrono::seconds(15);

    UserNotificationService(std::shared_ptr<NotificationServer> server,
        std::shared_ptr<NotificationPermission> permission, URLOpener &opener, const Clock &clock,
        std::chrono::milliseconds bound = kBound, std::chrono::milliseconds pause = kPause);
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
    /// Does not count as results of a burst, unless it is a single one.
    [[nodiscard]] QCoro::Task<> notifyGroup(DeploymentList deployments, DeploymentNotificationKind kind) override;

    /// Sets what opens the window, for a click on the notification of a group; the token allows the window to take the
    /// focus, and is empty where the server sends none. Without it such a notification has no action.
    void setWindowOpener(std::function<void(const QString &activationToken)> openWindow);
    /// Sets what mutes a repository, for the button of its notifications. Without it they have no such button.
    void setMuting(std::function<void(const QString &repositoryNodeID)> mute);

private:
    struct State;

    void watchServer();
    void perform(NotificationAction action, const QString &handle);

    std::shared_ptr<State> m_state;
    URLOpener &m_opener;
    const Clock &m_clock;
    QObject m_context; ///< its end disconnects from the server
};

} // namespace velmora
