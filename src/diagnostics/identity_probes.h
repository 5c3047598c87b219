// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_storing.h"
#include "accounts/credential_turns.h"
#include "diagnostics/network_probes.h"
#include "diagnostics/texts.h"

namespace velmora
{

/// What the questions about the identities need.
struct IdentityProbeServices {
    NetworkProbeServices network;
    std::shared_ptr<CredentialStoring> credentials;
    ProbedEndpoints endpoints;
    QStringList endedSessions; ///< the list of EndedSessions
    CredentialLockPlaces locks; ///< of the credentials
};

/// For each account, under a number instead of its name: what is left of its rate limits, or what its session is
/// waiting for.
///
/// Reading from a keyring starts one where none is running, so whoever must not do that does not ask then.
/// A credential is read without asking the person for anything, and never renewed: the old one dies with that, and a
/// report that ends within seconds could not promise to store the new one. `counts` is filled as answers come.
[[nodiscard]] QList<Probe> identityProbes(
    const IdentityProbeServices &services, const QList<qint64> &accountIDs, std::shared_ptr<IdentityCounts> counts);

} // namespace velmora
