// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/notification_permission.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <utility>

namespace velmora
{

/// KDE Plasma's switches for the notifications of one application, in its system settings under "Notifications".
///
/// Plasma has two: for the popups and for the history. Notifications that only go into the history are still shown,
/// so only both together are a refusal.
class PlasmaNotificationPermission final : public NotificationPermission
{
public:
    /// `files` are Plasma's notification settings, the most important first.
    PlasmaNotificationPermission(QString desktopEntry, QStringList files)
        : m_desktopEntry(std::move(desktopEntry))
        , m_files(std::move(files))
    {
    }

    [[nodiscard]] QCoro::Task<bool> isGranted(QDeadlineTimer deadline) override;

    /// Where the settings are by the rules of the desktop: the person's first, then the system's.
    [[nodiscard]] static QStringList defaultFiles();

private:
    QString m_desktopEntry;
    QStringList m_files;
};

} // namespace velmora
