// SPDX-License-Identifier: MIT
#include "app/program.h"

#include "accounts/keychain_credential_store.h"
#include "app/logging.h"
#include "cli/signal_waiting.h"
#include "notifications/linux/desktop_notifications.h"
#include "platform/linux/background_portal_login_item.h"
#include "platform/linux/browser_url_opener.h"
#include "platform/linux/clipboard_pasteboard.h"
#include "platform/linux/flatpak.h"
#include "support/task_scope.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThreadPool>

#include <unistd.h>

namespace velmora
{

namespace
{

constexpr std::chrono::milliseconds kPatience{700};

/// Work that was ended above, or is still on a thread, comes to its end in the event loop: let it, so
/// that nothing is left suspended when the process goes.
void unwind()
{
    QThreadPool::globalInstance()->waitForDone(static_cast<int>(kPatience.count()));
    for (int turn = 0; turn < 3; ++turn) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

QString missingConfiguration(const AppEnvironment &environment)
{
    if (environment.configuration.githubClientID)
        return QString();
    return QStringLiteral("Set GITHUB_CLIENT_ID in the environment or in %1/velmora.properties.")
        .arg(environment.directories.configuration);
}

} // namespace

ExitCode reportIsConfigured()
{
    try {
        const auto configuration = AppConfiguration::load(XDGDirectories::fromEnvironment());
        return configuration.githubClientID ? ExitCode::Done : ExitCode::Failed;
    } catch (const Error &error) {
        Terminal(STDERR_FILENO).writeLine(error.description());
        return ExitCode::Failed;
    }
}

Program::Program(CommandLine line, QString startupToken)
    : m_line(std::move(line))
    , m_startupToken(std::move(startupToken))
    , m_out(STDOUT_FILENO)
    , m_err(STDERR_FILENO)
{
    m_out.isInterrupted = &ProcessSignals::isEndRequested;
    m_err.isInterrupted = &ProcessSignals::isEndRequested;
    startLogging(&m_err, m_line.isVerbose);
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this, &Program::endAtOnce);
    connect(&m_signals, &ProcessSignals::endRequested, this, &Program::requestEnd);
    if (m_line.command == CommandLine::Command::Desktop)
        QCoreApplication::instance()->installEventFilter(this);
}

Program::~Program()
{
    stopLogging();
}

int Program::run()
{
    const auto start = [this] {
        launch(runAndExit(), "the command");
    };
    QTimer::singleShot(0, this, start);
    const int code = QCoreApplication::exec();
    m_desktop.reset();
    m_wakeSources.reset();
    m_app.reset();
    m_notifier.setDesktop(nullptr);
    m_desktopNotifications.reset();
    m_demo.reset();
    unwind();
    return code;
}

QCoro::Task<> Program::runAndExit()
{
    ExitCode code = ExitCode::Failed;
    try {
        code = co_await runCommand();
    } catch (const CancellationError &) {
        code = reportCancelled();
    } catch (const Error &error) {
        m_err.writeLine(error.description());
    }
    // It has heeded the end; what follows has a bound of its own.
    m_patience.stop();
    if (m_app) {
        co_await finishRefreshes();
        m_app->files().preferences.flush();
    }
    QCoreApplication::exit(static_cast<int>(code));
}

bool Program::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Quit)
        return QObject::eventFilter(watched, event);
    requestEnd();
    return true;
}

/// A refresh token works only once: an answer that nobody waits for would end the account's session.
QCoro::Task<> Program::finishRefreshes()
{
    AuthenticationStore *store = &m_app->authentication();
    const std::function<bool()> isQuiet = [store] {
        return std::ranges::none_of(store->sessions(),
            [](const GitHubAccountSession &session) { return session.status == GitHubSessionStatus::Refreshing; });
    };
    co_await waitFor(store, &AuthenticationStore::sessionsChanged, isQuiet, std::stop_token(), kPatience / 2);
}

QCoro::Task<ExitCode> Program::runCommand()
{
    if (m_line.command == CommandLine::Command::Desktop) {
        const bool isFirst = co_await claimDesktop();
        if (!isFirst)
            co_return ExitCode::Done;
    }
    if (m_line.isDemo) {
        m_demo = std::make_unique<Demo>();
        co_await m_demo->start(m_stop.get_token());
    }
    if (m_line.command != CommandLine::Command::Status || m_line.isDemo) {
        const ExitCode code = co_await runWithStores();
        co_return code;
    }
    // Nothing of the network, and nothing of the keyring, for what was saved.
    ProfileFiles files(XDGDirectories::fromEnvironment());
    listenTo(&files.preferences);
    CommandContext context = baseContext(QString::fromUtf16(kApplicationName));
    context.preferences = &files.preferences;
    context.cache = &files.cache;
    const ExitCode code = co_await runStatus(context, m_line);
    co_return code;
}

