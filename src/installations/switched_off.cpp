// SPDX-License-Identifier: MIT
#include "installations/switched_off.h"

#include "platform/preferences.h"

#include <algorithm>

namespace velmora
{

namespace
{

const QString kDisabledInstallationsKey = QStringLiteral("github.disabledInstallations");
const QString kExcludedRepositoriesKey = QStringLiteral("github.excludedRepositories");

QSet<QString> storedSet(const Preferences &preferences, const QString &key)
{
    const QStringList values = preferences.stringList(key);
    return QSet<QString>(values.begin(), values.end());
}

/// The ids of the records that are off, and the stored ids that stay.
template <typename Record>
QStringList idsToStore(
    const QList<Record> &records, bool Record::*isOn, const QStringList &stored, const SwitchedOff::Staying &stays)
{
    QStringList ids;
    QSet<QString> listed;
    for (const Record &record : records) {
        listed.insert(record.id());
        if (!(record.*isOn))
            ids.append(record.id());
    }
    std::ranges::copy_if(
        stored, std::back_inserter(ids), [&](const QString &id) { return !listed.contains(id) && stays(id); });
    return ids;
}

} // namespace

SwitchedOff::SwitchedOff(Preferences *preferences)
    : m_preferences(preferences)
{
}

bool SwitchedOff::isPreference(const QString &key)
{
    return key == kDisabledInstallationsKey || key == kExcludedRepositoriesKey;
}

QSet<QString> SwitchedOff::installations() const
{
    return storedSet(*m_preferences, kDisabledInstallationsKey);
}

QSet<QString> SwitchedOff::repositories() const
{
    return storedSet(*m_preferences, kExcludedRepositoriesKey);
}

void SwitchedOff::saveInstallations(const QList<InstallationRecord> &records, const Staying &stays)
{
    const QStringList stored = m_preferences->stringList(kDisabledInstallationsKey);
    m_preferences->setValue(
        kDisabledInstallationsKey, idsToStore(records, &InstallationRecord::isEnabled, stored, stays));
}

void SwitchedOff::saveRepositories(const QList<RepositoryRecord> &records, const Staying &stays)
{
    const QStringList stored = m_preferences->stringList(kExcludedRepositoriesKey);
    m_preferences->setValue(
        kExcludedRepositoriesKey, idsToStore(records, &RepositoryRecord::isIncluded, stored, stays));
}

} // namespace velmora
