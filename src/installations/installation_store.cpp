// SPDX-License-Identifier: MIT
// The records of the installation store and the choices of the user. installation_store_refresh.cpp loads the records.
#include "installations/installation_store.h"

#include "accounts/installation_page.h"
#include "platform/preferences.h"

namespace velmora
{

InstallationStore::InstallationStore(GitHubClient client, Preferences *defaults, Clock *clock,
    std::shared_ptr<RateLimitLedger> rateLimits, const InstallationPage *installationPage, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_rateLimits(std::move(rateLimits))
    , m_installationPage(installationPage)
    , m_loads(std::move(client), m_rateLimits)
    , m_switchedOff(defaults)
{
    QObject::connect(defaults, &Preferences::changed, this, [this](const QString &key) {
        if (SwitchedOff::isPreference(key))
            adoptChoices();
    });
}

std::optional<Instant> InstallationStore::loadedAt(qint64 identityID) const
{
    const auto knowledge = m_knowledge.constFind(identityID);
    if (knowledge == m_knowledge.constEnd() || !knowledge->reach)
        return std::nullopt;
    return knowledge->loadedAt;
}

bool InstallationStore::expectsInstallations(qint64 identityID) const
{
    const auto knowledge = m_knowledge.constFind(identityID);
    const bool hasNone
        = knowledge != m_knowledge.constEnd() && knowledge->reach && knowledge->reach->installations.isEmpty();
    return hasNone || (m_installationPage && m_installationPage->wasOpenedLately());
}

void InstallationStore::setInstallations(const QSet<QString> &keys, bool enabled)
{
    bool isKnown = false;
    bool isChange = false;
    for (InstallationRecord &record : m_installations) {
        if (!keys.contains(record.id()))
            continue;
        isKnown = true;
        isChange = isChange || record.isEnabled != enabled;
        record.isEnabled = enabled;
    }
    if (isKnown)
        m_switchedOff.saveInstallations(m_installations, [this](const QString &id) { return mayBeOfUnknown(id); });
    if (isChange)
        Q_EMIT installationsChanged();
}

void InstallationStore::setRepositories(const QSet<QString> &nodeIDs, bool included)
{
    bool isKnown = false;
    bool isChange = false;
    for (RepositoryRecord &record : m_repositories) {
        if (!nodeIDs.contains(record.id()))
            continue;
        isKnown = true;
        isChange = isChange || record.isIncluded != included;
        record.isIncluded = included;
    }
    if (isKnown)
        saveExclusions();
    if (isChange)
        Q_EMIT repositoriesChanged();
}

void InstallationStore::setAllRepositories(bool included)
{
    bool isChange = false;
    for (RepositoryRecord &record : m_repositories) {
        isChange = isChange || record.isIncluded != included;
        record.isIncluded = included;
    }
    saveExclusions();
    if (isChange)
        Q_EMIT repositoriesChanged();
}

/// A node id does not tell its identity: unless every identity is known, choices for unknown ids are kept.
void InstallationStore::saveExclusions()
{
    const bool isEverythingKnown = m_authentication
        && std::ranges::all_of(m_authentication->sessions(),
            [this](const GitHubAccountSession &session) { return isKnownWhole(session.id()); });
    m_switchedOff.saveRepositories(m_repositories, [isEverythingKnown](const QString &) { return !isEverythingKnown; });
}

/// Whether all repositories of the identity are known. Those of a suspended installation may come back.
bool InstallationStore::isKnownWhole(qint64 identityID) const
{
    const auto knowledge = m_knowledge.constFind(identityID);
    return knowledge != m_knowledge.constEnd() && knowledge->reach
        && std::ranges::none_of(knowledge->reach->installations, &GitHubInstallation::isSuspended);
}

/// Whether the key belongs to an identity whose installations are currently unknown.
bool InstallationStore::mayBeOfUnknown(const QString &installationKey) const
{
    if (!m_authentication)
        return true;
    return std::ranges::any_of(m_authentication->sessions(), [&](const GitHubAccountSession &session) {
        return !hasLoaded(session.id()) && isKeyOf(session.id(), installationKey);
    });
}

void InstallationStore::adoptChoices()
{
    const QPointer<InstallationStore> self(this);
    const auto disabled = m_switchedOff.installations();
    const auto excluded = m_switchedOff.repositories();
    bool haveInstallationsChanged = false;
    for (InstallationRecord &record : m_installations) {
        const bool wasEnabled = std::exchange(record.isEnabled, !disabled.contains(record.id()));
        haveInstallationsChanged = haveInstallationsChanged || wasEnabled != record.isEnabled;
    }
    bool haveRepositoriesChanged = false;
    for (RepositoryRecord &record : m_repositories) {
        const bool wasIncluded = std::exchange(record.isIncluded, !excluded.contains(record.id()));
        haveRepositoriesChanged = haveRepositoriesChanged || wasIncluded != record.isIncluded;
    }
    if (haveInstallationsChanged)
        Q_EMIT installationsChanged();
    if (self && haveRepositoriesChanged)
        Q_EMIT repositoriesChanged();
}

QList<RepositoryRecord> InstallationStore::monitoredRepositories() const
{
    QSet<std::pair<qint64, qint64>> enabled;
    for (const InstallationRecord &record : m_installations) {
        if (record.isEnabled)
            enabled.insert({record.identityID, record.installation.id});
    }
    QList<RepositoryRecord> monitored;
    for (const RepositoryRecord &record : m_repositories) {
        if (record.isIncluded && enabled.contains({record.identityID, record.installationID}))
            monitored.append(record);
    }
    return monitored;
}

} // namespace velmora
