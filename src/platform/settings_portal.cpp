// SPDX-License-Identifier: MIT
#include "platform/settings_portal.h"

#include "dbus/bus_call.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>

namespace velmora
{

namespace
{

BusObject portal()
{
    return {QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Settings")};
}

QStringList namespaces()
{
    return {QStringLiteral("org.freedesktop.appearance"), QStringLiteral("org.gnome.desktop.interface"),
        QStringLiteral("org.gnome.desktop.a11y.interface"), QStringLiteral("org.kde.kdeglobals.*")};
}

QString nameOf(const QString &nameSpace, const QString &key)
{
    return nameSpace + QLatin1Char('/') + key;
}

} // namespace

SettingsPortal::SettingsPortal(QDBusConnection bus, QObject *parent)
    : QObject(parent)
    , m_bus(std::move(bus))
{
    if (m_bus.isConnected())
        m_bus.connect(portal().name, portal().path, portal().interface, QStringLiteral("SettingChanged"), this,
            SLOT(receiveChange(QDBusMessage)));
}

QCoro::Task<DesktopSettings> SettingsPortal::read(QDeadlineTimer deadline)
{
    DesktopSettings settings;
    QDBusMessage question = portal().call(QStringLiteral("ReadAll"), {namespaces()});
    // At login the portal may not run yet.
    question.setAutoStartService(true);
    const QDBusMessage answer = co_await callBus(m_bus, question, deadline);
    if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != QLatin1String("a{sa{sv}}"))
        co_return settings;
    const auto all = qdbus_cast<QMap<QString, QVariantMap>>(answer.arguments().constFirst());
    for (auto group = all.cbegin(); group != all.cend(); ++group) {
        for (auto entry = group->cbegin(); entry != group->cend(); ++entry)
            settings.insert(nameOf(group.key(), entry.key()), entry.value());
    }
    co_return settings;
}

void SettingsPortal::receiveChange(const QDBusMessage &message)
{
    if (message.signature() != QLatin1String("ssv"))
        return;
    const QVariantList arguments = message.arguments();
    Q_EMIT changed(nameOf(arguments.at(0).toString(), arguments.at(1).toString()),
        arguments.at(2).value<QDBusVariant>().variant());
}

} // namespace velmora
