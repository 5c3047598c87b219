// SPDX-License-Identifier: MIT
#include "notifications/user_notification_service.h"

#include "notifications/deployment_notification.h"
#include "notifications/notification_bursts.h"
#include "notifications/notification_error.h"
#include "notifications/notification_text.h"
#include "notifications/posted_notifications.h"
#include "support/signal_waiting.h"
#include "support/task_scope.h"

#include <QLoggingCategory>

namespace velmora
{

namespace
{

Q_LOGGING_CATEGORY(log, "velmora.notifications", QtWarningMsg)

QString categoryOf(DeploymentNotificationKind kind)
{
    switch (kind) {
    case DeploymentNotificationKind::Failure:
        return QStringLiteral("transfer.error");
    case DeploymentNotificationKind::Success:
        return QStringLiteral("transfer.complete");
    case DeploymentNotificationKind::Waiting:
        return QStringLiteral("transfer");
    }
    Q_UNREACHABLE();
}

/// A notification and how it is posted.
struct Announcement {
    DeploymentNotification content;
    DeploymentNotificationKind kind;
    bool isGrowth = false; ///< of a group that was announced before, with a sound
    QString repositoryNodeID = {}; ///< of the one repository that it is about; empty for a group
    QString muteLabel = {}; ///< the words on the button that mutes it
};

Announcement announcementOf(const DeploymentSnapshot &deployment, DeploymentNotificationKind kind)
{
    return {.content = deploymentNotification(deployment, kind),
        .kind = kind,
        .repositoryNodeID = deployment.repositoryNodeID,
        .muteLabel = muteText(deployment)};
}

/// The words on the button, empty if a click could not open anything.
QString openLabel(const DeploymentNotification &notification, bool opensWindow)
{
    if (notification.url.isEmpty())
        return opensWindow ? QStringLiteral("Open Velmora") : QString();
    return notification.url.isOpenable() ? QStringLiteral("Open log") : QString();
}

NotificationRequest requestFor(
    const Announcement &announcement, const NotificationCapabilities &capabilities, bool opensWindow, bool mutes)
{
    const DeploymentNotification &notification = announcement.content;
    const BodyFormat format = capabilities.interpretsMarkup ? BodyFormat::Markup : BodyFormat::PlainText;
    return NotificationRequest{
        .server = capabilities.server,
        .identifier = notification.identifier,
        .replacedHandle = {},
        .summary = summaryText(notification),
        .body = bodyText(notification, format),
        // A failed deployment is no emergency of the machine. A success is not Low either: some desktops only list such
        // notifications without showing them.
        .urgency = NotificationUrgency::Normal,
        .category = categoryOf(announcement.kind),
        .openLabel = capabilities.hasActions ? openLabel(notification, opensWindow) : QString(),
        .muteLabel = capabilities.hasActions && mutes ? announcement.muteLabel : QString(),
        .playsSound = capabilities.playsSounds && !announcement.isGrowth,
        .suppressesSound = capabilities.playsSounds && announcement.isGrowth,
    };
}

} // namespace

/// The dependencies of an operation, which may outlive the service.
struct UserNotificationService::State {
    std::shared_ptr<NotificationServer> server;
    std::shared_ptr<NotificationPermission> permission;
    std::chrono::milliseconds bound;
    std::chrono::milliseconds pause;
    PostedNotifications posted;
    NotificationBursts bursts;
    std::function<void(const QString &)> openWindow; ///< empty if there is no window
    std::function<void(const QString &)> mute; ///< empty if nothing can be muted

