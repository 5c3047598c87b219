// SPDX-License-Identifier: MIT
#pragma once

#include "platform/dbus_menu_types.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>

namespace velmora
{

class DBusMenu;

/// The D-Bus interface of a DBusMenu: com.canonical.dbusmenu, version 3. The names are the protocol's.
class DBusMenuAdaptor final : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version CONSTANT)
    Q_PROPERTY(QString TextDirection READ textDirection CONSTANT)
    Q_PROPERTY(QString Status READ status CONSTANT)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath CONSTANT)

public:
    /// Owned by the menu. `bus` is the connection on which the menu is registered.
    DBusMenuAdaptor(DBusMenu *menu, const QDBusConnection &bus);

    [[nodiscard]] uint version() const { return 3; }
    [[nodiscard]] QString textDirection() const;
    [[nodiscard]] QString status() const { return QStringLiteral("normal"); }
    [[nodiscard]] QStringList iconThemePath() const { return {}; }

public Q_SLOTS:
    uint GetLayout(int parentId, int recursionDepth, const QStringList &propertyNames, const QDBusMessage &message,
        velmora::DBusMenuNode &layout);
    QList<velmora::DBusMenuProperties> GetGroupProperties(const QList<int> &ids, const QStringList &propertyNames);
    QDBusVariant GetProperty(int id, const QString &name, const QDBusMessage &message);
    void Event(int id, const QString &eventId, const QDBusVariant &data, uint timestamp, const QDBusMessage &message);
    QList<int> EventGroup(const QList<velmora::DBusMenuEvent> &events);
    bool AboutToShow(int id, const QDBusMessage &message);
    QList<int> AboutToShowGroup(const QList<int> &ids, QList<int> &idErrors);

Q_SIGNALS:
    void ItemsPropertiesUpdated(
        const QList<velmora::DBusMenuProperties> &updatedProps, const QList<velmora::DBusMenuRemovals> &removedProps);
    void LayoutUpdated(uint revision, int parent);

private:
    [[nodiscard]] bool refuseUnknown(int id, const QDBusMessage &message);

    DBusMenu *m_menu;
    QDBusConnection m_bus;
};

} // namespace velmora
