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
/// Plasma has two: for popups and for the history. Only both together count as a refusal, since the history alone still
/// shows the notifications.
class PlasmaNotificationPermission final : public NotificationPermission
{
public:
    /// `files` are Plasma's notification settings, in order of precedence.
    PlasmaNotificationPermission(QString desktopEntry, QStringList files)
        : m_desktopEntry(std::move(desktopEntry))
        , m_files(std::move(files))
    {
    }

    [[nodiscard]] QCoro::Task<bool> isGranted(QDeadlineTimer deadline) override;

    /// The standard files: the user's first, then the system's.
    [[nodiscard]] static QStringList defaultFiles();

private:
    QString m_desktopEntry;
    QStringList m_files;
};

} // namespace velmora
