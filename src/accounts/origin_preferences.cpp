// SPDX-License-Identifier: MIT
#include "accounts/origin_preferences.h"

#include "accounts/earlier_profile.h"

namespace velmora
{

namespace
{

bool belongsToAccounts(const QString &key)
{
    return key.startsWith(QLatin1String("github.")) || key.startsWith(QLatin1String("deployments."));
}

} // namespace

OriginPreferences::OriginPreferences(Preferences *preferences, LoginOrigin origin, QObject *parent)
    : Preferences(parent)
    , m_preferences(preferences)
    , m_origin(std::move(origin))
{
    connect(preferences, &Preferences::changed, this, &OriginPreferences::announce);
    connect(preferences, &Preferences::failureChanged, this, &Preferences::failureChanged);
    connect(preferences, &Preferences::settled, this, &Preferences::settled);
    connect(preferences, &Preferences::damageFound, this, &Preferences::damageFound);
}

std::optional<Preferences::Value> OriginPreferences::value(const QString &key) const
{
    return m_preferences->value(storedKey(key));
}

void OriginPreferences::setValue(const QString &key, const Value &value)
{
    settleOwnerOf(key);
    m_preferences->setValue(storedKey(key), value);
}

QCoro::Task<ListChanges> OriginPreferences::changeLists(ListChanges changes)
{
    QMap<QString, QString> keys;
    ListChanges stored;
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        settleOwnerOf(change.key());
        keys.insert(storedKey(change.key()), change.key());
        stored.insert(storedKey(change.key()), *change);
    }
    const ListChanges storedDifferences = co_await m_preferences->changeLists(stored);
    ListChanges differences;
    for (auto difference = storedDifferences.begin(); difference != storedDifferences.end(); ++difference)
        differences.insert(keys.value(difference.key()), *difference);
    co_return differences;
}

/// Called before github.com stores a value of its own, which no other host may take over as its earlier accounts.
void OriginPreferences::settleOwnerOf(const QString &key)
{
    if (m_origin.isGitHub() && belongsToAccounts(key))
        settleEarlierOwner(m_preferences, m_origin);
}

void OriginPreferences::remove(const QString &key)
{
    m_preferences->remove(storedKey(key));
}

QString OriginPreferences::storedKey(const QString &key) const
{
    return belongsToAccounts(key) ? m_origin.preferenceKey(key) : key;
}

void OriginPreferences::announce(const QString &stored)
{
    const QString key = belongsToAccounts(stored) ? stored.section(QLatin1Char('@'), 0, 0) : stored;
    if (storedKey(key) == stored)
        Q_EMIT changed(key);
}

} // namespace velmora
