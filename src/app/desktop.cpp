// SPDX-License-Identifier: MIT
#include "app/desktop.h"

#include "accounts/avatar_loader.h"
#include "app/velmora_app.h"
#include "notifications/desktop_notifications.h"
#include "notifications/notification_service_watcher.h"
#include "platform/current_desktops.h"
#include "platform/fallback_status_item.h"
#include "platform/status_notifier_item.h"
#include "support/freed_memory.h"
#include "support/task_scope.h"
#include "ui/settings/settings_window.h"
#include "ui/tray/tray_item.h"
#include "ui/tray/xembed_status_item.h"
#include "ui/window/menu_bar_view.h"

#include <QGuiApplication>
#include <QIcon>
#include <QWindow>

namespace velmora
{

namespace
{

using namespace std::chrono_literals;

/// How long a tray may take to appear. At login all programs start at once. A user who starts this one by hand waits
/// for it, and soon gets the window instead.
constexpr auto kPatienceAtLogin = 10s;
constexpr auto kPatience = 2s;
/// A panel that crashes or is restarted is back within seconds; a locked desktop hides the item for as long.
constexpr auto kPatienceForReturn = 10s;
/// How much longer the fallback item may take to appear.
constexpr auto kWindowDelay = 1s;
/// When nothing is left of the start.
constexpr auto kUntilSettled = 15s;

/// A connection of the item's own, since the item closes it.
QDBusConnection itemConnection(const QDBusConnection &bus)
{
    // Connecting blocks where the bus does not answer.
    if (!bus.isConnected())
        return QDBusConnection(QString());
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("velmora tray item"));
}

QString missingTrayText()
{
    return QStringLiteral("This desktop shows no tray. Starting Velmora again opens this window.");
}

/// GNOME has a tray only with an extension, which other desktops do not know.
QString extensionText()
{
    return QStringLiteral(
        " For an item in the top bar, install the GNOME Shell extension “AppIndicator”, and switch it "
        "on in the Extensions app.");
}

constexpr auto kToldOfExtension = "window.toldOfTrayExtension";

std::unique_ptr<StatusItem> makeStatusItem(const QDBusConnection &bus, bool isBackground)
{
    StatusNotifierItem::Options options;
    options.id = QStringLiteral("com.tarvik.Velmora");
    options.clickPlace = StatusNotifierItem::clickPlaceOfSession();
    return std::make_unique<FallbackStatusItem>(std::make_unique<StatusNotifierItem>(itemConnection(bus), options),
        &XEmbedStatusItem::makeWherePossible, isBackground ? kPatienceAtLogin : kPatience);
}

/// Sets the windows' picture, for desktops that do not find it by the name of the desktop file. Loading the themes
/// takes long, so it is done with the first window.
void adoptPicture()
{
    if (!QGuiApplication::windowIcon().isNull())
        return;
    const QString name = QStringLiteral("com.tarvik.Velmora");
    QGuiApplication::setWindowIcon(QIcon::fromTheme(name, QIcon(QStringLiteral(":/velmora/%1.svg").arg(name))));
}

} // namespace

Desktop::Desktop(VelmoraApp *app, const QDBusConnection &bus, const Options &options)
    : m_app(app)
    , m_options(options)
    , m_item(makeStatusItem(bus, options.isBackground))
    , m_tellsOfExtension(currentDesktops().contains(QLatin1String("GNOME"))
          && !app->files().preferences.boolean(QString::fromLatin1(kToldOfExtension)))
{
    makeTray();
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &Desktop::onFocusChanged);
    m_notificationService = std::make_unique<NotificationServiceWatcher>(bus, desktopNotificationServiceName());
    connect(m_notificationService.get(), &NotificationServiceWatcher::appeared, this,
        [this] { launch(m_app->settings().retryPreparation(), "preparing notifications again"); });
}

Desktop::~Desktop() = default;

/// The user may come back from installing the App. A menu or tooltip that takes the focus says nothing of that.
void Desktop::onFocusChanged(const QWindow *window)
{
    if (window && window->type() != Qt::Popup && window->type() != Qt::ToolTip)
        launch(m_app->monitor().refreshExpected(&m_app->authentication(), &m_app->installations()),
            "looking for new installations");
}

