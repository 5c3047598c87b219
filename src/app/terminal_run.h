// SPDX-License-Identifier: MIT
#pragma once

#include "app/run.h"
#include "cli/commands.h"
#include "control/saved_reports.h"

#include <memory>

namespace velmora
{

class RemoteControl;

/// A command in the terminal. The Velmora that runs in the session is asked; where none runs, this process does the
/// work itself.
class TerminalRun final : public Run
{
    Q_OBJECT

public:
    explicit TerminalRun(RunContext context);
    ~TerminalRun() override;

    [[nodiscard]] QCoro::Task<ExitCode> execute() override;

private:
    QCoro::Task<ExitCode> connectAccount();
    QCoro::Task<ExitCode> quitRunning();
    QCoro::Task<ExitCode> runWithControl();
    QCoro::Task<ExitCode> runWithReports();
    QCoro::Task<ExitCode> dispatch(CommandContext commandContext);
    QCoro::Task<Control *> locateControl(RemoteControl *remote);
    QCoro::Task<> ensureSession(std::stop_token stop);
    QCoro::Task<ReportSource *> createReports(std::stop_token stop);
    QCoro::Task<ReportSource *> createLiveReports(std::stop_token stop);
    QCoro::Task<ReportSource *> createSavedReports();
    QCoro::Task<> destroyReports(std::stop_token stop);
    [[nodiscard]] CommandContext commandContext() const;

    std::unique_ptr<ProfileFiles> m_files; ///< of a report that needs no session
    std::unique_ptr<SavedReports> m_savedReports; ///< of the session's files, or of m_files
};

} // namespace velmora
