// SPDX-License-Identifier: MIT
#include "notifications/gnome_notification_permission.h"
#include "support/await.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

/// A process of its own, because GLib looks up the schemas only once.
class NotificationPermissionWithoutGnomeTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withoutGnomesSchemasNotificationsAreAllowed()
    {
        qputenv("XDG_DATA_DIRS", "/nonexistent");
        qputenv("XDG_DATA_HOME", "/nonexistent");
        qunsetenv("GSETTINGS_SCHEMA_DIR");
        GnomeNotificationPermission permission(QStringLiteral("com.tarvik.Velmora"));
        QVERIFY(awaitValue(permission.isGranted(QDeadlineTimer(10s))));
    }
};

VELMORA_TEST(NotificationPermissionWithoutGnomeTest)
#include "notification_permission_without_gnome_test.moc"
