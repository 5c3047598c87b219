// SPDX-License-Identifier: MIT
#pragma once

#include "platform/settings_page_opener.h"

#include <QList>
#include <QStringList>

namespace velmora
{

/// What opens the notification settings of these desktops (the most specific first), the best first, each a program
/// and its arguments. Empty for a desktop that has no such page, as far as is known.
[[nodiscard]] QList<QStringList> notificationSettingsCommands(const QStringList &desktops);

/// Starts the settings program of the desktop that runs.
class NotificationSettingsPage final : public SettingsPageOpener
{
public:
    /// The desktops come from XDG_CURRENT_DESKTOP.
    NotificationSettingsPage();
    explicit NotificationSettingsPage(QStringList desktops);

    [[nodiscard]] std::optional<QString> openNotificationSettings() override;

private:
    QStringList m_desktops;
};

} // namespace velmora
