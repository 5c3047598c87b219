// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_storing.h"
#include "accounts/credential_turns.h"
#include "diagnostics/network_probes.h"
#include "diagnostics/texts.h"

namespace velmora
{

/// The services of the identity probes.
struct IdentityProbeServices {
    NetworkProbeServices network;
    std::shared_ptr<CredentialStoring> credentials;
    ProbedEndpoints endpoints;
    QStringList endedSessions; ///< the stored list of EndedSessions
    CredentialLockPlaces locks; ///< the lock files of the credentials
};

/// Probes that report, for each account, the rest of its rate limits or what its session waits for. Accounts are
/// numbered, not named.
///
/// Reading from a keyring starts its service if necessary; a caller that must not start one must not run these probes.
/// A credential is read without prompting the user. It is never renewed: that would invalidate the old one, and a
/// report that ends within seconds could not guarantee that the new one is stored. `counts` is filled as the probes
/// finish.
[[nodiscard]] QList<Probe> identityProbes(
    const IdentityProbeServices &services, const QList<qint64> &accountIDs, std::shared_ptr<IdentityCounts> counts);

} // namespace velmora