/// Made when it is first opened, since many users never open it and it takes memory.
MenuBarWindow &Desktop::window()
{
    if (m_window)
        return *m_window;
    adoptPicture();
    m_view = new MenuBarView(m_app->stores(), m_app->ports());
    m_window = std::make_unique<MenuBarWindow>(m_view);
    m_window->setWindowTitle(m_app->environment().applicationName);
    connect(m_view, &MenuBarView::settingsRequested, this, [this] { openSettings(); });
    connect(m_view, &MenuBarView::repositoriesRequested, this, &Desktop::openRepositories);
    connect(m_view, &MenuBarView::quitRequested, this, &Desktop::quitRequested);
    connect(m_view, &MenuBarView::closeRequested, m_window.get(), &QWidget::close);
    connect(m_window.get(), &MenuBarWindow::frameChanged, m_view, &MenuBarView::setFrame);
    m_view->setNotice(m_notice);
    m_window->setHasItem(m_notice.isEmpty());
    const auto *const authentication = &m_app->authentication();
    const auto followQuestions = [this, authentication] {
        m_window->setAwaitingAnswer(authentication->isAsking());
    };
    connect(authentication, &AuthenticationStore::askingChanged, m_window.get(), followQuestions);
    followQuestions();
    return *m_window;
}

void Desktop::makeTray()
{
    m_tray = std::make_unique<TrayItem>(&m_app->monitor(), m_item.get(), m_app->environment().applicationName);
    connect(m_tray.get(), &TrayItem::toggleRequested, this, [this](std::optional<QPoint> place, const QString &token) {
        m_isFound = true;
        window().toggle(place, token);
    });
    connect(m_tray.get(), &TrayItem::openRequested, this, &Desktop::open);
    connect(m_tray.get(), &TrayItem::refreshRequested, this, &Desktop::refresh);
    connect(m_tray.get(), &TrayItem::settingsRequested, this, &Desktop::openSettings);
    connect(m_tray.get(), &TrayItem::quitRequested, this, &Desktop::quitRequested);
    connect(m_item.get(), &StatusItem::availabilityChanged, this, &Desktop::followTray);
    m_trayPatience.setSingleShot(true);
    connect(&m_trayPatience, &QTimer::timeout, this, &Desktop::showAvailability);
}

void Desktop::start()
{
    // A user who has started it waits for it. At login the network is not up yet, and the machine is busy.
    using FirstTick = DeploymentMonitor::FirstTick;
    m_app->monitor().start(&m_app->authentication(), &m_app->installations(),
        m_options.isBackground ? FirstTick::AfterTheInterval : FirstTick::AtOnce);
    launch(m_app->settings().prepareNotifications(), "preparing notifications");
    launch(m_app->settings().repairLaunchAtLogin(), "repairing the start at login");
    if (m_options.opensAtStart)
        open();
    if (m_options.opensSettingsAtStart)
        openSettings();
    QTimer::singleShot(kUntilSettled, this, &unmapUnusedCode);
    m_trayPatience.start((m_options.isBackground ? kPatienceAtLogin : kPatience) + kWindowDelay);
}

/// Nothing opens by itself when an item that was shown disappears: the user knows Velmora, and can start it again to
/// see the window.
void Desktop::followTray(bool isAvailable)
{
    m_isFound = m_isFound || isAvailable;
    if (!isAvailable)
        m_trayPatience.start(kPatienceForReturn);
    showAvailability();
}

/// Opens the window when no tray appeared, since a user who has started the program by hand would see nothing of it. An
/// open window says that the tray is missing.
void Desktop::showAvailability()
{
    const bool isMissing = !m_item->isAvailable() && !m_trayPatience.isActive();
    m_notice = isMissing ? missingTrayText() : QString();
    if (isMissing && m_tellsOfExtension)
        m_notice += extensionText();
    if (m_view) {
        m_view->setNotice(m_notice);
        m_window->setHasItem(!isMissing);
    }
    if (isMissing && !m_options.isBackground && !m_isFound)
        open();
}

void Desktop::open(const QString &activationToken)
{
    m_isFound = true;
    window().open(std::nullopt, activationToken);
    if (!m_notice.isEmpty() && m_tellsOfExtension)
        m_app->files().preferences.setValue(QString::fromLatin1(kToldOfExtension), true);
}

void Desktop::refresh()
{
    std::ignore = window();
    m_view->refresh();
}

void Desktop::openSettings(const QString &activationToken)
{
    if (!m_settings)
        makeSettings();
    m_settings->open(activationToken);
    // Which the loss of the focus does not do shortly after a question of the desktop.
    if (m_window)
        m_window->giveWay();
}

void Desktop::openRepositories()
{
    openSettings();
    m_settings->view()->showTab(SettingsView::Tab::Repositories);
}

void Desktop::makeSettings()
{
    adoptPicture();
    const AppEnvironment &environment = m_app->environment();
    m_avatars = std::make_unique<AvatarLoader>(std::make_shared<NetworkSession>(AvatarLoader::sessionLimits()),
        environment.directories.cache + QStringLiteral("/avatars"), environment.clock);
    m_settings
        = std::make_unique<SettingsWindow>(m_app->stores(), m_app->ports(), &m_notificationSettings, m_avatars.get());
    m_settings->setWindowTitle(QStringLiteral("%1 Settings").arg(environment.applicationName));
}

} // namespace velmora
