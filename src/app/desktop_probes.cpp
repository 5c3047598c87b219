// SPDX-License-Identifier: MIT
#include "app/desktop_probes.h"

#include "dbus/bus_call.h"

#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QFile>

namespace velmora
{

namespace
{

const QString kBus = QStringLiteral("org.freedesktop.DBus");
const QString kHeading = QStringLiteral("Session");
const QString kKeyring = QStringLiteral("org.freedesktop.secrets");
const QString kNone = QStringLiteral("none");

/// Never reached: the deadline of the probes is earlier.
QDeadlineTimer deadline()
{
    return QDeadlineTimer(std::chrono::seconds(30));
}

QDBusMessage callTo(const QString &name, const QString &path, const QString &interface, const QString &method)
{
    QDBusMessage message = QDBusMessage::createMethodCall(name, path, interface, method);
    message.setAutoStartService(false);
    return message;
}

QCoro::Task<QVariantList> askBus(QDBusConnection bus, QString method, QString argument)
{
    QDBusMessage message = callTo(kBus, QStringLiteral("/org/freedesktop/DBus"), kBus, method);
    if (!argument.isEmpty())
        message.setArguments({argument});
    const QDBusMessage answer = co_await callBus(bus, message, deadline());
    if (answer.type() != QDBusMessage::ReplyMessage)
        co_return QVariantList();
    co_return answer.arguments();
}

/// The value of a property; invalid where there is none.
QCoro::Task<QVariant> propertyOf(QDBusConnection bus, QString name, QString path, QString interface, QString property)
{
    QDBusMessage message = callTo(name, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    message.setArguments({interface, property});
    const QDBusMessage answer = co_await callBus(bus, message, deadline());
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != QLatin1String("v"))
        co_return QVariant();
    co_return answer.arguments().first().value<QDBusVariant>().variant();
}

/// The owner of a name on the bus: the name of its process, or "there" where that cannot be read. Without an owner, the
/// text says whether the bus could start one.
struct Owner {
    bool isPresent = false;
    QString text;
};

QString processName(const QVariantList &answer)
{
    QFile file(QStringLiteral("/proc/%1/comm").arg(answer.value(0).toUInt()));
    if (answer.isEmpty() || !file.open(QIODevice::ReadOnly))
        return QStringLiteral("there");
    return QString::fromUtf8(file.readAll()).trimmed();
}

QCoro::Task<Owner> ownerOf(QDBusConnection bus, QString name)
{
    const QVariantList owner = co_await askBus(bus, QStringLiteral("GetNameOwner"), name);
    if (owner.isEmpty()) {
        const QVariantList startable = co_await askBus(bus, QStringLiteral("ListActivatableNames"), QString());
        const bool isStartable = startable.value(0).toStringList().contains(name);
        co_return Owner{
            false, isStartable ? QStringLiteral("not running; the bus starts one when it is needed") : kNone};
    }
    const QVariantList process = co_await askBus(bus, QStringLiteral("GetConnectionUnixProcessID"), name);
    co_return Owner{true, processName(process)};
}

QCoro::Task<QList<Finding>> askTrayHost(QDBusConnection bus, QString label)
{
    const QString name = QStringLiteral("org.kde.StatusNotifierWatcher");
    const QString path = QStringLiteral("/StatusNotifierWatcher");
    const Owner owner = co_await ownerOf(bus, name);
    QString text = owner.text;
    if (owner.isPresent) {
        const QVariant hasHost
            = co_await propertyOf(bus, name, path, name, QStringLiteral("IsStatusNotifierHostRegistered"));
        const QVariant version = co_await propertyOf(bus, name, path, name, QStringLiteral("ProtocolVersion"));
        text += hasHost.toBool() ? QStringLiteral(", shows items") : QStringLiteral(", shows no items");
        if (version.isValid())
            text += QStringLiteral(", protocol %1").arg(version.toInt());
    }
    const QList<Finding> findings{Finding{label, text}};
    co_return findings;
}

QCoro::Task<QList<Finding>> askNotificationServer(QDBusConnection bus, QString label)
{
    const QString name = QStringLiteral("org.freedesktop.Notifications");
    const QString path = QStringLiteral("/org/freedesktop/Notifications");
    const Owner owner = co_await ownerOf(bus, name);
    QList<Finding> findings{Finding{label, owner.text}};
    if (!owner.isPresent)
        co_return findings;
    const QDBusMessage question = callTo(name, path, name, QStringLiteral("GetServerInformation"));
    const QDBusMessage answer = co_await callBus(bus, question, deadline());
    if (answer.signature() == QLatin1String("ssss")) {
        const QVariantList told = answer.arguments();
        findings.first().text
            = QStringLiteral("%1 %2 by %3, protocol %4")
                  .arg(told.at(0).toString(), told.at(2).toString(), told.at(1).toString(), told.at(3).toString());
    }
    const QDBusMessage capabilities = callTo(name, path, name, QStringLiteral("GetCapabilities"));
    const QDBusMessage list = co_await callBus(bus, capabilities, deadline());
    if (list.signature() == QLatin1String("as"))
        findings.append(
            Finding{QStringLiteral("can show"), list.arguments().first().toStringList().join(QStringLiteral(", "))});
    co_return findings;
}

QCoro::Task<QList<Finding>> askPortal(QDBusConnection bus, QString label)
{
    const QString name = QStringLiteral("org.freedesktop.portal.Desktop");
    const Owner owner = co_await ownerOf(bus, name);
    QString text = owner.text;
    if (owner.isPresent) {
        const QVariant version = co_await propertyOf(bus, name, QStringLiteral("/org/freedesktop/portal/desktop"),
            QStringLiteral("org.freedesktop.portal.Notification"), QStringLiteral("version"));
        text = version.isValid() ? QStringLiteral("portal, version %1").arg(version.toUInt())
                                 : QStringLiteral("a portal without notifications");
    }
    const QList<Finding> findings{Finding{label, text}};
    co_return findings;
}

QCoro::Task<QList<Finding>> askKeyring(QDBusConnection bus, QString label)
{
    const Owner owner = co_await ownerOf(bus, kKeyring);
    QString text = owner.text;
    if (owner.isPresent) {
        QDBusMessage question = callTo(kKeyring, QStringLiteral("/org/freedesktop/secrets"),
            QStringLiteral("org.freedesktop.Secret.Service"), QStringLiteral("ReadAlias"));
        question.setArguments({QStringLiteral("default")});
        const QDBusMessage answer = co_await callBus(bus, question, deadline());
        const auto path = answer.signature() == QLatin1String("o")
            ? answer.arguments().first().value<QDBusObjectPath>().path()
            : QStringLiteral("/");
        QVariant isLocked;
        if (path != QLatin1String("/"))
            isLocked = co_await propertyOf(
                bus, kKeyring, path, QStringLiteral("org.freedesktop.Secret.Collection"), QStringLiteral("Locked"));
        if (!isLocked.isValid())
            text += QStringLiteral(", without a default keyring");
        else
            text += isLocked.toBool() ? QStringLiteral(", locked") : QStringLiteral(", unlocked");
    }
    const QList<Finding> findings{Finding{label, text}};
    co_return findings;
}

QCoro::Task<QList<Finding>> askForVelmora(QDBusConnection bus, QString label)
{
    const QVariantList answer
        = co_await askBus(bus, QStringLiteral("NameHasOwner"), QStringLiteral("com.tarvik.Velmora"));
    const bool isRunning = answer.value(0).toBool();
    const QList<Finding> findings{
        Finding{label, isRunning ? QStringLiteral("running") : QStringLiteral("not running")}};
    co_return findings;
}

using Question = QCoro::Task<QList<Finding>> (*)(QDBusConnection, QString);

Probe probe(const QString &label, Question question, const QDBusConnection &bus)
{
    return Probe{kHeading, label, [=](const std::stop_token &) {
                     return question(bus, label);
                 }};
}

} // namespace

QCoro::Task<bool> isKeyringRunning(QDBusConnection bus, std::chrono::milliseconds patience, std::stop_token stop)
{
    QDBusMessage question = callOfTheBus(QStringLiteral("NameHasOwner"));
    question.setArguments({kKeyring});
    const QDBusMessage answer = co_await callBus(bus, question, QDeadlineTimer(patience), stop);
    co_return answer.type() == QDBusMessage::ReplyMessage &&answer.arguments().value(0).toBool();
}

QList<Probe> desktopProbes(const QDBusConnection &bus, bool isInsideFlatpak)
{
    return {probe(QStringLiteral("tray host"), &askTrayHost, bus),
        probe(QStringLiteral("notifications"), isInsideFlatpak ? &askPortal : &askNotificationServer, bus),
        probe(QStringLiteral("keyring"), &askKeyring, bus), probe(QStringLiteral("Velmora"), &askForVelmora, bus)};
}

} // namespace velmora
