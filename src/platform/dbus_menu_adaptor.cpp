// SPDX-License-Identifier: MIT
#include "platform/dbus_menu_adaptor.h"

#include "platform/dbus_menu.h"

#include <QLocale>

namespace velmora
{

DBusMenuAdaptor::DBusMenuAdaptor(DBusMenu *menu, const QDBusConnection &bus)
    : QDBusAbstractAdaptor(menu)
    , m_menu(menu)
    , m_bus(bus)
{
    registerDBusMenuTypes();
    connect(menu, &DBusMenu::layoutUpdated, this, [this] { Q_EMIT LayoutUpdated(m_menu->revision(), 0); });
    connect(menu, &DBusMenu::propertiesUpdated, this,
        [this](const QList<int> &ids) { Q_EMIT ItemsPropertiesUpdated(m_menu->properties(ids, {}), {}); });
}

QString DBusMenuAdaptor::textDirection() const
{
    return QLocale().textDirection() == Qt::RightToLeft ? QStringLiteral("rtl") : QStringLiteral("ltr");
}

bool DBusMenuAdaptor::refuseUnknown(int id, const QDBusMessage &message)
{
    if (m_menu->contains(id))
        return false;
    message.setDelayedReply(true);
    m_bus.send(message.createErrorReply(
        QDBusError::InvalidArgs, QStringLiteral("The menu has no entry with the id %1.").arg(id)));
    return true;
}

uint DBusMenuAdaptor::GetLayout(int parentId, int recursionDepth, const QStringList &propertyNames,
    const QDBusMessage &message, DBusMenuNode &layout)
{
    if (!refuseUnknown(parentId, message))
        layout = *m_menu->node(parentId, recursionDepth, propertyNames);
    return m_menu->revision();
}

QList<DBusMenuProperties> DBusMenuAdaptor::GetGroupProperties(const QList<int> &ids, const QStringList &propertyNames)
{
    return m_menu->properties(ids, propertyNames);
}

QDBusVariant DBusMenuAdaptor::GetProperty(int id, const QString &name, const QDBusMessage &message)
{
    if (refuseUnknown(id, message))
        return {};
    const QVariant value = m_menu->node(id, 0, {})->properties.value(name);
    if (!value.isValid()) {
        message.setDelayedReply(true);
        m_bus.send(message.createErrorReply(
            QDBusError::UnknownProperty, QStringLiteral("The entry has no property of this name.")));
    }
    return QDBusVariant(value);
}

void DBusMenuAdaptor::Event(int id, const QString &eventId, const QDBusVariant &, uint, const QDBusMessage &message)
{
    if (!refuseUnknown(id, message) && eventId == QLatin1String("clicked"))
        m_menu->click(id);
}

QList<int> DBusMenuAdaptor::EventGroup(const QList<DBusMenuEvent> &events)
{
    QList<int> unknown;
    bool isClicked = false;
    for (const auto &event : events) {
        if (!m_menu->contains(event.id)) {
            unknown.append(event.id);
        } else if (!isClicked && event.type == QLatin1String("clicked")) {
            // A click closes the menu, so only the first one counts.
            isClicked = true;
            m_menu->click(event.id);
        }
    }
    return unknown;
}

bool DBusMenuAdaptor::AboutToShow(int id, const QDBusMessage &message)
{
    // The menu is always up to date, since every change is announced.
    std::ignore = refuseUnknown(id, message);
    return false;
}

QList<int> DBusMenuAdaptor::AboutToShowGroup(const QList<int> &ids, QList<int> &idErrors)
{
    for (const int id : ids) {
        if (!m_menu->contains(id))
            idErrors.append(id);
    }
    return {};
}

} // namespace velmora
