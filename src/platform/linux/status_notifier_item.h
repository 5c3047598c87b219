// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/dbus_menu.h"
#include "platform/linux/status_notifier_adaptor.h"
#include "platform/linux/status_notifier_registration.h"
#include "platform/status_item.h"

#include <QDBusConnection>

namespace velmora
{

/// A tray item by the protocol of org.kde.StatusNotifierItem, with a menu by com.canonical.dbusmenu.
class StatusNotifierItem final : public StatusItem
{
    Q_OBJECT

public:
    /// What the place of a click is worth, which depends on the desktop and not on the host alone.
    enum class ClickPlace {
        Global, ///< a point on the screens
        Unknown, ///< relative to something that only the host knows
    };

    struct Options {
        QString id; ///< of the application, the same in every run
        ClickPlace clickPlace = ClickPlace::Global;
        std::chrono::milliseconds retryDelay = std::chrono::seconds(1);
    };

    /// `bus` is a connection to the session bus for this item alone. The item disconnects it: the end of the
    /// connection is what tells hosts that the item is gone.
    StatusNotifierItem(const QDBusConnection &bus, const Options &options, QObject *parent = nullptr);
    ~StatusNotifierItem() override;

    /// What clicks are worth in this session. The application object exists.
    [[nodiscard]] static ClickPlace clickPlaceOfSession();

    void setTitle(const QString &title) override;
    void setToolTip(const QString &title, const QString &text) override;
    void setIcon(const QList<QImage> &images) override;
    void setLabel(const QString &label) override;
    void setMenu(const QList<MenuEntry> &entries) override;
    void setStatus(Status status) override;
    [[nodiscard]] bool isAvailable() const override { return m_registration.isAvailable(); }

private:
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
