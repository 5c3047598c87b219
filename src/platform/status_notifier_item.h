// SPDX-License-Identifier: MIT
#pragma once

#include "platform/dbus_menu.h"
#include "platform/status_item.h"
#include "platform/status_notifier_adaptor.h"
#include "platform/status_notifier_registration.h"

#include <QDBusConnection>

namespace velmora
{

/// A tray item with the protocol org.kde.StatusNotifierItem, and a menu with com.canonical.dbusmenu.
class StatusNotifierItem final : public StatusItem
{
    Q_OBJECT

public:
    /// The meaning of a click's coordinates. It depends on the desktop, not on the host alone.
    enum class ClickPlace {
        Global, ///< a point on the screens
        Unknown, ///< relative to an origin that only the host knows
    };

    struct Options {
        QString id; ///< the application's, the same in every run
        ClickPlace clickPlace = ClickPlace::Global;
        std::chrono::milliseconds retryDelay = std::chrono::seconds(1);
    };

    /// `bus` is a connection to the session bus for this item alone. The item disconnects it, since hosts recognise the
    /// end of an item by the end of its connection.
    StatusNotifierItem(const QDBusConnection &bus, const Options &options, QObject *parent = nullptr);
    ~StatusNotifierItem() override;

    /// The meaning of coordinates in this session. The application object must exist.
    [[nodiscard]] static ClickPlace clickPlaceOfSession();

    void show(const Content &content) override;
    [[nodiscard]] bool isAvailable() const override { return m_registration.isAvailable(); }

private:
    void showText(const QString &title, const QString &detail);
    void showIcon(const QList<QImage> &images);
    void showStatus(Status status);
    void activate(QPoint place);
    void provideToken(const QString &token);

    QDBusConnection m_bus;
    ClickPlace m_clickPlace;
    StatusNotifierContent m_content;
    QString m_token; ///< for the next click
    DBusMenu m_menu;
    StatusNotifierAdaptor *m_adaptor;
    StatusNotifierRegistration m_registration;
};

} // namespace velmora
