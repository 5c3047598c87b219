// SPDX-License-Identifier: MIT
#pragma once

#include "support/await.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>

namespace velmora::testing
{

/// Another program on the private bus. Its calls run the event loop, because the called objects live in it.
class BusClient
{
public:
    explicit BusClient(QString name)
        : m_name(std::move(name))
        , m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, m_name))
    {
    }
    ~BusClient() { QDBusConnection::disconnectFromBus(m_name); }
    BusClient(const BusClient &) = delete;
    BusClient &operator=(const BusClient &) = delete;

    [[nodiscard]] QDBusConnection &bus() { return m_bus; }

    [[nodiscard]] QDBusMessage call(const QString &service, const QString &path, const QString &interface,
        const QString &member, const QVariantList &arguments = {})
    {
        QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, member);
        message.setArguments(arguments);
        const QDBusPendingCall pending = m_bus.asyncCall(message);
        if (!waitUntil([&pending] { return pending.isFinished(); }))
            qFatal("%s was not answered", qPrintable(member));
        return pending.reply();
    }

    /// The value as it came over the bus; invalid when there is no such property.
    [[nodiscard]] QVariant property(
        const QString &service, const QString &path, const QString &interface, const QString &name)
    {
        const QDBusMessage answer = call(
            service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"), {interface, name});
        return answer.arguments().value(0).value<QDBusVariant>().variant();
    }

    [[nodiscard]] bool hasOwner(const QString &service)
    {
        const QString bus = QStringLiteral("org.freedesktop.DBus");
        return call(bus, QStringLiteral("/org/freedesktop/DBus"), bus, QStringLiteral("NameHasOwner"), {service})
            .arguments()
            .value(0)
            .toBool();
    }

private:
    QString m_name;
    QDBusConnection m_bus;
};

} // namespace velmora::testing
