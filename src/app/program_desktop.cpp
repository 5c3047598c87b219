// SPDX-License-Identifier: MIT
#include "app/program.h"

#include "app/display_probe.h"
#include "control/control_error.h"
#include "control/control_texts.h"
#include "support/signal_waiting.h"
#include "support/task_scope.h"
#include "ui/window/failure_window.h"

#include <QApplication>

#include <unistd.h>

namespace velmora
{

namespace
{

/// Longer than a program that was asked to end takes before it ends itself.
constexpr std::chrono::seconds kLongestQuitting{5};

/// Whether somebody sees what is written.
bool isInTerminal()
{
    return ::isatty(STDIN_FILENO) == 1 || ::isatty(STDOUT_FILENO) == 1 || ::isatty(STDERR_FILENO) == 1;
}

} // namespace

QString Program::busName() const
{
    const QString name = QStringLiteral("com.tarvik.Velmora");
    return m_line.isDemo ? name + QStringLiteral(".Demo") : name;
}

void Program::makeService()
{
    m_service = std::make_unique<ApplicationService>(m_bus, busName());
    m_controlService = new ControlService(m_bus, m_service.get());
    connect(m_service.get(), &ApplicationService::activated, this, &Program::openDesktop);
    connect(m_service.get(), &ApplicationService::actionActivated, this, &Program::actOnDesktop);
    // Whoever is started on another bus would not find this one, and nobody reaches it any more.
    connect(m_service.get(), &ApplicationService::busLost, this, &Program::requestEnd);
}

QCoro::Task<ExitCode> Program::runAsDesktop()
{
    makeService();
    if (!qobject_cast<QApplication *>(QCoreApplication::instance())) {
        const ExitCode code = co_await askFromElsewhere();
        co_return code;
    }
    const bool isFirst = co_await claimDesktop();
    if (!isFirst)
        co_return ExitCode::Done;
    m_opensAtStart = m_opensAtStart || m_line.command == CommandLine::Command::Show;
    m_opensSettingsAtStart = m_opensSettingsAtStart || m_line.command == CommandLine::Command::Settings;
    co_await enterStores();
    m_controlService->setControl(m_control.get());
    watchMachine();
    const ExitCode code = co_await runDesktop();
    co_return code;
}

/// A terminal without a display, as over the network, can still ask the program that has one.
QCoro::Task<ExitCode> Program::askFromElsewhere()
{
    m_remote = std::make_unique<RemoteControl>(m_bus, busName());
    const bool isRunning = co_await m_remote->locate(m_stop.get_token());
    if (!isRunning) {
        reportNoDisplay();
        co_return ExitCode::Failed;
    }
    if (!m_line.isBackground)
        co_await askRunning();
    co_return ExitCode::Done;
}

/// Whether this is the only Velmora of the session, or there is no telling. Otherwise the other one has been asked to
/// come forward; at login it is left where it is.
QCoro::Task<bool> Program::claimDesktop()
{
    const ApplicationService::Claim claim = co_await m_service->claim();
    if (claim != ApplicationService::Claim::Taken)
        co_return true;
    if (!m_line.isBackground)
        co_await askRunning();
    co_return false;
}

/// Has the running Velmora open what this one was started for.
QCoro::Task<> Program::askRunning()
{
    bool isAnswered = false;
    if (m_line.command == CommandLine::Command::Settings)
        isAnswered = co_await m_service->actOnRunning(QStringLiteral("settings"), m_startupToken);
    else
        isAnswered = co_await m_service->activateRunning(m_startupToken);
    if (!isAnswered)
        throw ControlError(noAnswerText());
}

/// Done when it has gone, so that it can be started again at once.
QCoro::Task<ExitCode> Program::quitRunning()
{
    m_remote = std::make_unique<RemoteControl>(m_bus, busName());
    const bool isRunning = co_await m_remote->locate(m_stop.get_token());
    if (!isRunning) {
        m_err.writeLine(QStringLiteral("Velmora is not running."));
        co_return ExitCode::Failed;
    }
    RemoteControl *const remote = m_remote.get();
    const std::function<bool()> hasGone = [remote] {
        return !remote->isRunning();
    };
    ApplicationService service(m_bus, busName());
    std::ignore = co_await service.actOnRunning(QStringLiteral("quit"), QString());
    co_await waitFor(remote, &RemoteControl::isRunningChanged, hasGone, m_stop.get_token(), kLongestQuitting);
    throwIfStopped(m_stop.get_token());
    if (!hasGone())
        throw ControlError(QStringLiteral("Velmora is running, but does not end."));
    co_return ExitCode::Done;
}

void Program::openDesktop(const QString &activationToken)
{
    if (m_desktop)
        m_desktop->open(activationToken);
    else
        m_opensAtStart = true;
}

void Program::actOnDesktop(const QString &action, const QString &activationToken)
{
    if (action == QLatin1String("quit"))
        requestEnd();
    else if (action == QLatin1String("settings") && !m_desktop)
        m_opensSettingsAtStart = true;
    else if (action == QLatin1String("settings"))
        m_desktop->openSettings(activationToken);
    else if (action == QLatin1String("refresh") && m_desktop)
        m_desktop->refresh();
}

QCoro::Task<ExitCode> Program::runDesktop()
{
    Desktop::Options options;
    options.isBackground = m_line.isBackground;
    options.opensAtStart = m_opensAtStart;
    options.opensSettingsAtStart = m_opensSettingsAtStart;
    m_desktop = std::make_unique<Desktop>(m_app.get(), m_bus, options);
    connect(m_desktop.get(), &Desktop::quitRequested, this, &Program::requestEnd);
    const OneShot<> ended;
    const auto end = [ended] {
        ended.resolve();
    };
    const std::stop_callback onStop(m_stop.get_token(), end);
    m_desktop->start();
    if (m_demo)
        launch(connectDemo(), "connecting the demo");
    co_await ended;
    // Whoever is started from now on finds nobody to ask, and runs itself.
    m_service->release();
    m_desktop.reset();
    co_return ExitCode::Done;
}

/// Standard error leads nowhere where the desktop has started the program; there a window tells, until it is closed.
QCoro::Task<> Program::tellFailure(QString reason)
{
    m_err.writeLine(reason);
    const bool hasDisplay = qobject_cast<QApplication *>(QCoreApplication::instance()) != nullptr;
    if (!hasDisplay || isInTerminal() || m_stop.stop_requested())
        co_return;
    // It answers nobody: who is started or asks from now on does without it.
    if (m_service)
        m_service->release();
    FailureWindow window(QString::fromUtf16(kApplicationName), reason);
    const OneShot<> closed;
    const auto close = [closed] {
        closed.resolve();
    };
    connect(&window, &FailureWindow::closed, &window, close, Qt::QueuedConnection);
    const std::stop_callback onStop(m_stop.get_token(), close);
    window.show();
    window.activateWindow();
    co_await closed;
}

QCoro::Task<> Program::connectDemo()
{
    co_await Demo::connectAccounts(&m_app->authentication(), m_stop.get_token());
    if (m_demo)
        m_demo->handOver();
}

} // namespace velmora
