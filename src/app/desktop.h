// SPDX-License-Identifier: MIT
#pragma once

#include "platform/notification_settings_page.h"
#include "ui/window/menu_bar_window.h"

#include <QDBusConnection>
#include <QObject>
#include <QTimer>

#include <memory>

class QWindow;

namespace velmora
{

class AvatarLoader;
class MenuBarView;
class NotificationServiceWatcher;
class SettingsWindow;
class StatusItem;
class TrayItem;
class VelmoraApp;

/// The tray item and the windows behind it, over the stores of the application.
class Desktop final : public QObject
{
    Q_OBJECT

public:
    struct Options {
        bool isBackground = false; ///< started at login: no window opens by itself
        bool opensAtStart = false; ///< start() opens the window
        bool opensSettingsAtStart = false; ///< start() opens the settings
    };

    /// The application outlives the desktop. `bus` is a connection to the session bus, not connected where there is
    /// none.
    Desktop(VelmoraApp *app, const QDBusConnection &bus, const Options &options);
    ~Desktop() override;

    /// Shows the item and starts the monitor, which shows what was saved before it asks GitHub. Call it once.
    void start();

public Q_SLOTS:
    /// Opens the window, or brings it to the front. The token allows it to take the focus; empty for none.
    void open(const QString &activationToken = {});
    /// Fetches all deployments, as the window's button does.
    void refresh();
    /// Opens the settings, or brings them to the front. The token is that of open().
    void openSettings(const QString &activationToken = {});

Q_SIGNALS:
    /// The user wants the program to end.
    void quitRequested();

private:
    [[nodiscard]] MenuBarWindow &window();
    void makeTray();
    void makeSettings();
    void followTray(bool isAvailable);
    void showAvailability();
    void onFocusChanged(const QWindow *window);
    void openRepositories();

    VelmoraApp *m_app;
    Options m_options;
    std::unique_ptr<StatusItem> m_item;
    bool m_tellsOfExtension; ///< how to get a tray on GNOME; it is told in one run only
    std::unique_ptr<TrayItem> m_tray;
    std::unique_ptr<MenuBarWindow> m_window; ///< null before it is needed
    MenuBarView *m_view = nullptr; ///< the window's
    QString m_notice; ///< what the window says about the missing tray; empty while there is one
    NotificationSettingsPage m_notificationSettings;
    std::unique_ptr<AvatarLoader> m_avatars;
    std::unique_ptr<SettingsWindow> m_settings; ///< null before it is needed
    std::unique_ptr<NotificationServiceWatcher> m_notificationService;
    QTimer m_trayPatience; ///< runs while a tray that is missing may still appear
    bool m_isFound = false; ///< the item or the window was shown, so the user knows where Velmora is
};

} // namespace velmora
