// SPDX-License-Identifier: MIT
#include "notifications/user_notification_service.h"

#include "notifications/deployment_notification.h"
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
    return kind == DeploymentNotificationKind::Failure ? QStringLiteral("transfer.error")
                                                       : QStringLiteral("transfer.complete");
}

NotificationRequest requestFor(const DeploymentNotification &notification, DeploymentNotificationKind kind,
    const NotificationCapabilities &capabilities)
{
    const BodyFormat format = capabilities.interpretsMarkup ? BodyFormat::Markup : BodyFormat::PlainText;
    return NotificationRequest{
        .server = capabilities.server,
        .identifier = notification.identifier,
        .replacedHandle = {},
        .summary = summaryText(notification),
        .body = bodyText(notification, format),
        // A failed deployment is no emergency of the machine. A success is not low either: some desktops put those
        // into their list without ever showing them, and whoever asks for successes wants to see them.
        .urgency = NotificationUrgency::Normal,
        .category = categoryOf(kind),
        // A button that can open nothing is worse than none.
        .hasActions = capabilities.hasActions && notification.url.isOpenable(),
        .playsSound = capabilities.playsSounds,
    };
}

} // namespace

/// What an operation needs, so that it may outlive the service.
struct UserNotificationService::State {
    std::shared_ptr<NotificationServer> server;
    std::shared_ptr<NotificationPermission> permission;
    std::chrono::milliseconds bound;
    std::chrono::milliseconds pause;
    PostedNotifications posted;

    static QCoro::Task<bool> authorize(std::shared_ptr<State> state);
    static QCoro::Task<bool> isSilent(std::shared_ptr<State> state);
    static QCoro::Task<> untilReady(std::shared_ptr<State> state, std::stop_token stop);
    static QCoro::Task<> post(
        std::shared_ptr<State> state, DeploymentNotification notification, DeploymentNotificationKind kind);
    static QCoro::Task<QString> postOnce(std::shared_ptr<State> state, DeploymentNotification notification,
        DeploymentNotificationKind kind, QDeadlineTimer deadline);
};

QCoro::Task<bool> UserNotificationService::State::authorize(std::shared_ptr<State> state)
{
    const QDeadlineTimer deadline(state->bound);
    co_await state->server->requireServer(deadline);
    const bool isGranted = co_await state->permission->isGranted(deadline);
    co_return isGranted;
}

/// Whether the server keeps us waiting. What it has to say costs no question as long as it has answered the last one;
/// one that is not there, or refuses, says so at once to whoever posts.
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
        // The first question comes before any signal.
        const auto questions = std::make_shared<int>(0);
        const std::function<bool()> hasSuccessor = [questions] {
            return (*questions)++ > 0;
        };
        co_await waitFor(state->server.get(), &NotificationServer::serverGone, hasSuccessor, stop, state->pause);
    }
}

QCoro::Task<QString> UserNotificationService::State::postOnce(std::shared_ptr<State> state,
    DeploymentNotification notification, DeploymentNotificationKind kind, QDeadlineTimer deadline)
{
    const auto capabilities = co_await state->server->capabilities(deadline);
    auto request = requestFor(notification, kind, capabilities);
    request.replacedHandle = state->posted.handleOf(notification.identifier);
    const QString handle = co_await state->server->post(std::move(request), deadline);
    co_return handle;
}

QCoro::Task<> UserNotificationService::State::post(
    std::shared_ptr<State> state, DeploymentNotification notification, DeploymentNotificationKind kind)
{
    const QDeadlineTimer deadline(state->bound);
    QString handle;
    try {
        handle = co_await postOnce(state, notification, kind, deadline);
    } catch (const NotificationError &error) {
        if (error.kind() != NotificationError::Kind::ServerChanged)
            throw;
    }
    // The server went away between two calls; its successor has other abilities and knows no handle of ours.
    if (handle.isEmpty()) {
        state->posted.clear();
        handle = co_await postOnce(state, notification, kind, deadline);
    }
    // Two posts of one identifier at the same time: neither knew of the other, and the later one stays.
    const QString superseded = state->posted.note(notification.identifier, handle, notification.url);
    if (!superseded.isEmpty())
        state->server->withdraw(superseded);
}

UserNotificationService::UserNotificationService(std::shared_ptr<NotificationServer> server,
    std::shared_ptr<NotificationPermission> permission, URLOpener &opener, std::chrono::milliseconds bound,
    std::chrono::milliseconds pause)
    : m_state(std::make_shared<State>())
    , m_opener(opener)
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

QCoro::Task<> UserNotificationService::notifyFailure(DeploymentSnapshot deployment)
{
    const auto kind = DeploymentNotificationKind::Failure;
    return State::post(m_state, deploymentNotification(deployment, kind), kind);
}

QCoro::Task<> UserNotificationService::notifySuccess(DeploymentSnapshot deployment)
{
    const auto kind = DeploymentNotificationKind::Success;
    return State::post(m_state, deploymentNotification(deployment, kind), kind);
}

void UserNotificationService::watchServer()
{
    // The state is owned here and outlives the connections, which end with m_context.
    NotificationServer *const server = m_state->server.get();
    PostedNotifications *const posted = &m_state->posted;
    QObject::connect(server, &NotificationServer::closed, &m_context,
        [posted](const QString &handle, NotificationCloseReason reason) {
            // What has expired may still be in a history, where it is replaced and clicked.
            if (reason != NotificationCloseReason::Expired)
                posted->forget(handle);
        });
    QObject::connect(server, &NotificationServer::serverGone, &m_context, [posted] { posted->clear(); });
    QObject::connect(server, &NotificationServer::activationTokenReceived, &m_context,
        [posted](const QString &handle, const QString &token) { posted->noteActivationToken(handle, token); });
    QObject::connect(
        server, &NotificationServer::activated, &m_context, [this](const QString &handle) { openClicked(handle); });
}

void UserNotificationService::openClicked(const QString &handle)
{
    const auto click = m_state->posted.takeClick(handle);
    if (!click)
        return;
    if (!click->url.isOpenable() || !m_opener.open(click->url, click->activationToken))
        qCWarning(log) << "The page of a notification could not be opened.";
}

} // namespace velmora
