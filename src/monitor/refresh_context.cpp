// SPDX-License-Identifier: MIT
#include "monitor/refresh_context.h"

#include "accounts/authentication_store.h"
#include "installations/installation_store.h"
#include "monitor/polling_schedule.h"

namespace velmora
{

QSet<qint64> listedIdentities(const AuthenticationStore &authentication)
{
    QSet<qint64> result;
    for (const auto &session : authentication.sessions())
        result.insert(session.id());
    return result;
}

QSet<qint64> RefreshContext::listedIdentities() const
{
    return velmora::listedIdentities(*authentication);
}

QSet<qint64> RefreshContext::unloadedIdentities() const
{
    auto result = listedIdentities();
    result.removeIf([&](qint64 id) { return installations->hasLoaded(id); });
    return result;
}

QSet<qint64> RefreshContext::neverLoadedIdentities() const
{
    auto result = unloadedIdentities();
    for (const auto &failure : installations->failures())
        result.remove(failure.identityID);
    return result;
}

QSet<qint64> RefreshContext::identitiesWithInstallationsDue() const
{
    auto result = listedIdentities();
    result.removeIf([&](qint64 id) {
        const auto loadedAt = installations->loadedAt(id);
        return loadedAt && !areInstallationsDue(*loadedAt, installations->expectsInstallations(id), now);
    });
    return result;
}

QSet<QString> RefreshContext::monitoredIDs() const
{
    const auto listed = listedIdentities();
    QSet<QString> monitored;
    for (const auto &record : installations->monitoredRepositories()) {
        if (listed.contains(record.identityID))
            monitored.insert(record.id());
    }
    return monitored;
}

std::optional<MissingStep> RefreshContext::missingStep() const
{
    if (authentication->sessions().isEmpty())
        return MissingStep::Account;
    if (!unloadedIdentities().isEmpty() || !installations->monitoredRepositories().isEmpty())
        return std::nullopt;
    if (installations->installations().isEmpty())
        return MissingStep::Installation;
    return installations->repositories().isEmpty() ? MissingStep::Access : MissingStep::Selection;
}

} // namespace velmora
