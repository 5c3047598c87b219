// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDeadlineTimer>
#include <QObject>
#include <QString>

namespace velmora
{

/// What the server that will get the next notification can do.
struct NotificationCapabilities {
    QString server; ///< which server this holds for: no two that ever ran have the same
    bool interpretsMarkup = false; ///< in the body; never in the summary
    bool hasActions = false;
    bool playsSounds = false;

    friend bool operator==(const NotificationCapabilities &, const NotificationCapabilities &) = default;
};

/// How much a notification presses.
enum class NotificationUrgency : uchar {
    Low = 0,
    Normal = 1,
    Critical = 2, ///< stays until it is dismissed, even over what is shown in full screen
};

/// One notification as it is handed to a server.
struct NotificationRequest {
    QString server; ///< as in the capabilities that the texts were made for
    QString identifier; ///< the same for notifications of which the later replaces the earlier
    QString replacedHandle; ///< the notification to replace, in the server's own terms; empty for a new one
    QString summary;
    QString body;
    NotificationUrgency urgency = NotificationUrgency::Normal;
    QString category; ///< a word of the desktop notification protocol
    bool hasActions = false; ///< the default action, and a button that says what it does
    bool playsSound = false;

    friend bool operator==(const NotificationRequest &, const NotificationRequest &) = default;
};

/// Why a notification is no longer on the screen, numbered as in the desktop notification protocol.
enum class NotificationCloseReason : uint {
    Expired = 1, ///< its time was up; it may live on in a history, where it can be clicked and replaced
    Dismissed = 2, ///< by the person
    Withdrawn = 3, ///< by the application
    Unknown = 4,
};

/// A service of the desktop that shows notifications. Never blocks; a call ends at its deadline at the latest.
/// Failures are NotificationErrors. The calls may outlive whoever made them, but not the server.
class NotificationServer : public QObject
{
    Q_OBJECT

public:
    /// Ends when a server runs or can be started, and throws NoServer otherwise. Starts none.
    [[nodiscard]] virtual QCoro::Task<> requireServer(QDeadlineTimer deadline) = 0;
    /// What the present server can do; starts one if need be. Asks it only when it is not known, or when the last post
    /// had no answer.
    [[nodiscard]] virtual QCoro::Task<NotificationCapabilities> capabilities(QDeadlineTimer deadline) = 0;
    /// Shows the notification and returns its handle. Throws ServerChanged, and shows nothing, when the server that
    /// the request was made for is gone.
    [[nodiscard]] virtual QCoro::Task<QString> post(NotificationRequest request, QDeadlineTimer deadline) = 0;
    /// Takes a notification of ours off the screen; nobody learns whether that worked.
    virtual void withdraw(const QString &handle) = 0;

Q_SIGNALS:
    // Handles that are not ours may come along: a server may tell every program about every notification.
    void closed(const QString &handle, velmora::NotificationCloseReason reason);
    /// Comes before the activation that it belongs to, from servers that have tokens.
    void activationTokenReceived(const QString &handle, const QString &token);
    /// The person has clicked the notification or its button. May come several times for one click.
    void activated(const QString &handle);
    /// The server is gone and all its handles with it.
    void serverGone();
};

} // namespace velmora
