// SPDX-License-Identifier: MIT
#include "accounts/keychain_credential_store.h"
#include "app/program.h"
#include "notifications/desktop_notifications.h"
#include "platform/background_portal_login_item.h"
#include "platform/browser_url_opener.h"
#include "platform/clipboard_pasteboard.h"
#include "platform/flatpak.h"

namespace velmora
{

/// The stores and what controls them. Of the demo: with its own GitHub.
QCoro::Task<> Program::enterStores()
{
    if (m_line.isDemo) {
        m_demo = std::make_unique<Demo>();
        co_await m_demo->start(m_stop.get_token());
    }
    AppEnvironment environment = m_demo ? m_demo->environment() : realEnvironment();
    // A command that ends with its answer leaves what it finds to a Velmora that goes on.
    const bool goesOn = m_line.isForDesktop() || (m_line.command == CommandLine::Command::Watch && !m_line.isOnce);
    environment.notifier = &m_waitingNotifier;
    if (goesOn)
        environment.notifier = &m_notifier;
    environment.clock = &m_clock;
    announceOnDesktop(&environment);
    m_app = std::make_unique<VelmoraApp>(std::move(environment));
    listenTo(&m_app->files().preferences);
    if (m_demo)
        Demo::fillPreferences(&m_app->files().preferences);
    LocalControl::Services services;
    services.applicationName = m_app->environment().applicationName;
    services.authentication = &m_app->authentication();
    services.installations = &m_app->installations();
    services.monitor = &m_app->monitor();
    services.settings = &m_app->settings();
    services.preferences = &m_app->files().preferences;
    services.clock = &m_clock;
    services.installationURL = m_app->environment().configuration.installationURL();
    m_control = std::make_unique<LocalControl>(std::move(services));
    connect(&m_notifier, &TerminalNotifier::posted, m_control.get(), &Control::announced);
    if (m_desktopNotifier)
        connect(m_desktopNotifier.get(), &ObservedNotifier::posted, m_control.get(), &Control::announced);
}

/// For a program that goes on, and has time for tokens that are being renewed.
QCoro::Task<> Program::leaveStores()
{
    if (!m_app)
        co_return;
    co_await finishRenewals(&m_app->authentication(), m_stop.get_token(), std::nullopt);
    // The end of the program has a way of its own.
    if (m_stop.stop_requested())
        co_return;
    m_app->files().preferences.flush();
    m_wakeSources.reset();
    m_control.reset();
    m_app.reset();
    m_notifier.setDesktop(nullptr);
    m_desktopNotifications.reset();
    m_demo.reset();
}

/// What was saved needs nothing of the network, and nothing of the keyring.
QCoro::Task<> Program::enterSaved()
{
    if (m_line.isDemo)
        co_await enterStores();
    else if (!m_files)
        m_files = realFiles();
    ProfileFiles *const files = m_app ? &m_app->files() : m_files.get();
    if (!m_app)
        listenTo(&files->preferences);
    SavedReports::Services services;
    services.applicationName = m_app ? m_app->environment().applicationName : QString::fromUtf16(kApplicationName);
    services.preferences = &files->accountPreferences;
    services.cache = &files->cache;
    services.cachePath = files->cache.path();
    services.clock = &m_clock;
    m_saved = std::make_unique<SavedReports>(std::move(services));
}

std::unique_ptr<ProfileFiles> Program::realFiles()
{
    const XDGDirectories directories = XDGDirectories::fromEnvironment();
    return std::make_unique<ProfileFiles>(directories, AppConfiguration::load(directories), &m_clock);
}

void Program::watchMachine()
{
    m_wakeSources = std::make_unique<WakeSources>(QDBusConnection::systemBus(), &m_app->wakeWatch());
}

AppEnvironment Program::realEnvironment()
{
    m_pasteboard = std::make_unique<ClipboardPasteboard>();
    m_urlOpener = std::make_unique<BrowserURLOpener>();
    AppEnvironment environment;
    environment.applicationName = QString::fromUtf16(kApplicationName);
    environment.directories = XDGDirectories::fromEnvironment();
    environment.configuration = AppConfiguration::load(environment.directories);
    environment.openCredentials = [](const QString &service) {
        return std::make_shared<KeychainCredentialStore>(service);
    };
    environment.pasteboard = m_pasteboard.get();
    environment.urlOpener = m_urlOpener.get();
    if (isInsideFlatpak()) {
        environment.makeLoginItem = [bus = m_bus](Preferences *preferences) {
            const QStringList command{QStringLiteral("velmora"), QStringLiteral("--background")};
            return std::make_unique<BackgroundPortalLoginItem>(bus, preferences, command);
        };
    }
    return environment;
}

/// The desktop's own program announces there and nowhere else; the terminal announces there as well. Where there is no
/// session bus, as over a bare network login, there is no desktop to speak of.
void Program::announceOnDesktop(AppEnvironment *environment)
{
    const bool isWatching = m_line.command == CommandLine::Command::Watch && !m_line.isOnce && !m_line.isQuiet;
    if (!m_service && !(isWatching && m_bus.isConnected()))
        return;
    m_desktopNotifications = desktopNotificationService(m_bus, *environment->urlOpener, environment->applicationName);
    if (m_service) {
        m_desktopNotifier = std::make_unique<ObservedNotifier>(m_desktopNotifications.get());
        environment->notifier = m_desktopNotifier.get();
    } else {
        m_notifier.setDesktop(m_desktopNotifications.get());
    }
}

void Program::listenTo(FilePreferences *preferences)
{
    const auto report = [this](const QString &message) {
        if (!message.isEmpty())
            m_err.writeLine(message);
    };
    const auto reportFailure = [report, preferences] {
        report(preferences->failure());
    };
    report(preferences->earlyDamage());
    reportFailure();
    connect(preferences, &Preferences::damageFound, this, report);
    // What is done in a terminal, or shown there, tells the rest by itself.
    if (m_line.isForDesktop())
        connect(preferences, &Preferences::failureChanged, this, reportFailure);
}

} // namespace velmora
