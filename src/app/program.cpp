// SPDX-License-Identifier: MIT
#include "app/program.h"

#include "app/desktop_run.h"
#include "app/diagnosis.h"
#include "app/logging.h"
#include "app/session_bus.h"
#include "app/sudden_exit.h"
#include "app/terminal_run.h"
#include "support/task_scope.h"
#include "ui/window/failure_window.h"

#include <QApplication>
#include <QEvent>
#include <QThreadPool>

#include <unistd.h>

namespace velmora
{

namespace
{

constexpr std::chrono::milliseconds kPatience{700};
constexpr std::chrono::seconds kPatienceWithBus{2};

/// Work that was cancelled, or is still on a thread, ends in the event loop: lets it end, so that no coroutine is left
/// suspended when the process ends.
void unwind()
{
    QThreadPool::globalInstance()->waitForDone(static_cast<int>(kPatience.count()));
    for (int turn = 0; turn < 3; ++turn) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

/// Whether the user sees what is written.
bool isInTerminal()
{
    return ::isatty(STDIN_FILENO) == 1 || ::isatty(STDOUT_FILENO) == 1 || ::isatty(STDERR_FILENO) == 1;
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
    m_run.reset();
    unwind();
    return code;
}

/// Runs the event loop. A library may end the process in the middle of it.
int Program::execute()
{
    const SuddenExit suddenExit([this] { finishWithoutDisplay(); }, RenewalGrace::kLongest + kPatience);
    return QCoreApplication::exec();
}

void Program::finishWithoutDisplay()
{
    if (AuthenticationStore *const store = authentication()) {
        // A Velmora that is started on the next display must not find this one.
        m_run->withdraw();
        m_grace.passHere(store);
    }
    if (session())
        session()->abandon();
}

Session *Program::session() const
{
    return m_run ? m_run->session() : nullptr;
}

/// Null where no session is at work.
AuthenticationStore *Program::authentication() const
{
    VelmoraApp *const app = session() ? session()->app() : nullptr;
    return app ? &app->authentication() : nullptr;
}

void Program::save() const
{
    if (session())
        session()->save();
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
        co_await showFailure(failure);
    // The command has ended; what follows has a limit of its own.
    m_patience.stop();
    if (AuthenticationStore *const store = authentication())
        co_await m_grace.pass(store);
    save();
    QCoreApplication::exit(static_cast<int>(codeAfterWriting(m_out, m_err, code)));
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

/// Works without a session bus where none answers in time.
QCoro::Task<ExitCode> Program::runWithBus()
{
    const SessionBus bus = co_await connectSessionBus(kPatienceWithBus, m_stop.get_token());
    startRun(bus.connection);
    const ExitCode code = co_await m_run->execute();
    co_return code;
}

void Program::startRun(const QDBusConnection &bus)
{
    RunContext context;
    context.line = m_line;
    context.startupToken = m_startupToken;
    context.bus = bus;
    context.out = &m_out;
    context.err = &m_err;
    context.terminalEvents = &m_signals;
    context.clock = &m_clock;
    context.stop = m_stop.get_token();
    if (m_line.isForDesktop())
        m_run = std::make_unique<DesktopRun>(std::move(context));
    else
        m_run = std::make_unique<TerminalRun>(std::move(context));
    connect(m_run.get(), &Run::endRequested, this, &Program::requestEnd);
}

/// Writes the reason to standard error. Nothing reads that where the desktop has started the program, so a window shows
/// the reason there until it is closed.
QCoro::Task<> Program::showFailure(QString reason)
{
    m_err.writeLine(reason);
    const bool hasDisplay = qobject_cast<QApplication *>(QCoreApplication::instance()) != nullptr;
    if (!hasDisplay || isInTerminal() || m_stop.stop_requested())
        co_return;
    // This process answers no calls any more, so a Velmora that is started from now on must not find it.
    if (m_run)
        m_run->withdraw();
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

void Program::requestEnd()
{
    m_patience.start(kPatience);
    m_stop.request_stop();
}

/// The command waits for something that cannot be cancelled, such as the keyring's question to the user, or the user
/// has asked for the end again.
void Program::endWithoutCommand()
{
    launch(graceAndEnd(), "the end");
}

QCoro::Task<> Program::graceAndEnd()
{
    if (AuthenticationStore *const store = authentication())
        co_await m_grace.pass(store);
    endAtOnce();
}

void Program::endAtOnce()
{
    if (session())
        session()->abandon();
    ::_exit(static_cast<int>(reportCancelled()));
}

/// A command that was cut short has failed; on the desktop Velmora is meant to run until it is ended.
ExitCode Program::reportCancelled()
{
    if (m_line.isForDesktop())
        return ExitCode::Done;
    m_err.writeLine(QStringLiteral("Cancelled."));
    return m_line.command == CommandLine::Command::Wait ? ExitCode::Interrupted : ExitCode::Failed;
}

} // namespace velmora
