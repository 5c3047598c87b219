// SPDX-License-Identifier: MIT
#include "app/session.h"

#include "accounts/keychain_credential_store.h"
#include "app/profile_problems.h"
#include "cli/terminal.h"
#include "notifications/desktop_notifications.h"
#include "platform/background_portal_login_item.h"
#include "platform/browser_url_opener.h"
#include "platform/clipboard_pasteboard.h"
#include "platform/flatpak.h"

namespace velmora
{

namespace
{

/// Whether the command goes on until it is ended, and follows the deployments in the terminal meanwhile.
bool isFollowing(const CommandLine &line)
{
    return line.command == CommandLine::Command::Watch && !line.isOnce;
}

} // namespace

Session::Session(const RunContext *context)
    : m_context(context)
{
}

Session::~Session() = default;

QCoro::Task<> Session::start()
{
    if (m_context->line.isDemo) {
        m_demo.emplace();
        co_await m_demo->start(m_context->stop);
    }
    createStores();
}

void Session::createStores()
{
    AppEnvironment environment = m_demo ? m_demo->environment() : realEnvironment();
    environment.clock = m_context->clock;
    environment.notifier = notifierFor(environment);
    VelmoraApp &app = m_app.emplace(std::move(environment));
    reportProblems(&app.files().preferences, *m_context);
    reportProblems(&app.monitor().environments(), *m_context);
    if (m_demo)
        Demo::fillPreferences(&app.files().preferences);
    if (m_desktopNotifications) {
        m_desktopNotifications->setMuting(
            [&app](const QString &repositoryNodeID) { app.monitor().announcements().muted().mute(repositoryNodeID); });
    }
    createControl();
}

AppEnvironment Session::realEnvironment()
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
        environment.makeLoginItem = [bus = m_context->bus](Preferences *preferences) {
            const QStringList command{QStringLiteral("velmora"), QStringLiteral("--background")};
            return std::make_unique<BackgroundPortalLoginItem>(bus, preferences, command);
        };
    }
    return environment;
}

/// A desktop run announces on the desktop only, a watching terminal there as well. Without a session bus, as in a plain
/// network login, there is no desktop. A command that ends with its answer leaves what it finds to a Velmora that goes
/// on.
DeploymentNotifying *Session::notifierFor(const AppEnvironment &environment)
{
    const CommandLine &line = m_context->line;
    const bool isForDesktop = line.isForDesktop();
    if (isForDesktop || (isFollowing(line) && !line.isQuiet && m_context->bus.isConnected())) {
        m_desktopNotifications = desktopNotificationService(
            m_context->bus, *environment.urlOpener, *m_context->clock, environment.applicationName);
    }
    if (isForDesktop)
        return &m_observedNotifier.emplace(m_desktopNotifications.get());
    if (!isFollowing(line))
        return &m_waitingNotifier;
    m_backgroundNotifier.emplace(m_desktopNotifications.get());
    QObject::connect(&*m_backgroundNotifier, &BackgroundNotifier::failed, &*m_backgroundNotifier,
        [err = m_context->err](const QString &description) { err->writeLine(description); });
    return &m_observedNotifier.emplace(&*m_backgroundNotifier);
}

void Session::createControl()
{
    LocalControl *const control = &m_control.emplace(m_app->stores(), m_app->ports());
    if (m_observedNotifier)
        QObject::connect(&*m_observedNotifier, &ObservedNotifier::posted, control, &Control::announced);
}

void Session::watchMachine()
{
    // Not the default connection: Qt keeps its first messages back until the event loop runs, and may then deliver a
    // later one before them, which would report the end of a sleep before its beginning.
    m_wakeSources.emplace(QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("velmora system")),
        &m_app->wakeWatch());
}

QCoro::Task<> Session::connectDemo(std::stop_token stop)
{
    if (!m_demo)
        co_return;
    co_await Demo::connectAccounts(&m_app->authentication(), std::move(stop));
    m_demo->handOver();
}

void Session::setWindowOpener(std::function<void(const QString &activationToken)> openWindow)
{
    if (m_desktopNotifications)
        m_desktopNotifications->setWindowOpener(std::move(openWindow));
}

void Session::save()
{
    if (m_app)
        m_app->files().preferences.flush();
}

void Session::abandon()
{
    save();
    m_demo.reset();
}

} // namespace velmora
