// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/github_account.h"
#include "installations/installation_record.h"
#include "monitor/deployment_monitor_state.h"

#include <QString>

#include <optional>

namespace velmora
{

/// What stands between the header and the footer of the window.
enum class MenuBarContent {
    CodePanel,
    ConnectionPrompt,
    Loading,
    List,
    NotInstalled, ///< an account is connected, but the App is installed nowhere
    NoAccess, ///< it is installed, but no repository is granted to it
    NothingSelected, ///< repositories are granted, but all are switched off
    NoDeployments,
};

/// What the choice depends on.
struct MenuBarSituation {
    bool hasPendingAuthorization = false;
    bool hasAccount = false;
    DeploymentMonitorState monitor;
    bool hasDeployments = false;
};

[[nodiscard]] MenuBarContent menuBarContent(const MenuBarSituation &situation);

/// The time that the footer shows: when what is shown was right.
[[nodiscard]] std::optional<Instant> shownUpdateTime(const DeploymentMonitorState &state);

/// "Updated 2 minutes ago"; empty without a time.
[[nodiscard]] QString updatedText(std::optional<Instant> updatedAt, Instant now);

/// Why the status is what it is: that the data is saved data, and a line for each identity that failed. Empty where
/// there is nothing to explain.
[[nodiscard]] QString statusExplanation(const DeploymentMonitorState &state, const QString &message);

/// Why installations grant no repository.
[[nodiscard]] QString noAccessDescription(const QList<InstallationRecord> &installations);

/// Whether a new connection may be started: not while one is under way.
[[nodiscard]] bool canStartConnecting(GitHubSessionStatus connectionState);

/// Whether whoever opens the window has to have the installations loaded: nobody has done so, or is about to.
[[nodiscard]] bool needsInstallations(
    const InstallationLoadingState &state, std::optional<Instant> installationsRefreshedAt);

} // namespace velmora
