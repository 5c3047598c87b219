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

/// The background portal: how a program inside a Flatpak is started at login.
///
/// The portal can be asked to, but not asked whether: status() is the last answer it gave, kept in the preferences,
/// and does not know what the person has changed in the desktop's settings since.
class BackgroundPortalLoginItem final : public QObject, public LoginItem
{
    Q_OBJECT

public:
    static constexpr auto kAnswerKey = "loginItem.portalAnswer";

    /// The preferences are not owned and outlive the item. `command` is the program inside the Flatpak and its
    /// arguments.
    BackgroundPortalLoginItem(
        const QDBusConnection &connection, Preferences *preferences, QStringList command, QObject *parent = nullptr);
    /// Whoever waits for an answer sees a CancellationError.
    ~BackgroundPortalLoginItem() override;

    /// The last answer; Disabled before the first. Never NeedsRepair: the portal finds the program itself.
    [[nodiscard]] LoginItemStatus status() const override;
    /// Waits for the person, whom the desktop may ask.
    [[nodiscard]] QCoro::Task<> registerItem() override { return request(true); }
    [[nodiscard]] QCoro::Task<> unregisterItem() override { return request(false); }

private:
    QCoro::Task<> request(bool isWanted);

    QDBusConnection m_connection;
    Preferences *m_preferences;
    QStringList m_command;
    AsyncMutex m_turn; ///< what was asked last is answered last
    std::stop_source m_stop;
};

} // namespace velmora
