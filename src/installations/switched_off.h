// SPDX-License-Identifier: MIT
#pragma once

#include "platform/preferences.h"

#include <QSet>

#include <algorithm>
#include <iterator>

namespace velmora
{

/// The records of one kind that the user has switched off, as a list of their ids in the preferences. A missing or
/// malformed list counts as empty.
class SwitchedOff
{
public:
    /// `preferences` is not owned.
    SwitchedOff(Preferences *preferences, const QString &key)
        : m_preferences(preferences)
        , m_key(key)
    {
    }

    /// The key of the list.
    [[nodiscard]] const QString &key() const { return m_key; }

    [[nodiscard]] QSet<QString> ids() const
    {
        const QStringList ids = m_preferences->stringList(m_key);
        return QSet<QString>(ids.begin(), ids.end());
    }

    /// Stores the ids of the records that are off, in their order, followed by the stored ids that have no record and
    /// for which `stays` returns true.
    template <typename Record, typename Stays>
    void save(const QList<Record> &records, bool Record::*isOn, const Stays &stays)
    {
        QStringList ids;
        QSet<QString> listed;
        for (const Record &record : records) {
            listed.insert(record.id());
            if (!(record.*isOn))
                ids.append(record.id());
        }
        const QStringList stored = m_preferences->stringList(m_key);
        std::ranges::copy_if(
            stored, std::back_inserter(ids), [&](const QString &id) { return !listed.contains(id) && stays(id); });
        m_preferences->setValue(m_key, ids);
    }

private:
    Preferences *m_preferences;
    QString m_key;
};

} // namespace velmora
