// SPDX-License-Identifier: MIT
#include "accounts/ended_sessions.h"

#include "accounts/credential_fingerprint.h"
#include "platform/preferences.h"

namespace velmora
{

namespace
{

QString entryStart(qint64 accountID)
{
    return QString::number(accountID) + QLatin1Char(':');
}

QString entryFor(qint64 accountID, const GitHubCredential &credential)
{
    return entryStart(accountID) + QString::fromLatin1(fingerprint(credential));
}

} // namespace

EndedSessions::EndedSessions(Preferences *preferences)
    : m_preferences(preferences)
{
}

QString EndedSessions::key()
{
    return QStringLiteral("github.endedSessions");
}

bool EndedSessions::isNamed(const QStringList &entries, qint64 accountID, const GitHubCredential &credential)
{
    return !entries.isEmpty() && entries.contains(entryFor(accountID, credential));
}

bool EndedSessions::contains(qint64 accountID, const GitHubCredential &credential) const
{
    return isNamed(m_preferences->stringList(key()), accountID, credential);
}

void EndedSessions::add(qint64 accountID, const GitHubCredential &credential)
{
    QStringList entries = m_preferences->stringList(key());
    entries.removeIf([&](const QString &entry) { return entry.startsWith(entryStart(accountID)); });
    entries.append(entryFor(accountID, credential));
    m_preferences->setValue(key(), entries);
}

void EndedSessions::remove(qint64 accountID)
{
    QStringList entries = m_preferences->stringList(key());
    if (entries.removeIf([&](const QString &entry) { return entry.startsWith(entryStart(accountID)); }) == 0)
        return;
    if (entries.isEmpty())
        m_preferences->remove(key());
    else
        m_preferences->setValue(key(), entries);
}

} // namespace velmora
