// SPDX-License-Identifier: MIT
#include "accounts/connection_counts.h"

#include "platform/preferences.h"

#include <QStringList>

#include <algorithm>

namespace velmora
{

ConnectionCounts::ConnectionCounts(Preferences *preferences)
    : m_preferences(preferences)
    , m_known(stored())
{
}

QString ConnectionCounts::key()
{
    return QStringLiteral("github.connections");
}

/// An entry is the account and its count, "42:3". Malformed entries are ignored.
QHash<qint64, qint64> ConnectionCounts::stored() const
{
    QHash<qint64, qint64> counts;
    const QStringList entries = m_preferences->stringList(key());
    for (const QString &entry : entries) {
        const QStringList parts = entry.split(QLatin1Char(':'));
        bool isAccount = false;
        bool isCount = false;
        const qint64 accountID = parts.first().toLongLong(&isAccount);
        const qint64 count = parts.last().toLongLong(&isCount);
        if (parts.size() == 2 && isAccount && isCount)
            counts.insert(accountID, count);
    }
    return counts;
}

void ConnectionCounts::increase(qint64 accountID)
{
    auto counts = stored();
    ++counts[accountID];
    m_known[accountID] = counts.value(accountID);
    QStringList entries;
    for (auto entry = counts.cbegin(); entry != counts.cend(); ++entry)
        entries.append(QStringLiteral("%1:%2").arg(entry.key()).arg(entry.value()));
    std::ranges::sort(entries);
    m_preferences->setValue(key(), entries);
}

QList<qint64> ConnectionCounts::takeChanged()
{
    const auto counts = stored();
    QList<qint64> changed;
    for (auto entry = counts.cbegin(); entry != counts.cend(); ++entry) {
        if (m_known.value(entry.key()) != entry.value())
            changed.append(entry.key());
    }
    m_known = counts;
    return changed;
}

} // namespace velmora
