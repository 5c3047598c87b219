// SPDX-License-Identifier: MIT
#pragma once

#include "platform/login_item.h"
#include "support/async_mutex.h"

#include <QDBusConnection>
#include <QObject>
#include <QStringList>

#include <stop_token>

namespace velmora
{

class Preferences;

/// Starts a program inside a Flatpak at login, through the background portal.
///
/// The portal cannot report the current setting. Therefore status() is its last answer, kept in the preferences, and
/// ignores later changes in the desktop's settings.
class BackgroundPortalLoginItem final : public QObject, public LoginItem
{
    Q_OBJECT

public:
    static constexpr auto kAnswerKey = "loginItem.portalAnswer";

    /// The preferences are not owned and outlive the item. `command` is the program inside the Flatpak and its
    /// arguments.
    BackgroundPortalLoginItem(
        const QDBusConnection &connection, Preferences *preferences, QStringList command, QObject *parent = nullptr);
    /// Fails waiting operations with a CancellationError.
    ~BackgroundPortalLoginItem() override;

    /// The last answer, Disabled before the first. Never NeedsRepair, since the portal finds the program itself.
    [[nodiscard]] LoginItemStatus status() const override;
    /// Waits for the user, whom the desktop may ask.
    [[nodiscard]] QCoro::Task<> registerItem() override { return request(true); }
    [[nodiscard]] QCoro::Task<> unregisterItem() override { return request(false); }

private:
    QCoro::Task<> request(bool isWanted);

    QDBusConnection m_connection;
    Preferences *m_preferences;
    QStringList m_command;
    AsyncMutex m_turn; ///< keeps the requests in the order of their calls
    std::stop_source m_stop;
};

} // namespace velmora
