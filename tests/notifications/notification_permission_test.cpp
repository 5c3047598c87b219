// SPDX-License-Identifier: MIT
// Included before Qt, which defines "signals", a name that GIO uses.
#include <gio/gio.h>

#include "notifications/desktop_notifications.h"
#include "notifications/gnome_notification_permission.h"
#include "notifications/plasma_notification_permission.h"
#include "notifications/portal_notification_permission.h"
#include "support/await.h"
#include "support/test_main.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

const QString kApplication = QStringLiteral("com.tarvik.Velmora");

void writeFile(const QString &path, const QByteArray &content)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

/// Sets a switch like GNOME's settings do; the schema is GNOME's own.
void setGnomeSwitch(const char *schema, const char *path, const char *key, bool isOn)
{
    GSettings *const settings = path ? g_settings_new_with_path(schema, path) : g_settings_new(schema);
    g_settings_set_boolean(settings, key, isOn ? TRUE : FALSE);
    g_object_unref(settings);
}

} // namespace

class NotificationPermissionTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // GLib reads the environment only once.
        QVERIFY(m_folder.isValid());
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_folder.path()));
        qputenv("GSETTINGS_BACKEND", "memory");
    }

    void gnomesPlaceIsMadeFromTheName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("place");
        QTest::newRow("ours") << kApplication << QStringLiteral("com-tarvik-velmora");
        QTest::newRow("dashes") << QStringLiteral("a--b._c") << QStringLiteral("a-b-c");
        QTest::newRow("digits") << QStringLiteral("X9") << QStringLiteral("x9");
    }
    void gnomesPlaceIsMadeFromTheName()
    {
        QFETCH(QString, name);
        QFETCH(QString, place);
        QCOMPARE(GnomeNotificationPermission::settingsPath(name),
            QStringLiteral("/org/gnome/desktop/notifications/application/%1/").arg(place));
    }

    void gnomesSwitchIsTheAnswer()
    {
        GnomeNotificationPermission permission(kApplication);
        const auto isGranted = [&permission] {
            return awaitValue(permission.isGranted(QDeadlineTimer(10s)));
        };
        QVERIFY(isGranted());
        setGnomeSwitch("org.gnome.desktop.notifications.application",
            "/org/gnome/desktop/notifications/application/org-other/", "enable", false);
        QVERIFY(isGranted());
        // "Do not disturb" has no effect on the permission.
        setGnomeSwitch("org.gnome.desktop.notifications", nullptr, "show-banners", false);
        QVERIFY(isGranted());
        const char *const ours = "/org/gnome/desktop/notifications/application/com-tarvik-velmora/";
        setGnomeSwitch("org.gnome.desktop.notifications.application", ours, "enable", false);
        QVERIFY(!isGranted());
        setGnomeSwitch("org.gnome.desktop.notifications.application", ours, "enable", true);
        QVERIFY(isGranted());
    }

    void plasmasSwitchesAreTheAnswer_data()
    {
        QTest::addColumn<QByteArray>("settings");
        QTest::addColumn<bool>("isGranted");
        const QByteArray group = "[Applications][com.tarvik.Velmora]\n";
        const QByteArray off = "ShowPopups=false\nShowInHistory=false\n";
        QTest::newRow("never touched") << QByteArray() << true;
        QTest::newRow("off") << group + off << false;
        QTest::newRow("no popups, but a history") << group + "ShowPopups=false\n" << true;
        QTest::newRow("no history, but popups") << group + "ShowInHistory=false\n" << true;
        QTest::newRow("on") << group + "ShowPopups=true\nShowInHistory=true\n" << true;
        QTest::newRow("another application") << "[Applications][org.other]\n" + off << true;
        QTest::newRow("longer name") << "[Applications][com.tarvik.VelmoraX]\n" + off << true;
        QTest::newRow("another group") << "[Services][com.tarvik.Velmora]\n" + off << true;
        QTest::newRow("group of the group") << "[Applications][com.tarvik.Velmora][Events]\n" + off << true;
        QTest::newRow("after another group") << "[DoNotDisturb]\nUntil=2999\n\n" + group + off << false;
        QTest::newRow("before another group") << group + off + "[Applications][org.other]\nShowPopups=true\n" << false;
        QTest::newRow("marked") << QByteArray("[Applications][com.tarvik.Velmora][$i]\nShowPopups[$i]=false\n"
                                              "ShowInHistory[$e]=false\n")
                                << false;
        QTest::newRow("other words") << group + " ShowPopups = Off \r\nShowInHistory=0\r\n" << false;
        QTest::newRow("words that mean yes") << group + "ShowPopups=on\nShowInHistory=no\n" << true;
        QTest::newRow("no words") << group + "ShowPopups=perhaps\nShowInHistory=\n" << true;
        QTest::newRow("no entries") << group + "ShowPopups\n=false\n# ShowInHistory=false\n" << true;
        QTest::newRow("noise") << QByteArray("\0\xff[[[\n]=\n", 9) << true;
    }
    void plasmasSwitchesAreTheAnswer()
    {
        QFETCH(QByteArray, settings);
        QFETCH(bool, isGranted);
        const QString file = m_folder.filePath(QStringLiteral("plasmanotifyrc"));
        writeFile(file, settings);
        PlasmaNotificationPermission permission(kApplication, {file});
        QCOMPARE(awaitValue(permission.isGranted(QDeadlineTimer(10s))), isGranted);
    }

    void thePersonsPlasmaFileCountsBeforeTheSystems()
    {
        const QString own = m_folder.filePath(QStringLiteral("own"));
        const QString system = m_folder.filePath(QStringLiteral("system"));
        const QByteArray group = "[Applications][com.tarvik.Velmora]\n";
        writeFile(own, group + "ShowPopups=true\n");
        writeFile(system, group + "ShowPopups=false\nShowInHistory=false\n");
        PlasmaNotificationPermission first(kApplication, {own, system});
        QVERIFY(awaitValue(first.isGranted(QDeadlineTimer(10s))));
        PlasmaNotificationPermission second(kApplication, {system, own});
        QVERIFY(!awaitValue(second.isGranted(QDeadlineTimer(10s))));
        PlasmaNotificationPermission neither(kApplication, {m_folder.filePath(QStringLiteral("missing"))});
        QVERIFY(awaitValue(neither.isGranted(QDeadlineTimer(10s))));
    }

    void plasmasOwnFilesAreFound()
    {
        const QString file = m_folder.filePath(QStringLiteral("plasmanotifyrc"));
        writeFile(file, "[Applications][com.tarvik.Velmora]\nShowPopups=false\nShowInHistory=false\n");
        QCOMPARE(PlasmaNotificationPermission::defaultFiles().value(0), file);
    }

    void aFileThatPlasmaMakesLaterIsFound()
    {
        const QString file = m_folder.filePath(QStringLiteral("plasmanotifyrc"));
        QFile::remove(file);
        PlasmaNotificationPermission permission(kApplication, PlasmaNotificationPermission::defaultFiles());
        QVERIFY(awaitValue(permission.isGranted(QDeadlineTimer(10s))));
        writeFile(file, "[Applications][com.tarvik.Velmora]\nShowPopups=false\nShowInHistory=false\n");
        QVERIFY(!awaitValue(permission.isGranted(QDeadlineTimer(10s))));
    }

    void everyDesktopIsAskedInItsOwnWay_data()
    {
        QTest::addColumn<QStringList>("desktops");
        QTest::addColumn<bool>("isSandboxed");
        QTest::addColumn<QString>("asked");
        const QString none;
        QTest::newRow("GNOME") << QStringList{QStringLiteral("ubuntu"), QStringLiteral("GNOME")} << false
                               << QStringLiteral("GNOME");
        QTest::newRow("Budgie") << QStringList{QStringLiteral("Budgie")} << false << QStringLiteral("GNOME");
        QTest::newRow("Plasma") << QStringList{QStringLiteral("KDE")} << false << QStringLiteral("KDE");
        QTest::newRow("XFCE") << QStringList{QStringLiteral("XFCE")} << false << none;
        QTest::newRow("unknown") << QStringList() << false << none;
        QTest::newRow("sandbox") << QStringList{QStringLiteral("GNOME")} << true << QStringLiteral("portal");
    }
    void everyDesktopIsAskedInItsOwnWay()
    {
        QFETCH(QStringList, desktops);
        QFETCH(bool, isSandboxed);
        QFETCH(QString, asked);
        const QDBusConnection none(QStringLiteral("no connection"));
        const auto permission = desktopNotificationPermission(none, DesktopSession{desktops, isSandboxed});
        QCOMPARE(
            dynamic_cast<GnomeNotificationPermission *>(permission.get()) != nullptr, asked == QLatin1String("GNOME"));
        QCOMPARE(
            dynamic_cast<PlasmaNotificationPermission *>(permission.get()) != nullptr, asked == QLatin1String("KDE"));
        QCOMPARE(dynamic_cast<PortalNotificationPermission *>(permission.get()) != nullptr,
            asked == QLatin1String("portal"));
        if (asked.isEmpty())
            QVERIFY(awaitValue(permission->isGranted(QDeadlineTimer(10s))));
    }

    void theSessionIsThatOfTheEnvironment()
    {
        qputenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
        const QStringList expected{QStringLiteral("ubuntu"), QStringLiteral("GNOME")};
        QCOMPARE(DesktopSession::present().desktops, expected);
        QCOMPARE(DesktopSession::present().isSandboxed, QFile::exists(QStringLiteral("/.flatpak-info")));
    }

    void aSettingThatCannotBeReadInTimeIsNotWaitedFor()
    {
        // Opening a pipe blocks until it has two ends.
        const QByteArray pipe = QFile::encodeName(m_folder.filePath(QStringLiteral("pipe")));
        QCOMPARE(::mkfifo(pipe.constData(), 0600), 0);
        PlasmaNotificationPermission permission(kApplication, {QFile::decodeName(pipe)});
        QVERIFY(awaitValue(permission.isGranted(QDeadlineTimer(100ms))));
        ::close(::open(pipe.constData(), O_WRONLY | O_CLOEXEC));
        QVERIFY(QThreadPool::globalInstance()->waitForDone(10'000));
        drainEvents();
    }

private:
    QTemporaryDir m_folder;
};

VELMORA_TEST(NotificationPermissionTest)
#include "notification_permission_test.moc"
