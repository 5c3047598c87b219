// SPDX-License-Identifier: MIT
#include "platform/notification_settings_page.h"

#include "support/await.h"
#include "support/test_main.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class NotificationSettingsPageTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(m_folder->path()));
        qputenv("VELMORA_TEST_OUTCOME", QFile::encodeName(outcomePath()));
    }
    void cleanup() { qputenv("PATH", m_path); }

    void everyDesktopHasItsPrograms_data()
    {
        QTest::addColumn<QString>("desktops");
        QTest::addColumn<QString>("commands");
        const auto row = [](const char *desktops, const char *commands) {
            QTest::newRow(desktops) << QString::fromLatin1(desktops) << QString::fromLatin1(commands);
        };
        const char *gnome = "gnome-control-center notifications";
        row("GNOME", gnome);
        row("ubuntu:GNOME", gnome);
        row("pop:GNOME", gnome);
        row("GNOME-Classic:GNOME", gnome);
        row("Ubuntu", gnome);
        row("gnome", gnome);
        row("KDE", "systemsettings kcm_notifications|kcmshell6 kcm_notifications|kcmshell5 kcm_notifications");
        row("XFCE", "xfce4-notifyd-config");
        row("X-Cinnamon", "cinnamon-settings notifications");
        row("Cinnamon", "cinnamon-settings notifications");
        row("MATE", "mate-notification-properties");
        row("LXQt", "lxqt-config-notificationd");
        row("Budgie:GNOME", "budgie-control-center notifications|gnome-control-center notifications");
        row("sway", "");
        row("X-NIXOS:Hyprland", "");
        row("GNOMES", "");
        row("", "");
    }
    void everyDesktopHasItsPrograms()
    {
        QFETCH(QString, desktops);
        QStringList found;
        for (const auto &command : notificationSettingsCommands(desktops.split(QLatin1Char(':'), Qt::SkipEmptyParts)))
            found.append(command.join(QLatin1Char(' ')));
        QTEST(found.join(QLatin1Char('|')), "commands");
    }

    void theProgramIsStartedAndTheTerminalLeftAlone()
    {
        install(QStringLiteral("gnome-control-center"));
        QCOMPARE(NotificationSettingsPage({QStringLiteral("GNOME")}).openNotificationSettings(), std::nullopt);
        QCOMPARE(outcome(), "gnome-control-center\nnotifications\n/dev/null\n/dev/null\n/dev/null\n");
    }

    void theSecondBestIsStartedWhereTheBestIsNotInstalled()
    {
        install(QStringLiteral("kcmshell5"));
        QCOMPARE(NotificationSettingsPage({QStringLiteral("KDE")}).openNotificationSettings(), std::nullopt);
        QVERIFY(outcome().startsWith("kcmshell5\nkcm_notifications\n"));
    }

    void theBestIsStartedWhereSeveralAreInstalled()
    {
        install(QStringLiteral("kcmshell5"));
        install(QStringLiteral("systemsettings"));
        QCOMPARE(NotificationSettingsPage({QStringLiteral("KDE")}).openNotificationSettings(), std::nullopt);
        QVERIFY(outcome().startsWith("systemsettings\n"));
    }

    void whatIsNotInstalledIsNamed()
    {
        const auto message = NotificationSettingsPage({QStringLiteral("XFCE")}).openNotificationSettings();
        QVERIFY(message && message->contains(QStringLiteral("“xfce4-notifyd-config” is not installed")));
    }

    void whatCannotBeStartedIsNamed()
    {
        write(QStringLiteral("xfce4-notifyd-config"), "#!/nowhere/interpreter\n");
        const auto message = NotificationSettingsPage({QStringLiteral("XFCE")}).openNotificationSettings();
        QVERIFY(message && message->contains(QLatin1String("xfce4-notifyd-config")));
    }

    void anUnknownDesktopIsAMessage()
    {
        const auto message = NotificationSettingsPage({QStringLiteral("sway")}).openNotificationSettings();
        QVERIFY(message && message->contains(QLatin1String("does not know the notification settings")));
    }

    void theDesktopComesFromTheEnvironment()
    {
        install(QStringLiteral("mate-notification-properties"));
        const QByteArray before = qgetenv("XDG_CURRENT_DESKTOP");
        qputenv("XDG_CURRENT_DESKTOP", "MATE");
        NotificationSettingsPage page;
        qputenv("XDG_CURRENT_DESKTOP", before);
        QCOMPARE(page.openNotificationSettings(), std::nullopt);
        QVERIFY(outcome().startsWith("mate-notification-properties\n"));
    }

private:
    QString outcomePath() const { return m_folder->filePath(QStringLiteral("outcome")); }

    void write(const QString &name, const QByteArray &content)
    {
        QFile file(m_folder->filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    /// Installs a script that reports how it was started.
    void install(const QString &name)
    {
        write(name,
            "#!/bin/sh\nPATH=/usr/bin:/bin\nprintf '%s\\n' \"${0##*/}\" \"$@\" \"$(readlink /proc/self/fd/0)\" "
            "\"$(readlink /proc/$$/fd/1)\" \"$(readlink /proc/$$/fd/2)\" >\"$VELMORA_TEST_OUTCOME.new\"\n"
            "mv \"$VELMORA_TEST_OUTCOME.new\" \"$VELMORA_TEST_OUTCOME\"\n");
    }

    QByteArray outcome()
    {
        if (!waitUntil([this] { return QFile::exists(outcomePath()); }))
            return {};
        QFile file(outcomePath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QByteArray m_path;
};

VELMORA_TEST(NotificationSettingsPageTest)
#include "notification_settings_page_test.moc"
