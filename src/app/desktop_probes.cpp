// SPDX-License-Identifier: MIT
#include "app/desktop_probes.h"

#include "dbus/bus_call.h"
#include "dbus/bus_error.h"
#include "diagnostics/texts.h"
#include "notifications/desktop_notifications.h"

#include <QDBusObjectPath>
#include <QFile>

namespace velmora
{

namespace
{

using Answer = QCoro::Task<QString>;

const QString kKeyring = QStringLiteral("org.freedesktop.secrets");
/// The deadline of the probes is earlier.
const QDeadlineTimer kUnlimited(QDeadlineTimer::Forever);

QCoro::Task<QVariant> propertyOf(QDBusConnection bus, BusObject object, QString property)
{
    const QDBusMessage answer = co_await callBus(bus, object.get(property), kUnlimited);
    co_return propertyIn(answer);
}

Answer processName(QDBusConnection bus, QString owner)
{
    const QDBusMessage question = theBus().call(QStringLiteral("GetConnectionUnixProcessID"), QVariantList(1, owner));
    const QDBusMessage answer = co_await callBus(bus, question, kUnlimited);
    QFile file(QStringLiteral("/proc/%1/comm").arg(answer.arguments().value(0).toUInt()));
    const QString name = file.open(QIODevice::ReadOnly) ? plainName(QString::fromUtf8(file.readAll())) : QString();
    co_return name.isEmpty() ? QStringLiteral("there") : name;
}

/// A service of the session.
struct Service {
    QString name;
    QStringList startingNames; ///< the names under which the bus may know how to start it
    Answer (*describe)(QDBusConnection, QString process); ///< what it says, beside the name of its process
};

Answer askService(QDBusConnection bus, Service service)
{
    const QString owner = co_await ownerOf(bus, service.name, kUnlimited);
    if (!owner.isEmpty()) {
        const QString process = co_await processName(bus, owner);
        const QString text = co_await service.describe(bus, process);
        co_return QString(text);
    }
    const QStringList startable = co_await startableNames(bus, kUnlimited);
    for (const QString &name : service.startingNames) {
        if (startable.contains(name))
            co_return QStringLiteral("not running; the bus starts one when it is needed");
    }
    co_return QStringLiteral("none");
}

const QString kTrayHost = QStringLiteral("org.kde.StatusNotifierWatcher");

Answer describeTrayHost(QDBusConnection bus, QString process)
{
    const BusObject watcher{kTrayHost, QStringLiteral("/StatusNotifierWatcher"), kTrayHost};
    const QVariant hasHost = co_await propertyOf(bus, watcher, QStringLiteral("IsStatusNotifierHostRegistered"));
    const QVariant version = co_await propertyOf(bus, watcher, QStringLiteral("ProtocolVersion"));
    const QString text
        = process + (hasHost.toBool() ? QStringLiteral(", shows items") : QStringLiteral(", shows no items"));
    co_return version.isValid() ? text + QStringLiteral(", protocol %1").arg(version.toInt()) : text;
}

/// The answer of a server to GetServerInformation, as far as it has the form of names and versions.
QString serverInformation(const QStringList &answer, const QString &process)
{
    const QString name = plainName(answer.at(0));
    QString text = name.isEmpty() ? process : name;
    const auto add = [&text](const QString &pattern, const QString &part) {
        if (!part.isEmpty())
            text += pattern.arg(part);
    };
    add(QStringLiteral(" %1"), plainVersion(answer.at(2)));
    add(QStringLiteral(" by %1"), plainName(answer.at(1)));
    add(QStringLiteral(", protocol %1"), plainVersion(answer.at(3)));
    return text;
}

const QString kNotifications = QStringLiteral("org.freedesktop.Notifications");

BusObject notificationServer()
{
    return {kNotifications, QStringLiteral("/org/freedesktop/Notifications"), kNotifications};
}

Answer describeNotificationServer(QDBusConnection bus, QString process)
{
    const QDBusMessage question = notificationServer().call(QStringLiteral("GetServerInformation"));
    const QDBusMessage answer = co_await callBus(bus, question, kUnlimited);
    if (answer.signature() != QLatin1String("ssss"))
        co_return QString(process);
    const QStringList told = QVariant(answer.arguments()).toStringList();
    co_return serverInformation(told, process);
}

Answer askForCapabilities(QDBusConnection bus)
{
    const QDBusMessage question = notificationServer().call(QStringLiteral("GetCapabilities"));
    const QDBusMessage answer = co_await callBus(bus, question, kUnlimited);
    QStringList capabilities;
    if (answer.signature() == QLatin1String("as"))
        capabilities = answer.arguments().constFirst().toStringList();
    for (QString &capability : capabilities)
        capability = plainName(capability);
    capabilities.removeAll(QString());
    co_return capabilities.join(QStringLiteral(", "));
}

const QString kPortal = QStringLiteral("org.freedesktop.portal.Desktop");

Answer describePortal(QDBusConnection bus, QString)
{
    const BusObject portal{kPortal, QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Notification")};
    const QVariant version = co_await propertyOf(bus, portal, QStringLiteral("version"));
    co_return version.isValid() ? QStringLiteral("portal, version %1").arg(version.toUInt())
                                : QStringLiteral("a portal without notifications");
}

/// The names under which the bus starts a keyring for Velmora: KWallet has one of its own, which is used on its
/// desktop.
QStringList startingNamesOfKeyring()
{
    QStringList names(kKeyring);
    if (DesktopSession::present().desktops.contains(QLatin1String("KDE")))
        names.append({QStringLiteral("org.kde.kwalletd6"), QStringLiteral("org.kde.kwalletd5")});
    return names;
}

/// Whether KWallet holds the wallet open. Its Secret Service calls a wallet locked until a program has unlocked it
/// there, even if the login has opened it.
QCoro::Task<bool> isOpenWallet(QDBusConnection bus, BusObject collection)
{
    const QVariant label = co_await propertyOf(bus, collection, QStringLiteral("Label"));
    const QStringList paths{QStringLiteral("/modules/kwalletd6"), QStringLiteral("/modules/kwalletd5")};
    for (const QString &path : paths) {
        const BusObject wallets{kKeyring, path, QStringLiteral("org.kde.KWallet")};
        const QDBusMessage question = wallets.call(QStringLiteral("isOpen"), {label.toString()});
        const QDBusMessage answer = co_await callBus(bus, question, kUnlimited);
        if (answer.signature() == QLatin1String("b") && answer.arguments().constFirst().toBool())
            co_return true;
    }
    co_return false;
}

Answer describeKeyring(QDBusConnection bus, QString process)
{
    const BusObject keyring{
        kKeyring, QStringLiteral("/org/freedesktop/secrets"), QStringLiteral("org.freedesktop.Secret.Service")};
    const QDBusMessage question = keyring.call(QStringLiteral("ReadAlias"), {QStringLiteral("default")});
    const QDBusMessage answer = co_await callBus(bus, question, kUnlimited);
    const QString path = answer.arguments().value(0).value<QDBusObjectPath>().path();
    const BusObject collection{kKeyring, path, QStringLiteral("org.freedesktop.Secret.Collection")};
    QVariant isLocked;
    if (path.size() > 1) // "/" for none
        isLocked = co_await propertyOf(bus, collection, QStringLiteral("Locked"));
    if (!isLocked.isValid())
        co_return process + QStringLiteral(", without a default keyring");
    bool isOpen = !isLocked.toBool();
    if (!isOpen)
        isOpen = co_await isOpenWallet(bus, collection);
    co_return process + (isOpen ? QStringLiteral(", unlocked") : QStringLiteral(", locked"));
}

Answer askForVelmora(QDBusConnection bus)
{
    const QString owner = co_await ownerOf(bus, QStringLiteral("com.tarvik.Velmora"), kUnlimited);
    const QString text = owner.isEmpty() ? QStringLiteral("not running") : QStringLiteral("running");
    co_return QString(text);
}

Probe probe(const QString &label, const QDBusConnection &bus, const Service &service)
{
    return oneLine(label, [=](const std::stop_token &) { return askService(bus, service); });
}

} // namespace

QCoro::Task<bool> isKeyringRunning(QDBusConnection bus, QDeadlineTimer deadline, std::stop_token stop)
{
    try {
        const QString owner = co_await ownerOf(bus, kKeyring, deadline, stop);
        co_return !owner.isEmpty();
    } catch (const BusError &) {
        co_return false;
    }
}

QList<Probe> desktopProbes(const QDBusConnection &bus, bool isInsideFlatpak)
{
    QList<Probe> probes{probe(QStringLiteral("tray host"), bus, {kTrayHost, {kTrayHost}, &describeTrayHost})};
    const QString notifications = QStringLiteral("notifications");
    if (isInsideFlatpak)
        probes.append(probe(notifications, bus, {kPortal, {kPortal}, &describePortal}));
    else
        probes.append({probe(notifications, bus, {kNotifications, {kNotifications}, &describeNotificationServer}),
            oneLine(QStringLiteral("can show"), [bus](const std::stop_token &) { return askForCapabilities(bus); })});
    probes.append({probe(QStringLiteral("keyring"), bus, {kKeyring, startingNamesOfKeyring(), &describeKeyring}),
        oneLine(QStringLiteral("Velmora"), [bus](const std::stop_token &) { return askForVelmora(bus); })});
    return probes;
}

} // namespace velmora
