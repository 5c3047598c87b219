// SPDX-License-Identifier: MIT
#pragma once

#include "app/process_signals.h"
#include "app/renewal_grace.h"
#include "cli/command_line.h"
#include "cli/terminal.h"
#include "support/clock.h"

#include <QDBusConnection>
#include <QTimer>

#include <memory>
#include <stop_token>

namespace velmora
{

class AuthenticationStore;
class Run;
class Session;

/// The process from a parsed command line to the exit code: it starts the run of the command, handles signals, and
/// brings every end about. The application object exists.
class Program final : public QObject
{
    Q_OBJECT

public:
    /// `startupToken` allows the process to take the focus; empty for none.
    explicit Program(CommandLine line, QString startupToken = {});
    ~Program() override;

    /// Runs the command and the event loop until it has ended. A command that does not end within
    /// a moment ends with the process.
    [[nodiscard]] int run();

    /// Treats the end of the desktop session like any other: what is under way is finished first.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    int execute();
    QCoro::Task<> runAndExit();
    QCoro::Task<ExitCode> runCommand();
    QCoro::Task<ExitCode> runWithBus();
    void startRun(const QDBusConnection &bus);
    QCoro::Task<> showFailure(QString reason);

    void requestEnd();
    void endWithoutCommand();
    QCoro::Task<> graceAndEnd();
    [[noreturn]] void endAtOnce();
    void finishWithoutDisplay();
    ExitCode reportCancelled();
    [[nodiscard]] Session *session() const;
    [[nodiscard]] AuthenticationStore *authentication() const;
    void save() const;

    CommandLine m_line;
    QString m_startupToken;
    Terminal m_out;
    Terminal m_err;
    ProcessSignals m_signals;
    SystemClock m_clock;
    std::stop_source m_stop;
    QTimer m_patience; ///< runs while a command that was asked to end has not ended
    RenewalGrace m_grace;
    std::unique_ptr<Run> m_run; ///< null before the session bus is known, and for a diagnosis
};

/// Whether a client id is configured; the answer for scripts. Says on standard error what is wrong with a
/// configuration that cannot be read.
[[nodiscard]] ExitCode reportIsConfigured();

} // namespace velmora
