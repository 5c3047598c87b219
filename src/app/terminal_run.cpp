// SPDX-License-Identifier: MIT
#include "app/terminal_run.h"

#include "app/profile_problems.h"
#include "app/renewal_grace.h"
#include "control/control_error.h"
#include "control/remote_control.h"
#include "platform/application_service.h"
#include "support/signal_waiting.h"

#include <QPointer>

namespace velmora
{

namespace
{

/// Longer than a Velmora that was asked to end takes before it ends itself.
constexpr std::chrono::seconds kLongestQuitting{5};

QString missingConfiguration(const AppEnvironment &environment)
{
    if (environment.configuration.githubClientID)
        return QString();
    return QStringLiteral("Set GITHUB_CLIENT_ID in the environment or in %1/velmora.properties.")
        .arg(environment.directories.configuration);
}

std::unique_ptr<ProfileFiles> openProfile(Clock *clock)
{
    const XDGDirectories directories = XDGDirectories::fromEnvironment();
    return std::make_unique<ProfileFiles>(directories, AppConfiguration::load(directories), clock);
}

} // namespace

TerminalRun::TerminalRun(RunContext context)
    : Run(std::move(context))
{
}

TerminalRun::~TerminalRun() = default;

CommandContext TerminalRun::commandContext() const
{
    CommandContext made;
    made.out = context().out;
    made.err = context().err;
    made.terminalEvents = context().terminalEvents;
    made.clock = context().clock;
    made.stop = context().stop;
    return made;
}

QCoro::Task<ExitCode> TerminalRun::execute()
{
    const CommandLine &line = context().line;
    switch (line.command) {
    case CommandLine::Command::Quit:
        return quitRunning();
    case CommandLine::Command::Connect:
        return connectAccount();
    case CommandLine::Command::Status:
    case CommandLine::Command::Wait:
        return runWithReports();
    case CommandLine::Command::Watch:
        return line.isOnce ? runWithControl() : runWithReports();
    default:
        return runWithControl();
    }
}

/// Ends when the running Velmora has ended, so that it can be started again at once.
QCoro::Task<ExitCode> TerminalRun::quitRunning()
{
    RemoteControl remote(context().bus, context().busName());
    const bool isRunning = co_await remote.locate(context().stop);
    if (!isRunning) {
        context().err->writeLine(QStringLiteral("Velmora is not running."));
        co_return ExitCode::Failed;
    }
    const std::function<bool()> hasEnded = [&remote] {
        return !remote.isRunning();
    };
    ApplicationService service(context().bus, context().busName());
    std::ignore = co_await service.actOnRunning(QStringLiteral("quit"), QString());
    co_await untilTrue(&remote, &RemoteControl::isRunningChanged, hasEnded, context().stop, kLongestQuitting);
    throwIfStopped(context().stop);
    if (!hasEnded())
        throw ControlError(QStringLiteral("Velmora is running, but does not end."));
    co_return ExitCode::Done;
}

/// Works without the running Velmora, which finds a new account in the profile by itself.
QCoro::Task<ExitCode> TerminalRun::connectAccount()
{
    co_await createSession();
    VelmoraApp *const app = session()->app();
    CommandContext forConnect = commandContext();
    forConnect.stores = app->stores();
    forConnect.missingConfiguration = missingConfiguration(app->environment());
    const ExitCode code = co_await runConnect(forConnect);
    co_return code;
}

QCoro::Task<ExitCode> TerminalRun::runWithControl()
{
    RemoteControl remote(context().bus, context().busName());
    CommandContext withControl = commandContext();
    withControl.control = co_await locateControl(&remote);
    const ExitCode code = co_await dispatch(withControl);
    co_return code;
}

/// What answers single requests: the running Velmora, or else the session of this process.
QCoro::Task<Control *> TerminalRun::locateControl(RemoteControl *remote)
{
    const bool isRunning = co_await remote->locate(context().stop);
    if (isRunning)
        co_return remote;
    co_await ensureSession(context().stop);
    co_return session()->control();
}

/// Creates the session, unless one is at work.
QCoro::Task<> TerminalRun::ensureSession(std::stop_token stop)
{
    if (session() && session()->control())
        co_return;
    co_await createSession();
    co_await session()->connectDemo(stop);
}

QCoro::Task<ExitCode> TerminalRun::dispatch(CommandContext commandContext)
{
    const CommandLine &line = context().line;
    switch (line.command) {
    case CommandLine::Command::Accounts:
        return runAccounts(std::move(commandContext), line);
    case CommandLine::Command::RemoveAccount:
        return runRemoveAccount(std::move(commandContext), line);
    case CommandLine::Command::Installations:
        return runInstallations(std::move(commandContext), line);
    case CommandLine::Command::Repositories:
        return runRepositories(std::move(commandContext), line);
    case CommandLine::Command::Mute:
    case CommandLine::Command::Unmute:
        return runMute(std::move(commandContext), line);
    case CommandLine::Command::Pause:
    case CommandLine::Command::Resume:
        return runPause(std::move(commandContext), line);
    case CommandLine::Command::Notifications:
        return runNotifications(std::move(commandContext), line);
    case CommandLine::Command::Failures:
        return runFailures(std::move(commandContext), line);
    case CommandLine::Command::Environments:
        return runEnvironments(std::move(commandContext), line);
    case CommandLine::Command::Refresh:
        return runRefresh(std::move(commandContext));
    case CommandLine::Command::Status:
        return runStatus(std::move(commandContext), line);
    case CommandLine::Command::Wait:
        return runWait(std::move(commandContext), line);
    default:
        return runWatch(std::move(commandContext), line);
    }
}

/// Follows the running Velmora while there is one, and this process's own reports while there is none.
QCoro::Task<ExitCode> TerminalRun::runWithReports()
{
    RemoteControl remote(context().bus, context().busName());
    CommandContext withReports = commandContext();
    withReports.reports.running = &remote;
    withReports.reports.create = [this](std::stop_token stop) {
        return createReports(std::move(stop));
    };
    withReports.reports.destroy = [this](std::stop_token stop) {
        return destroyReports(std::move(stop));
    };
    if (context().line.command == CommandLine::Command::Wait)
        withReports.control = co_await locateControl(&remote);
    const ExitCode code = co_await dispatch(withReports);
    co_return code;
}

QCoro::Task<ReportSource *> TerminalRun::createReports(std::stop_token stop)
{
    if (context().line.command == CommandLine::Command::Status)
        return createSavedReports();
    return createLiveReports(std::move(stop));
}

QCoro::Task<ReportSource *> TerminalRun::createLiveReports(std::stop_token stop)
{
    co_await ensureSession(stop);
    session()->watchMachine();
    co_return session()->control();
}

/// What was saved needs neither the network nor the keyring. The demo has nothing saved before its stores exist.
QCoro::Task<ReportSource *> TerminalRun::createSavedReports()
{
    SavedReports::Services services;
    services.applicationName = QString::fromUtf16(kApplicationName);
    ProfileFiles *files = nullptr;
    if (context().line.isDemo) {
        co_await createSession();
        services.applicationName = session()->app()->environment().applicationName;
        files = &session()->app()->files();
    } else {
        m_files = openProfile(context().clock);
        files = m_files.get();
        reportProblems(&files->preferences, context());
    }
    services.preferences = &files->accountPreferences;
    services.cache = &files->cache;
    services.cachePath = files->cache.path();
    services.clock = context().clock;
    m_savedReports = std::make_unique<SavedReports>(std::move(services));
    co_return m_savedReports.get();
}

/// Leaves time to tokens that are being renewed, unless the command ends: the end of the program leaves time to them
/// itself.
QCoro::Task<> TerminalRun::destroyReports(std::stop_token stop)
{
    m_savedReports.reset();
    m_files.reset();
    VelmoraApp *const app = session() ? session()->app() : nullptr;
    if (!app)
        co_return;
    const QPointer<AuthenticationStore> store(&app->authentication());
    co_await finishRenewals(store, stop, std::nullopt);
    if (stop.stop_requested() || !store)
        co_return;
    session()->save();
    destroySession();
}

} // namespace velmora