    static QCoro::Task<bool> authorize(std::shared_ptr<State> state);
    static QCoro::Task<bool> isSilent(std::shared_ptr<State> state);
    static QCoro::Task<> untilReady(std::shared_ptr<State> state, std::stop_token stop);
    static QCoro::Task<> post(std::shared_ptr<State> state, Announcement announcement);
    static QCoro::Task<QString> postOnce(
        std::shared_ptr<State> state, Announcement announcement, QDeadlineTimer deadline);
};

QCoro::Task<bool> UserNotificationService::State::authorize(std::shared_ptr<State> state)
{
    const QDeadlineTimer deadline(state->bound);
    co_await state->server->requireServer(deadline);
    const bool isGranted = co_await state->permission->isGranted(deadline);
    co_return isGranted;
}

/// Whether the server does not answer in time. Makes no call while its capabilities are known. Other failures are left
/// to the next post.
QCoro::Task<bool> UserNotificationService::State::isSilent(std::shared_ptr<State> state)
{
    try {
        std::ignore = co_await state->server->capabilities(QDeadlineTimer(state->bound));
    } catch (const NotificationError &error) {
        co_return error.kind() == NotificationError::Kind::TimedOut;
    } catch (...) {
        co_return false;
    }
    co_return false;
}

QCoro::Task<> UserNotificationService::State::untilReady(std::shared_ptr<State> state, std::stop_token stop)
{
    while (true) {
        throwIfStopped(stop);
        const bool keepsWaiting = co_await isSilent(state);
        throwIfStopped(stop);
        if (!keepsWaiting)
            co_return;
        // untilTrue() calls it once before any signal; later calls mean that the server is gone.
        const auto questions = std::make_shared<int>(0);
        const std::function<bool()> hasSuccessor = [questions] {
            return (*questions)++ > 0;
        };
        co_await untilTrue(state->server.get(), &NotificationServer::serverGone, hasSuccessor, stop, state->pause);
    }
}

QCoro::Task<QString> UserNotificationService::State::postOnce(
    std::shared_ptr<State> state, Announcement announcement, QDeadlineTimer deadline)
{
    const auto capabilities = co_await state->server->capabilities(deadline);
    auto request
        = requestFor(announcement, capabilities, static_cast<bool>(state->openWindow), static_cast<bool>(state->mute));
    request.replacedHandle = state->posted.handleOf(request.identifier);
    const QString handle = co_await state->server->post(std::move(request), deadline);
    co_return handle;
}

QCoro::Task<> UserNotificationService::State::post(std::shared_ptr<State> state, Announcement announcement)
{
    const QDeadlineTimer deadline(state->bound);
    QString handle;
    try {
        handle = co_await postOnce(state, announcement, deadline);
    } catch (const NotificationError &error) {
        if (error.kind() != NotificationError::Kind::ServerChanged)
            throw;
    }
    // The server ended between two calls. Its successor may have other abilities and does not know the handles.
    if (handle.isEmpty()) {
        state->posted.clear();
        handle = co_await postOnce(state, announcement, deadline);
    }
    // Two simultaneous posts of one identifier do not replace each other: withdraw the earlier one.
    const PostedNotifications::Targets targets{announcement.content.url, announcement.repositoryNodeID};
    const QString superseded = state->posted.note(announcement.content.identifier, handle, targets);
    if (!superseded.isEmpty())
        state->server->withdraw(superseded);
}

UserNotificationService::UserNotificationService(std::shared_ptr<NotificationServer> server,
    std::shared_ptr<NotificationPermission> permission, URLOpener &opener, const Clock &clock,
    std::chrono::milliseconds bound, std::chrono::milliseconds pause)
    : m_state(std::make_shared<State>())
    , m_opener(opener)
    , m_clock(clock)
{
    m_state->server = std::move(server);
    m_state->permission = std::move(permission);
    m_state->bound = bound;
    m_state->pause = pause;
    watchServer();
}

UserNotificationService::~UserNotificationService() = default;

QCoro::Task<bool> UserNotificationService::requestAuthorizationIfNeeded()
{
    return State::authorize(m_state);
}

QCoro::Task<> UserNotificationService::untilReady(std::stop_token stop)
{
    return State::untilReady(m_state, std::move(stop));
}

QCoro::Task<> UserNotificationService::notify(DeploymentSnapshot deployment, DeploymentNotificationKind kind)
{
    // A result that is on show already replaces its notification, and is no further one of a burst.
    const bool isShown = !m_state->posted.handleOf(resultKey(deployment)).isEmpty();
    const auto group = isShown ? std::nullopt : m_state->bursts.add(deployment, kind, m_clock.now());
    if (!group)
        return State::post(m_state, announcementOf(deployment, kind));
    const bool isGrowth = group->count() > NotificationBursts::kAlone + 1;
    return State::post(m_state, {group->notification(), kind, isGrowth});
}

QCoro::Task<> UserNotificationService::notifyGroup(DeploymentList deployments, DeploymentNotificationKind kind)
{
    if (deployments.isEmpty())
        co_return;
    if (deployments.size() == 1) {
        co_await notify(deployments.constFirst(), kind);
        co_return;
    }
    const Announcement announcement{deploymentNotification(deployments, kind), kind};
    co_await State::post(m_state, announcement);
}

void UserNotificationService::setWindowOpener(std::function<void(const QString &activationToken)> openWindow)
{
    m_state->openWindow = std::move(openWindow);
}

void UserNotificationService::setMuting(std::function<void(const QString &repositoryNodeID)> mute)
{
    m_state->mute = std::move(mute);
}

void UserNotificationService::watchServer()
{
    // m_context ends the connections before the state is destroyed.
    NotificationServer *const server = m_state->server.get();
    PostedNotifications *const posted = &m_state->posted;
    QObject::connect(server, &NotificationServer::closed, &m_context,
        [posted](const QString &handle, NotificationCloseReason reason) {
            // A history may keep expired notifications, where they can be replaced and clicked.
            if (reason != NotificationCloseReason::Expired)
                posted->forget(handle);
        });
    QObject::connect(server, &NotificationServer::serverGone, &m_context, [posted] { posted->clear(); });
    QObject::connect(server, &NotificationServer::activationTokenReceived, &m_context,
        [posted](const QString &handle, const QString &token) { posted->recordActivationToken(handle, token); });
    QObject::connect(server, &NotificationServer::activated, &m_context,
        [this](const QString &handle, NotificationAction action) { perform(action, handle); });
}

void UserNotificationService::perform(NotificationAction action, const QString &handle)
{
    const auto click = m_state->posted.takeClick(handle, action);
    if (!click)
        return;
    const auto &[url, repositoryNodeID] = click->targets;
    if (action == NotificationAction::Mute) {
        if (m_state->mute && !repositoryNodeID.isEmpty())
            m_state->mute(repositoryNodeID);
    } else if (url.isEmpty()) {
        if (m_state->openWindow)
            m_state->openWindow(click->activationToken);
    } else if (!url.isOpenable() || !m_opener.open(url, click->activationToken)) {
        qCWarning(log) << "The page of a notification could not be opened.";
    }
}

} // namespace velmora
