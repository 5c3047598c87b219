// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/notification_permission.h"

#include <QString>

#include <utility>

namespace velmora
{

/// GNOME's switch for the notifications of one application, in its settings under "Notifications". "Do not disturb"
/// does not count as a refusal, since the list still keeps the notifications.
class GnomeNotificationPermission final : public NotificationPermission
{
public:
    /// `desktopEntry` is the name of the desktop file without suffix.
    explicit GnomeNotificationPermission(QString desktopEntry)
        : m_desktopEntry(std::move(desktopEntry))
    {
    }

    [[nodiscard]] QCoro::Task<bool> isGranted(QDeadlineTimer deadline) override;

    /// The path of the application's settings: GNOME reduces its name to lower-case letters, digits and single dashes.
    [[nodiscard]] static QString settingsPath(const QString &desktopEntry);

private:
    QString m_desktopEntry;
};

} // namespace velmora
