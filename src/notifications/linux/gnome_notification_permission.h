// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/notification_permission.h"

#include <QString>

#include <utility>

namespace velmora
{

/// GNOME's switch for the notifications of one application, in its settings under "Notifications". "Do not disturb" is
/// no refusal: the notifications wait in the list.
class GnomeNotificationPermission final : public NotificationPermission
{
public:
    /// `desktopEntry` is the name of the desktop file without its suffix.
    explicit GnomeNotificationPermission(QString desktopEntry)
        : m_desktopEntry(std::move(desktopEntry))
    {
    }

    [[nodiscard]] QCoro::Task<bool> isGranted(QDeadlineTimer deadline) override;

    /// The place of the application's settings: GNOME keeps small letters, digits and single dashes of its name.
    [[nodiscard]] static QString settingsPath(const QString &desktopEntry);

private:
    QString m_desktopEntry;
};

} // namespace velmora
