// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace velmora
{

/// The texts of the General tab. An ampersand marks the mnemonic of a control.
struct GeneralSettingsTexts {
    static QString notifications() { return QStringLiteral("Notifications"); }
    static QString notifyFailures() { return QStringLiteral("Notify me when deployments &fail"); }
    static QString notifySuccesses() { return QStringLiteral("Notify me when deployments &succeed"); }
    static QString notifyWaiting() { return QStringLiteral("Notify me when deployments &wait for approval"); }
    static QString notificationsHelp()
    {
        return QStringLiteral("Velmora sends one notification when a deployment changes to a selected result.");
    }
    static QString whose() { return QStringLiteral("Notify me about"); }
    static QString everybodys() { return QStringLiteral("everybody's deployments"); }
    static QString onlyMine() { return QStringLiteral("only those I started"); }
    static QString whoseHelp()
    {
        return QStringLiteral("Yours are the deployments that a connected account has created. Those that a bot has "
                              "created are nobody's.");
    }
    static QString openNotificationSettings() { return QStringLiteral("&Open Notification Settings"); }
    static QString failures() { return QStringLiteral("Failures"); }
    static QString ignoreMended() { return QStringLiteral("&Mended failures no longer count"); }
    static QString ignoreMendedHelp()
    {
        return QStringLiteral("A failure is mended when a later deployment to the same environment of its repository "
                              "succeeds. It stays in the list, and is drawn quietly.");
    }
    static QString startup() { return QStringLiteral("Startup"); }
    static QString launchAtLogin() { return QStringLiteral("&Launch Velmora at login"); }
    static QString startupHelp()
    {
        return QStringLiteral("Keep deployment monitoring available after you sign in to your computer.");
    }
};

} // namespace velmora
