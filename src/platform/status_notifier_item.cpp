// SPDX-License-Identifier: MIT
#include "platform/status_notifier_item.h"

#include "platform/activation_token.h"
#include "platform/dbus_menu_adaptor.h"

#include <QGuiApplication>

namespace velmora
{

namespace
{

QString itemPath()
{
    return QStringLiteral("/StatusNotifierItem");
}

QString menuPath()
{
    return QStringLiteral("/MenuBar");
}

QString wordFor(StatusItem::Status status)
{
    switch (status) {
    case StatusItem::Status::Passive:
        return QStringLiteral("Passive");
    case StatusItem::Status::Active:
        return QStringLiteral("Active");
    case StatusItem::Status::NeedsAttention:
        break;
    }
    return QStringLiteral("NeedsAttention");
}

} // namespace

StatusNotifierItem::StatusNotifierItem(const QDBusConnection &bus, const Options &options, QObject *parent)
    : StatusItem(parent)
    , m_bus(bus)
    , m_clickPlace(options.clickPlace)
    , m_content{options.id, {}, wordFor(Status::Active), {}, {}, {}}
    , m_adaptor(new StatusNotifierAdaptor(this, &m_content, QDBusObjectPath(menuPath()),
          {[this](QPoint place) { activate(place); },
              [this](const QString &token) {
                  provideToken(token);
              }}))
    , m_registration(bus, options.retryDelay)
{
    new DBusMenuAdaptor(&m_menu, m_bus);
    connect(
        &m_menu, &DBusMenu::triggered, this, [this](int id) { Q_EMIT menuTriggered(id, std::exchange(m_token, {})); });
    connect(&m_registration, &StatusNotifierRegistration::availabilityChanged, this, &StatusItem::availabilityChanged);
    m_bus.registerObject(menuPath(), &m_menu, QDBusConnection::ExportAdaptors);
    m_bus.registerObject(itemPath(), this, QDBusConnection::ExportAdaptors);
    m_registration.start();
}

StatusNotifierItem::~StatusNotifierItem()
{
    m_bus.unregisterObject(itemPath());
    m_bus.unregisterObject(menuPath());
    QDBusConnection::disconnectFromBus(m_bus.name());
}

StatusNotifierItem::ClickPlace StatusNotifierItem::clickPlaceOfSession()
{
    // In a Wayland session even a program on X11 gets coordinates in the panel's own system.
    const bool isX11 = QGuiApplication::platformName() == QLatin1String("xcb");
    return isX11 && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ? ClickPlace::Global : ClickPlace::Unknown;
}

void StatusNotifierItem::show(const Content &content)
{
    showText(content.title, content.detail);
    showIcon(content.icon);
    m_menu.setEntries(content.menu);
    showStatus(content.status);
}

void StatusNotifierItem::showText(const QString &title, const QString &detail)
{
    // Hosts interpret markup in the detail, but not in the title.
    const StatusNotifierToolTip toolTip{{}, {}, title, detail.toHtmlEscaped()};
    m_content.accessibleName = detail.isEmpty() ? title : QStringLiteral("%1, %2").arg(title, detail);
    if (std::exchange(m_content.title, title) != title) {
        Q_EMIT m_adaptor->NewTitle();
        Q_EMIT m_adaptor->XAyatanaNewLabel(title, title);
    }
    if (std::exchange(m_content.toolTip, toolTip) != toolTip)
        Q_EMIT m_adaptor->NewToolTip();
}

void StatusNotifierItem::showIcon(const QList<QImage> &images)
{
    const auto pixmaps = statusNotifierPixmaps(images);
    if (std::exchange(m_content.icon, pixmaps) == pixmaps)
        return;
    Q_EMIT m_adaptor->NewIcon();
    Q_EMIT m_adaptor->NewAttentionIcon();
}

void StatusNotifierItem::showStatus(Status status)
{
    const QString word = wordFor(status);
    if (std::exchange(m_content.status, word) != word)
        Q_EMIT m_adaptor->NewStatus(word);
}

void StatusNotifierItem::activate(QPoint place)
{
    const auto position = m_clickPlace == ClickPlace::Global ? std::optional(place) : std::nullopt;
    // Answer the host first: it may be waiting, and opening a window takes longer.
    QMetaObject::invokeMethod(
        this, [this, position] { Q_EMIT activated(position, std::exchange(m_token, {})); }, Qt::QueuedConnection);
}

void StatusNotifierItem::provideToken(const QString &token)
{
    m_token = checkedActivationToken(token);
}

} // namespace velmora
