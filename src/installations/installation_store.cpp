// SPDX-License-Identifier: MIT
#include "installations/installation_store.h"

#include "platform/preferences.h"

namespace velmora
{

namespace
{

const QString kDisabledInstallationsKey = QStringLiteral("github.disabledInstallations");
const QString kExcludedRepositoriesKey = QStringLiteral("github.excludedRepositories");

QSet<QString> storedSet(const Preferences &defaults, const QString &key)
{
    const QStringList values = defaults.stringList(key);
    return QSet<QString>(values.begin(), values.end());
}

} // namespace

InstallationStore::InstallationStore(GitHubClient client, Preferences *defaults, Clock *clock,
    std::shared_ptr<RateLimitLedger> rateLimits, QObject *parent)
    : QObject(parent)
    , m_client(std::move(client))
    , m_defaults(defaults)
    , m_clock(clock)
    , m_rateLimits(std::move(rateLimits))
{
    QObject::connect(m_defaults, &Preferences::changed, this, [this](const QString &key) {
        if (key == kDisabledInstallationsKey || key == kExcludedRepositoriesKey)
            adoptChoices();
    });
}

QSet<QString> InstallationStore::disabledInstallations() const
{
    return storedSet(*m_defaults, kDisabledInstallationsKey);
}

QSet<QString> InstallationStore::excludedRepositories() const
{
    return storedSet(*m_defaults, kExcludedRepositoriesKey);
}

void InstallationStore::setInstallation(const QString &key, bool enabled)
{
    const auto record = std::ranges::find(m_installations, key, &InstallationRecord::id);
    if (record == m_installations.end())
        return;
    const bool isChange = record->isEnabled != enabled;
    record->isEnabled = enabled;
    QStringList disabled;
    for (const InstallationRecord &installation : std::as_const(m_installations)) {
        if (!installation.isEnabled)
            disabled.append(installation.id());
    }
    m_defaults->setValue(kDisabledInstallationsKey, disabled);
    if (isChange)
        Q_EMIT installationsChanged();
}

void InstallationStore::setRepository(const QString &nodeID, bool included)
{
    const auto record = std::ranges::find(m_repositories, nodeID, &RepositoryRecord::id);
    if (record == m_repositories.end())
        return;
    const bool isChange = record->isIncluded != included;
    record->isIncluded = included;
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

void InstallationStore::saveExclusions()
{
    QStringList excluded;
    for (const RepositoryRecord &record : std::as_const(m_repositories)) {
        if (!record.isIncluded)
            excluded.append(record.id());
    }
    m_defaults->setValue(kExcludedRepositoriesKey, excluded);
}

void InstallationStore::adoptChoices()
{
    const QPointer<InstallationStore> self(this);
    const auto disabled = disabledInstallations();
    const auto excluded = excludedRepositories();
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
