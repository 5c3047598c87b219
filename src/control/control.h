// SPDX-License-Identifier: MIT
#pragma once

#include "control/control_answers.h"
#include "control/report_source.h"

namespace velmora
{

/// What a terminal can ask of a Velmora: of one that lives in its own process, or of the one that runs in the tray.
///
/// A stop ends the waiting with a CancellationError. Every operation may throw a ControlError where the Velmora that is
/// asked is another process.
class Control : public ReportSource
{
    Q_OBJECT

public:
    using ReportSource::ReportSource;

    /// The connected identities, once the keyring has said how they stand.
    [[nodiscard]] virtual QCoro::Task<QList<ListedAccount>> accounts(std::stop_token stop) = 0;
    /// Forgets the identity with the login, in any case of letters, and its token.
    [[nodiscard]] virtual QCoro::Task<RemovalAnswer> removeAccount(QString login, std::stop_token stop) = 0;
    /// Loads the installations from GitHub and switches those that are named: all of them or none.
    [[nodiscard]] virtual QCoro::Task<InstallationsAnswer> installations(
        InstallationChoices choices, std::stop_token stop)
        = 0;
    /// Loads the repositories from GitHub and switches those that are named: all of them or none.
    [[nodiscard]] virtual QCoro::Task<RepositoriesAnswer> repositories(RepositoryChoices choices, std::stop_token stop)
        = 0;
    /// Loads installations and deployments from GitHub, once and completely.
    [[nodiscard]] virtual QCoro::Task<LoadingAnswer> refresh(std::stop_token stop) = 0;
};

} // namespace velmora