QCoro::Task<ExitCode> Program::runWithStores()
{
    AppEnvironment environment = m_demo ? m_demo->environment() : realEnvironment();
    environment.notifier = &m_notifier;
    environment.clock = &m_clock;
    announceOnDesktop(&environment);
    CommandContext context = baseContext(environment.applicationName);
    context.installationURL = environment.configuration.installationURL();
    context.missingConfiguration = missingConfiguration(environment);
    m_app = std::make_unique<VelmoraApp>(std::move(environment));
    listenTo(&m_app->files().preferences);
    context.preferences = &m_app->files().preferences;
    context.cache = &m_app->files().cache;
    context.authentication = &m_app->authentication();
    context.installations = &m_app->installations();
    context.monitor = &m_app->monitor();
    context.settings = &m_app->settings();
    if (m_demo) {
        Demo::fillPreferences(&m_app->files().preferences);
        const bool connectsFirst
            = m_line.command != CommandLine::Command::Connect && m_line.command != CommandLine::Command::Desktop;
        if (connectsFirst)
            co_await connectDemo();
    }
    const ExitCode code = co_await dispatch(context);
    co_return code;
}

QCoro::Task<ExitCode> Program::dispatch(CommandContext context)
{
    switch (m_line.command) {
    case CommandLine::Command::Connect:
        return runConnect(std::move(context));
    case CommandLine::Command::Accounts:
        return runAccounts(std::move(context), m_line);
    case CommandLine::Command::RemoveAccount:
        return runRemoveAccount(std::move(context), m_line);
    case CommandLine::Command::Installations:
        return runInstallations(std::move(context), m_line);
    case CommandLine::Command::Repositories:
        return runRepositories(std::move(context), m_line);
    case CommandLine::Command::Status:
        return runStatus(std::move(context), m_line);
    case CommandLine::Command::Desktop:
        watchMachine();
        return runDesktop();
    case CommandLine::Command::Watch:
    case CommandLine::Command::IsConfigured:
    case CommandLine::Command::IsDisplayUsable:
        break;
    }
    if (!m_line.isOnce)
        watchMachine();
    return runWatch(std::move(context), m_line);
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
    environment.credentialStore = std::make_shared<KeychainCredentialStore>(AppConfiguration::keychainService());
    environment.pasteboard = m_pasteboard.get();
    environment.urlOpener = m_urlOpener.get();
    if (isInsideFlatpak()) {
        environment.makeLoginItem = [](Preferences *preferences) {
            const QStringList command{QStringLiteral("velmora"), QStringLiteral("--background")};
            return std::make_unique<BackgroundPortalLoginItem>(QDBusConnection::sessionBus(), preferences, command);
        };
    }
    return environment;
}

/// The desktop's own program announces there and nowhere else; the terminal announces there as well. Where there is no
/// session bus, as over a bare network login, there is no desktop to speak of.
void Program::announceOnDesktop(AppEnvironment *environment)
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    const bool isDesktop = m_line.command == CommandLine::Command::Desktop;
    const bool isWatching = m_line.command == CommandLine::Command::Watch && !m_line.isOnce && !m_line.isQuiet;
    if (!isDesktop && !(isWatching && bus.isConnected()))
        return;
    m_desktopNotifications = desktopNotificationService(bus, *environment->urlOpener, environment->applicationName);
    if (isDesktop)
        environment->notifier = m_desktopNotifications.get();
    else
        m_notifier.setDesktop(m_desktopNotifications.get());
}

CommandContext Program::baseContext(const QString &applicationName)
{
    CommandContext context;
    context.applicationName = applicationName;
    context.out = &m_out;
    context.err = &m_err;
    context.terminalEvents = &m_signals;
    context.clock = &m_clock;
    context.notifier = &m_notifier;
    context.stop = m_stop.get_token();
    return context;
}

void Program::listenTo(FilePreferences *preferences)
{
    const auto report = [this](const QString &message) {
        m_err.writeLine(message);
    };
    const QStringList failures = preferences->earlyFailures();
    for (const QString &failure : failures)
        report(failure);
    connect(preferences, &Preferences::failed, this, report);
}

void Program::requestEnd()
{
    m_patience.start(kPatience);
    m_stop.request_stop();
}

/// Something waits for what cannot be cancelled: a person in front of the keyring's question, for instance.
void Program::endAtOnce()
{
    if (m_app)
        m_app->files().preferences.flush();
    m_demo.reset();
    ::_exit(static_cast<int>(reportCancelled()));
}

/// A command that was cut short has failed; the program of the tray is there until it is told to end.
ExitCode Program::reportCancelled()
{
    if (m_line.command == CommandLine::Command::Desktop)
        return ExitCode::Done;
    m_err.writeLine(QStringLiteral("Cancelled."));
    return ExitCode::Failed;
}

} // namespace velmora
