// SPDX-License-Identifier: MIT
#pragma once

#include "app/demo.h"
#include "app/desktop.h"
#include "app/process_signals.h"
#include "app/renewal_grace.h"
#include "app/wake_sources.h"
#include "cli/commands.h"
#include "cli/terminal_notifier.h"
#include "control/control_service.h"
#include "control/local_control.h"
#include "control/observed_notifier.h"
#include "control/remote_control.h"
#include "control/saved_reports.h"
#include "notifications/user_notification_service.h"
#include "notifications/waiting_notifier.h"
#include "platform/application_service.h"
#include "support/clock.h"

#include <QTimer>

#include <memory>
#include <optional>

namespace velmora
{

/// One run of one command, from the configuration to the exit code. The application object exists.
class Program final : public QObject
{
    Q_OBJECT

public:
    /// `startupToken` is the leave to take the focus that this process was started with; empty for none.
    explicit Program(CommandLine line, QString startupToken = {});
    ~Program() override;

    /// Runs the command and the event loop until it has ended. A command that does not heed the end within
    /// a moment ends with the process.
    [[nodiscard]] int run();

    /// The end of the session is an end like any other: what is under way is finished first.
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    int execute();
    QCoro::Task<> runAndExit();
    QCoro::Task<ExitCode> runCommand();
    QCoro::Task<ExitCode> runWithBus();
    QCoro::Task<ExitCode> runOnBus();

    // On the desktop.
    QCoro::Task<ExitCode> runAsDesktop();
    QCoro::Task<bool> claimDesktop();
    QCoro::Task<ExitCode> quitRunning();
    QCoro::Task<> askRunning();
    QCoro::Task<ExitCode> askFromElsewhere();
    void openDesktop(const QString &activationToken);
    void actOnDesktop(const QString &action, const QString &activationToken);
    QCoro::Task<ExitCode> runDesktop();
    void makeService();
    [[nodiscard]] QString busName() const;

    // In the terminal.
    QCoro::Task<ExitCode> runInTerminal();
    QCoro::Task<ExitCode> runConnecting();
    QCoro::Task<ExitCode> runWithReports();
    QCoro::Task<ExitCode> runWithControl();
    QCoro::Task<ExitCode> dispatch(CommandContext context);
    QCoro::Task<ReportSource *> enterReports();
    QCoro::Task<> leaveReports();

    // The objects behind all of them.
    QCoro::Task<> enterStores();
    QCoro::Task<> leaveStores();
    QCoro::Task<> enterSaved();
    QCoro::Task<> connectDemo();
    QCoro::Task<> tellFailure(QString reason);
    void watchMachine();
    [[nodiscard]] AppEnvironment realEnvironment();
    [[nodiscard]] std::unique_ptr<ProfileFiles> realFiles();
    void announceOnDesktop(AppEnvironment *environment);
    [[nodiscard]] CommandContext baseContext();
    void listenTo(FilePreferences *preferences);

    void requestEnd();
    void endWithoutCommand();
    QCoro::Task<> graceAndEnd();
    [[noreturn]] void endAtOnce();
    void finishWithoutDisplay();
    ExitCode reportCancelled();

    CommandLine m_line;
    QString m_startupToken;
    Terminal m_out;
    Terminal m_err;
    ProcessSignals m_signals;
    SystemClock m_clock;
    std::stop_source m_stop;
    QDBusConnection m_bus{QString()}; ///< the session's, where there is one that answers
    QTimer m_patience; ///< for a command that was asked to end
    RenewalGrace m_grace;
    std::unique_ptr<Pasteboard> m_pasteboard;
    std::unique_ptr<URLOpener> m_urlOpener;
    std::unique_ptr<Demo> m_demo;
    std::unique_ptr<UserNotificationService> m_desktopNotifications;
    std::unique_ptr<ObservedNotifier> m_desktopNotifier; ///< the tray program's
    TerminalNotifier m_notifier;
    WaitingNotifier m_waitingNotifier;
    std::unique_ptr<VelmoraApp> m_app;
    std::unique_ptr<LocalControl> m_control; ///< of the app
    std::unique_ptr<ProfileFiles> m_files; ///< where the app is not needed
    std::unique_ptr<SavedReports> m_saved; ///< of the app's files, or of those
    std::unique_ptr<WakeSources> m_wakeSources; ///< for a command that goes on
    std::unique_ptr<RemoteControl> m_remote; ///< of the Velmora that runs in the session
    std::unique_ptr<ApplicationService> m_service; ///< of the desktop's program
    ControlService *m_controlService = nullptr; ///< the application service's
    std::unique_ptr<Desktop> m_desktop;
    bool m_opensAtStart = false; ///< somebody asked before there was a window
    bool m_opensSettingsAtStart = false;
};

/// Whether a client id is configured; the answer for scripts. Says on standard error what is wrong with a
/// configuration that cannot be read.
[[nodiscard]] ExitCode reportIsConfigured();

} // namespace velmora
