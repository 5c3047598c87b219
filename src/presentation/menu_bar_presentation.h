// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/github_account.h"
#include "installations/installation_record.h"
#include "monitor/deployment_monitor_state.h"

#include <QString>

#include <optional>

namespace velmora
{

/// The content between the header and the footer of the window.
enum class MenuBarContent {
    CodePanel,
    ConnectionPrompt,
    Loading,
    List,
    NotInstalled, ///< an account is connected, but the App is not installed
    NoAccess, ///< the App is installed, but no repository is granted to it
    NothingSelected, ///< repositories are granted, but all are switched off
    NoDeployments,
};

/// What menuBarContent() depends on.
struct MenuBarSituation {
    bool hasPendingAuthorization = false;
    bool hasAccount = false;
    DeploymentMonitorState monitor;
    bool hasDeployments = false; ///< be they listed or hidden
};

[[nodiscard]] MenuBarContent menuBarContent(const MenuBarSituation &situation);

/// Stands for the list while the first one is loading.
[[nodiscard]] QString loadingDeploymentsText();
/// The title and the text that stand for an empty list.
[[nodiscard]] QString noDeploymentsText();
[[nodiscard]] QString noDeploymentsExplanation();

/// The time in the footer: when the data on show was fetched. None while loading and while disconnected.
[[nodiscard]] std::optional<Instant> shownUpdateTime(const DeploymentMonitorState &state);

/// "Updated 2 minutes ago"; empty without a time.
[[nodiscard]] QString updatedText(std::optional<Instant> updatedAt, Instant now);

/// "Refreshing every 72 seconds, to stay within GitHub's limit".
[[nodiscard]] QString stretchedText(qint64 refreshIntervalSeconds);

/// Explains the status: that the data comes from the cache, that GitHub's limit stretches the refreshes, and a line for
/// each identity that failed. Empty if there is nothing to explain.
[[nodiscard]] QString statusExplanation(const DeploymentMonitorState &state, const QString &message);

/// Why the installations grant no repository.
[[nodiscard]] QString noAccessDescription(const QList<InstallationRecord> &installations);

/// Whether a new connection may be started: false while one is under way.
[[nodiscard]] bool canStartConnecting(GitHubSessionStatus connectionState);

/// Whether opening the window has to load the installations: they were never loaded, and are not being loaded.
[[nodiscard]] bool needsInstallations(
    const InstallationLoadingState &state, std::optional<Instant> installationsRefreshedAt);

} // namespace velmora
