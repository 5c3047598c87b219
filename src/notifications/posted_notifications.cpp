// SPDX-License-Identifier: MIT
#include "notifications/posted_notifications.h"

#include <algorithm>
#include <utility>

namespace velmora
{

QString PostedNotifications::handleOf(const QString &identifier) const
{
    const auto found = std::ranges::find(m_entries, identifier, &Entry::identifier);
    return found == m_entries.end() ? QString() : found->handle;
}

QString PostedNotifications::note(const QString &identifier, const QString &handle, const Targets &targets)
{
    const QString earlier = handleOf(identifier);
    m_entries.removeIf([&](const Entry &entry) { return entry.identifier == identifier || entry.handle == handle; });
    m_entries.append(
        Entry{.identifier = identifier, .handle = handle, .targets = targets, .activationToken = {}, .taken = {}});
    if (m_entries.size() > m_capacity)
        m_entries.removeFirst();
    return earlier == handle ? QString() : earlier;
}

void PostedNotifications::recordActivationToken(const QString &handle, const QString &token)
{
    if (Entry *const entry = entryWith(handle))
        entry->activationToken = token;
}

std::optional<PostedNotifications::Click> PostedNotifications::takeClick(
    const QString &handle, NotificationAction action)
{
    Entry *const entry = entryWith(handle);
    if (!entry || entry->taken.contains(action))
        return std::nullopt;
    entry->taken.append(action);
    return Click{.targets = entry->targets, .activationToken = std::exchange(entry->activationToken, QString())};
}

void PostedNotifications::forget(const QString &handle)
{
    m_entries.removeIf([&](const Entry &entry) { return entry.handle == handle; });
}

PostedNotifications::Entry *PostedNotifications::entryWith(const QString &handle)
{
    const auto found = std::ranges::find(m_entries, handle, &Entry::handle);
    return found == m_entries.end() ? nullptr : &*found;
}

} // namespace velmora
