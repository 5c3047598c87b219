// SPDX-License-Identifier: MIT
#include "platform/notification_settings_page.h"

#include "platform/current_desktops.h"
#include "platform/window_frames.h"

#include <QProcess>
#include <QStandardPaths>

namespace velmora
{

namespace
{

struct SettingsCommand {
    const char *desktop; ///< the name in XDG_CURRENT_DESKTOP, in lower case
    const char *command;
};

constexpr SettingsCommand kCommands[] = {
    {"gnome", "gnome-control-center notifications"},
    {"ubuntu", "gnome-control-center notifications"},
    {"kde", "systemsettings kcm_notifications"},
    {"kde", "kcmshell6 kcm_notifications"},
    {"kde", "kcmshell5 kcm_notifications"},
    {"xfce", "xfce4-notifyd-config"},
    {"x-cinnamon", "cinnamon-settings notifications"},
    {"cinnamon", "cinnamon-settings notifications"},
    {"mate", "mate-notification-properties"},
    {"lxqt", "lxqt-config-notificationd"},
    {"budgie", "budgie-control-center notifications"},
};

bool startDetached(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.setProcessEnvironment(environmentWithQtFrames());
    // Discard its output, which would go to Velmora's terminal.
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}

} // namespace

QList<QStringList> notificationSettingsCommands(const QStringList &desktops)
{
    QList<QStringList> commands;
    for (const QString &desktop : desktops) {
        for (const auto &known : kCommands) {
            const QStringList command = QString::fromLatin1(known.command).split(QLatin1Char(' '));
            if (desktop.compare(QLatin1String(known.desktop), Qt::CaseInsensitive) == 0 && !commands.contains(command))
                commands.append(command);
        }
    }
    return commands;
}

NotificationSettingsPage::NotificationSettingsPage()
    : NotificationSettingsPage(currentDesktops())
{
}

NotificationSettingsPage::NotificationSettingsPage(QStringList desktops)
    : m_desktops(std::move(desktops))
{
}

std::optional<QString> NotificationSettingsPage::openNotificationSettings()
{
    const auto commands = notificationSettingsCommands(m_desktops);
    if (commands.isEmpty())
        return QStringLiteral("Velmora does not know the notification settings of this desktop. "
                              "Allow notifications for Velmora in the desktop’s own settings.");
    for (const QStringList &command : commands) {
        const QString program = QStandardPaths::findExecutable(command.first());
        if (!program.isEmpty() && startDetached(program, command.mid(1)))
            return std::nullopt;
    }
    return QStringLiteral("The notification settings of this desktop could not be opened: “%1” is not installed or "
                          "cannot be started.")
        .arg(commands.first().first());
}

} // namespace velmora
