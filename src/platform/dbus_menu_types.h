// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusArgument>
#include <QDBusVariant>
#include <QList>
#include <QStringList>
#include <QVariant>

namespace velmora
{

/// (ia{sv}av): an entry and its children, each a variant of this type.
struct DBusMenuNode {
    int id = 0;
    QVariantMap properties;
    QVariantList children;
};

/// (ia{sv})
struct DBusMenuProperties {
    int id = 0;
    QVariantMap properties;
};

/// (ias): the names of properties that have their defaults again.
struct DBusMenuRemovals {
    int id = 0;
    QStringList names;
};

/// (isvu)
struct DBusMenuEvent {
    int id = 0;
    QString type;
    QDBusVariant data;
    uint timestamp = 0;
};

QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuNode &node);
const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuNode &node);
QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuProperties &properties);
const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuProperties &properties);
QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuRemovals &removals);
const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuRemovals &removals);
QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuEvent &event);
const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuEvent &event);

/// Registers the types with D-Bus. May be called again.
void registerDBusMenuTypes();

} // namespace velmora

Q_DECLARE_METATYPE(velmora::DBusMenuNode)
Q_DECLARE_METATYPE(velmora::DBusMenuProperties)
Q_DECLARE_METATYPE(velmora::DBusMenuRemovals)
Q_DECLARE_METATYPE(velmora::DBusMenuEvent)
