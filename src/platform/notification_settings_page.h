// SPDX-License-Identifier: MIT
#pragma once

#include "platform/settings_page_opener.h"

#include <QList>
#include <QStringList>

namespace velmora
{

/// The commands that open the notification settings of these desktops (the most specific first), in order of
/// preference. Each is a program and its arguments. Empty if none is known.
[[nodiscard]] QList<QStringList> notificationSettingsCommands(const QStringList &desktops);

/// Starts the settings program of the current desktop.
class NotificationSettingsPage final : public SettingsPageOpener
{
public:
    /// Takes the desktops from XDG_CURRENT_DESKTOP.
    NotificationSettingsPage();
    explicit NotificationSettingsPage(QStringList desktops);

    [[nodiscard]] std::optional<QString> openNotificationSettings() override;

private:
    QStringList m_desktops;
};

} // namespace velmora
