// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/deployment_monitor_state.h"
#include "support/instant.h"

#include <QSet>
#include <QString>

#include <optional>

namespace velmora
{

class AuthenticationStore;
class InstallationStore;

/// The identities that have a session.
[[nodiscard]] QSet<qint64> listedIdentities(const AuthenticationStore &authentication);

/// Which repositories a refresh asks for.
enum class RefreshScope {
    All, ///< every monitored repository of every identity that may be asked
    Retried, ///< those of identities that failed or are new, between two full refreshes
    Active, ///< those with a deployment under way
};

/// What a refresh works with: the two stores, not owned, and the time at which it was decided on.
///
/// Identities come in several sets. *Listed* identities have a session. *Connected* ones have a session whose
/// credential is at hand. *Askable* ones are listed and neither wait after a failure nor are paused by a rate limit
/// (FetchOutcomes). *Unloaded* ones are listed, but their installations are not known. The *succeeded* ones of a
/// refresh are those whose answer came (FetchedDeployments).
struct RefreshContext {
    AuthenticationStore *authentication;
    InstallationStore *installations;
    Instant now;

    [[nodiscard]] QSet<qint64> listedIdentities() const;
    [[nodiscard]] QSet<qint64> unloadedIdentities() const;
    /// The unloaded identities for which no request for installations has failed yet.
    [[nodiscard]] QSet<qint64> neverLoadedIdentities() const;
    /// The listed identities whose installations are to be loaded with the next full refresh.
    [[nodiscard]] QSet<qint64> identitiesWithInstallationsDue() const;
    /// The node identifiers of the monitored repositories of listed identities.
    [[nodiscard]] QSet<QString> monitoredIDs() const;
    /// What the user has still to do before there is anything to monitor. Nothing while something is monitored, and
    /// while an identity is unloaded.
    [[nodiscard]] std::optional<MissingStep> missingStep() const;
    [[nodiscard]] bool hasNothingToMonitor() const { return missingStep().has_value(); }
};

} // namespace velmora
