// SPDX-License-Identifier: MIT
#include "monitor/deployment_news.h"

#include "accounts/authentication_store.h"
#include "installations/installation_store.h"
#include "monitor/deployment_list.h"

#include <algorithm>
#include <iterator>

namespace velmora
{

namespace
{

/// A running Velmora may save nothing for so long, while GitHub pauses an account.
constexpr std::chrono::hours kLongestHandOver{1};

QStringList loginsOf(const AuthenticationStore &authentication)
{
    QStringList logins;
    for (const GitHubAccountSession &session : authentication.sessions())
        logins.append(session.account.login);
    return logins;
}

} // namespace

DeploymentNews::DeploymentNews(DeploymentNotifying *notifier, Preferences *defaults, const Clock *clock)
    : m_announcer(notifier, defaults, clock)
{
}

void DeploymentNews::adoptSaved(Instant savedAt, Instant now)
{
    m_isHandedOver = now - savedAt < kLongestHandOver;
}

DeploymentList DeploymentNews::comparable(const DeploymentList &shown) const
{
    return m_announcer.hasCompletedLiveRefresh() || m_isHandedOver ? shown : DeploymentList();
}

void DeploymentNews::recordFetch(const RefreshContext &context, const QList<RepositoryRecord> &fetched,
    const DeploymentList &previous, const DeploymentList &updated)
{
    choices().setLogins(loginsOf(*context.authentication));
    const auto newcomers = addAnswered(fetched);
    forgetUnmonitored(context);
    if (newcomers.isEmpty() || !m_announcer.hasCompletedLiveRefresh())
        return;
    const RepositoryIndex index(newcomers);
    DeploymentList history;
    std::ranges::copy_if(updated, std::back_inserter(history),
        [&](const DeploymentSnapshot &deployment) { return index.find(deployment) != nullptr; });
    m_announcer.recordHistory(previous, history);
}

/// Returns the repositories that were answered for the first time.
QList<RepositoryRecord> DeploymentNews::addAnswered(const QList<RepositoryRecord> &fetched)
{
    QList<RepositoryRecord> newcomers;
    for (const RepositoryRecord &record : fetched) {
        if (!m_answered.contains(record.id()))
            newcomers.append(record);
        m_answered.insert(record.id(), record.identityID);
    }
    return newcomers;
}

void DeploymentNews::forgetUnmonitored(const RefreshContext &context)
{
    const auto unloaded = context.unloadedIdentities();
    QSet<QString> monitored;
    for (const RepositoryRecord &record : context.installations->monitoredRepositories())
        monitored.insert(record.id());
    m_answered.removeIf(
        [&](const auto &entry) { return !monitored.contains(entry.key()) && !unloaded.contains(entry.value()); });
}

} // namespace velmora
