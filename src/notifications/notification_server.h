// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDeadlineTimer>
#include <QObject>
#include <QString>

namespace velmora
{

/// The abilities of the current server.
struct NotificationCapabilities {
    QString server; ///< identifies the server uniquely, among all that ever ran
    bool interpretsMarkup = false; ///< in the body, never in the summary
    bool hasActions = false;
    bool playsSounds = false;

    friend bool operator==(const NotificationCapabilities &, const NotificationCapabilities &) = default;
};

/// The urgency of a notification, as numbered by the protocol.
enum class NotificationUrgency : uchar {
    Low = 0,
    Normal = 1,
    Critical = 2, ///< stays until dismissed, even above full-screen windows
};

/// What the user can do with a notification.
enum class NotificationAction {
    Open, ///< by a click on it, or by its button
    Mute,
};

/// One notification, ready for a server.
struct NotificationRequest {
    QString server; ///< from the capabilities that the texts were made for
    QString identifier; ///< equal identifiers mean that the later notification replaces the earlier
    QString replacedHandle; ///< the notification to replace, in the server's terms; empty for a new one
    QString summary;
    QString body;
    NotificationUrgency urgency = NotificationUrgency::Normal;
    QString category; ///< a category of the desktop notification protocol
    QString openLabel; ///< the words on the button that does the same as a click; empty: neither does anything
    QString muteLabel; ///< the words on the button that mutes; empty: no such button
    bool playsSound = false;
    bool suppressesSound = false; ///< keeps a server that plays sounds by itself from it

    friend bool operator==(const NotificationRequest &, const NotificationRequest &) = default;
};

/// Why a notification has disappeared, numbered as in the desktop notification protocol.
enum class NotificationCloseReason : uint {
    Expired = 1, ///< its time is over; a history may keep it, where it can be clicked and replaced
    Dismissed = 2, ///< by the user
    Withdrawn = 3, ///< by the application
    Unknown = 4,
};

/// A desktop service that shows notifications. Never blocks. Calls end at their deadline at the latest and fail with
/// NotificationErrors. A call may outlive its caller, but not the server.
class NotificationServer : public QObject
{
    Q_OBJECT

public:
    /// Throws NoServer unless a server runs or can be started. Starts none.
    [[nodiscard]] virtual QCoro::Task<> requireServer(QDeadlineTimer deadline) = 0;
    /// The abilities of the current server, which is started if needed. Calls it only if they are unknown or the last
    /// post got no answer.
    [[nodiscard]] virtual QCoro::Task<NotificationCapabilities> capabilities(QDeadlineTimer deadline) = 0;
    /// Shows the notification and returns its handle. Throws ServerChanged, and shows nothing, if the server of the
    /// request is gone.
    [[nodiscard]] virtual QCoro::Task<QString> post(NotificationRequest request, QDeadlineTimer deadline) = 0;
    /// Removes one of Velmora's notifications from the screen. Does not report whether that worked.
    virtual void withdraw(const QString &handle) = 0;

Q_SIGNALS:
    // Handles of other programs' notifications may occur: some servers send their signals to all programs.
    void closed(const QString &handle, velmora::NotificationCloseReason reason);
    /// Precedes the activation that it belongs to. Only some servers send tokens.
    void activationTokenReceived(const QString &handle, const QString &token);
    /// The user has clicked the notification or one of its buttons. May come several times for one click.
    void activated(const QString &handle, velmora::NotificationAction action);
    /// The server is gone, and all its handles are invalid.
    void serverGone();
};

} // namespace velmora
