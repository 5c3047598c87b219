// SPDX-License-Identifier: MIT
#include "app/program.h"

#include "app/diagnosis.h"
#include "app/logging.h"
#include "app/session_bus.h"
#include "app/sudden_exit.h"
#include "platform/pasteboard.h"
#include "platform/url_opener.h"
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
constexpr std::chrono::seconds kPatienceWithBus{2};

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
    connect(&m_patience, &QTimer::timeout, this, &Program::endWithoutCommand);
    connect(&m_signals, &ProcessSignals::endRequested, this, &Program::requestEnd);
    connect(&m_notifier, &TerminalNotifier::desktopFailed, this,
        [this](const QString &description) { m_err.writeLine(description); });
    connect(&m_signals, &ProcessSignals::endDemanded, this, &Program::endWithoutCommand);
    if (m_line.isForDesktop())
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
    const int code = execute();
    m_desktop.reset();
    m_service.reset();
    m_saved.reset();
    m_wakeSources.reset();
    m_control.reset();
    m_app.reset();
    m_notifier.setDesktop(nullptr);
    m_desktopNotifier.reset();
    m_desktopNotifications.reset();
    m_demo.reset();
    unwind();
    return code;
}

/// The event loop, whose end may come from outside.
int Program::execute()
{
    const SuddenExit suddenExit([this] { finishWithoutDisplay(); }, RenewalGrace::kLongest + kPatience);
    return QCoreApplication::exec();
}

void Program::finishWithoutDisplay()
{
    if (!m_app)
        return;
    // Whoever is started on the next display does not find this one.
    if (m_service)
        m_service->release();
    m_grace.passHere(&m_app->authentication());
    m_app->files().preferences.flush();
}

QCoro::Task<> Program::runAndExit()
{
    ExitCode code = ExitCode::Failed;
    QString failure;
    try {
        code = co_await runCommand();
    } catch (const CancellationError &) {
        code = reportCancelled();
    } catch (...) {
        failure = describe(std::current_exception());
    }
    if (!failure.isEmpty())
        co_await tellFailure(failure);
    // It has heeded the end; what follows has a bound of its own.
    m_patience.stop();
    if (m_app)
        co_await m_grace.pass(&m_app->authentication());
    if (m_app)
        m_app->files().preferences.flush();
    QCoreApplication::exit(static_cast<int>(code));
}

bool Program::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Quit)
        return QObject::eventFilter(watched, event);
    requestEnd();
    return true;
}

QCoro::Task<ExitCode> Program::runCommand()
{
    if (m_line.command == CommandLine::Command::Diagnose)
        return runDiagnosis(&m_out, &m_clock, m_stop.get_token());
    return runWithBus();
}

/// A bus that does not answer is none.
QCoro::Task<ExitCode> Program::runWithBus()
{
    const SessionBus bus = co_await connectSessionBus(kPatienceWithBus, m_stop.get_token());
    m_bus = bus.connection;
    const ExitCode code = co_await runOnBus();
    co_return code;
}

QCoro::Task<ExitCode> Program::runOnBus()
{
    if (m_line.isForDesktop())
        return runAsDesktop();
    return m_line.command == CommandLine::Command::Quit ? quitRunning() : runInTerminal();
}

void Program::requestEnd()
{
    m_patience.start(kPatience);
    m_stop.request_stop();
}

/// Something waits for what cannot be cancelled, the answer to the keyring's question for instance, or the user does
/// not want to wait for it.
void Program::endWithoutCommand()
{
    launch(graceAndEnd(), "the end");
}

QCoro::Task<> Program::graceAndEnd()
{
    if (m_app)
        co_await m_grace.pass(&m_app->authentication());
    endAtOnce();
}

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
    if (m_line.isForDesktop())
        return ExitCode::Done;
    m_err.writeLine(QStringLiteral("Cancelled."));
    return ExitCode::Failed;
}

} // namespace velmora
