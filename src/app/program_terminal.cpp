// SPDX-License-Identifier: MIT
#include "app/program.h"

#include "control/session_reports.h"

namespace velmora
{

namespace
{

QString missingConfiguration(const AppEnvironment &environment)
{
    if (environment.configuration.githubClientID)
        return QString();
    return QStringLiteral("Set GITHUB_CLIENT_ID in the environment or in %1/velmora.properties.")
        .arg(environment.directories.configuration);
}

} // namespace

CommandContext Program::baseContext()
{
    CommandContext context;
    context.out = &m_out;
    context.err = &m_err;
    context.terminalEvents = &m_signals;
    context.clock = &m_clock;
    context.stop = m_stop.get_token();
    return context;
}

/// Whoever runs in the session already is asked; only without one does this process do the work.
QCoro::Task<ExitCode> Program::runInTerminal()
{
    if (m_line.command == CommandLine::Command::Connect)
        return runConnecting();
    const bool follows = m_line.command == CommandLine::Command::Watch && !m_line.isOnce;
    if (follows || m_line.command == CommandLine::Command::Status)
        return runWithReports();
    return runWithControl();
}

/// The tray program sees by itself that there is another account.
QCoro::Task<ExitCode> Program::runConnecting()
{
    co_await enterStores();
    CommandContext context = baseContext();
    context.authentication = &m_app->authentication();
    context.preferences = &m_app->files().preferences;
    context.installationURL = m_app->environment().configuration.installationURL();
    context.missingConfiguration = missingConfiguration(m_app->environment());
    const ExitCode code = co_await runConnect(context);
    co_return code;
}

QCoro::Task<ExitCode> Program::runWithControl()
{
    m_remote = std::make_unique<RemoteControl>(m_bus, busName());
    const bool isRunning = co_await m_remote->locate(m_stop.get_token());
    if (!isRunning) {
        co_await enterStores();
        if (m_demo)
            co_await connectDemo();
    }
    CommandContext context = baseContext();
    context.control = m_control ? static_cast<Control *>(m_control.get()) : m_remote.get();
    const ExitCode code = co_await dispatch(context);
    co_return code;
}

QCoro::Task<ExitCode> Program::dispatch(CommandContext context)
{
    switch (m_line.command) {
    case CommandLine::Command::Accounts:
        return runAccounts(std::move(context), m_line);
    case CommandLine::Command::RemoveAccount:
        return runRemoveAccount(std::move(context), m_line);
    case CommandLine::Command::Installations:
        return runInstallations(std::move(context), m_line);
    case CommandLine::Command::Repositories:
        return runRepositories(std::move(context), m_line);
    case CommandLine::Command::Refresh:
        return runRefresh(std::move(context));
    default:
        return runWatch(std::move(context), m_line);
    }
}

/// Follows the running Velmora for as long as there is one, whoever comes and goes meanwhile.
QCoro::Task<ExitCode> Program::runWithReports()
{
    m_remote = std::make_unique<RemoteControl>(m_bus, busName());
    const bool isRunning = co_await m_remote->locate(m_stop.get_token());
    SessionReports::Substitute substitute;
    substitute.enter = [this] {
        return enterReports();
    };
    substitute.leave = [this] {
        return leaveReports();
    };
    SessionReports reports(m_remote.get(), std::move(substitute));
    connect(m_remote.get(), &RemoteControl::isRunningChanged, &reports,
        [this, &reports] { reports.setRunning(m_remote->isRunning()); });
    reports.setRunning(isRunning);
    CommandContext context = baseContext();
    context.reports = &reports;
    ExitCode code = ExitCode::Failed;
    if (m_line.command == CommandLine::Command::Status)
        code = co_await runStatus(context, m_line);
    else
        code = co_await runWatch(context, m_line);
    co_return code;
}

QCoro::Task<ReportSource *> Program::enterReports()
{
    if (m_line.command == CommandLine::Command::Status) {
        co_await enterSaved();
        co_return m_saved.get();
    }
    co_await enterStores();
    if (m_demo)
        co_await connectDemo();
    watchMachine();
    co_return m_control.get();
}

QCoro::Task<> Program::leaveReports()
{
    m_saved.reset();
    m_files.reset();
    co_await leaveStores();
}

} // namespace velmora
