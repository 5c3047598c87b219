// SPDX-License-Identifier: MIT
#pragma once

#include <QCoreApplication>
#include <QString>

namespace velmora
{

/// The texts of the General tab. An ampersand marks the mnemonic of a control.
struct GeneralSettingsTexts {
    Q_DECLARE_TR_FUNCTIONS(GeneralSettingsView)

public:
    static QString notifications() { return tr("Notifications"); }
    static QString notifyFailures() { return tr("Notify me when deployments &fail"); }
    static QString notifySuccesses() { return tr("Notify me when deployments &succeed"); }
    static QString notificationsHelp()
    {
        return tr("Velmora sends one notification when a deployment changes to a selected result.");
    }
    static QString openNotificationSettings() { return tr("&Open Notification Settings"); }
    static QString startup() { return tr("Startup"); }
    static QString launchAtLogin() { return tr("&Launch Velmora at login"); }
    static QString startupHelp()
    {
        return tr("Keep deployment monitoring available after you sign in to your computer.");
    }
};

} // namespace velmora
