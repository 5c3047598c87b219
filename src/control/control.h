// SPDX-License-Identifier: MIT
#pragma once

#include "control/control_records.h"
#include "control/report_source.h"

namespace velmora
{

/// What a terminal can ask of a Velmora, either in its own process or in the tray program.
///
/// A stop ends the waiting with a CancellationError. If the Velmora is another process, every operation may throw a
/// ControlError.
class Control : public ReportSource
{
    Q_OBJECT

public:
    using ReportSource::ReportSource;

    /// The connected identities, after they were restored from the keyring.
    [[nodiscard]] virtual QCoro::Task<QList<ListedAccount>> accounts(std::stop_token stop) = 0;
    /// Forgets the identity with the login, ignoring case, and its token.
    [[nodiscard]] virtual QCoro::Task<RemovalAnswer> removeAccount(QString login, std::stop_token stop) = 0;
    /// Loads the installations from GitHub and switches the named ones: all of them, or none if a name is unknown.
    [[nodiscard]] virtual QCoro::Task<InstallationsAnswer> installations(Switches switches, std::stop_token stop) = 0;
    /// Loads the repositories from GitHub and switches the named ones: all of them, or none if a name is unknown.
    [[nodiscard]] virtual QCoro::Task<RepositoriesAnswer> repositories(Switches switches, std::stop_token stop) = 0;
    /// Mutes or unmutes the repository. Loads the repositories from GitHub only if the name is not known.
    [[nodiscard]] virtual QCoro::Task<MutingAnswer> mute(MutingSwitch muting, std::stop_token stop) = 0;
    /// Pauses or resumes all notifications.
    [[nodiscard]] virtual QCoro::Task<PauseAnswer> pause(PauseSwitch pause, std::stop_token stop) = 0;
    /// Switches the named kinds of notifications, or none if a name is unknown. The desktop may refuse.
    [[nodiscard]] virtual QCoro::Task<NotificationsAnswer> notifications(
        NotificationSwitches switches, std::stop_token stop)
        = 0;
    /// Changes which failures count, nothing if a name is unknown, and lists those on show; where nothing was loaded
    /// yet, those that were saved. Asks GitHub for nothing.
    [[nodiscard]] virtual QCoro::Task<FailuresAnswer> failures(FailureSwitches switches, std::stop_token stop) = 0;
    /// Chooses about environments, nothing if a repository is unknown, and lists those of the last 30 days. Asks GitHub
    /// for nothing.
    [[nodiscard]] virtual QCoro::Task<EnvironmentsAnswer> environments(
        EnvironmentSwitches switches, std::stop_token stop)
        = 0;
    /// Loads installations and deployments from GitHub, once and completely.
    [[nodiscard]] virtual QCoro::Task<LoadingAnswer> refresh(std::stop_token stop) = 0;
};

} // namespace velmora
