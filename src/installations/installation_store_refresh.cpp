// SPDX-License-Identifier: MIT
#include "installations/installation_store.h"

#include "github/deployment_client_error.h"
#include "github/paused_error.h"
#include "support/alphabetical_order.h"
#include "support/error.h"

namespace velmora
{

QCoro::Task<> InstallationStore::refresh(AuthenticationStore *authentication, std::stop_token stop)
{
    return refreshSessions(authentication, Patience::Long, std::nullopt, std::move(stop));
}

QCoro::Task<> InstallationStore::refreshIdentities(
    AuthenticationStore *authentication, QSet<qint64> identities, std::stop_token stop)
{
    return refreshSessions(authentication, Patience::Short, std::move(identities), std::move(stop));
}

QCoro::Task<> InstallationStore::refreshSessions(QPointer<AuthenticationStore> authentication, Patience patience,
    std::optional<QSet<qint64>> only, std::stop_token stop)
{
    const QPointer<InstallationStore> self(this);
    if (!authentication || stop.stop_requested())
        co_return;
    m_authentication = authentication;
    ++m_runningRefreshes;
    if (!authentication->sessions().isEmpty() && (!only || !m_lastRefreshedAt))
        setState({InstallationLoadingState::Case::Loading, {}});
    if (!self)
        co_return;
    const auto findings = co_await gather(authentication, patience, only, stop);
    if (!self)
        co_return;
    --m_runningRefreshes;
    if (findings.isCancelled || stop.stop_requested() || !authentication)
        abandon();
    else
        publish(findings, QList<GitHubAccountSession>(authentication->sessions()));
}

QCoro::Task<InstallationStore::Findings> InstallationStore::gather(QPointer<AuthenticationStore> authentication,
    Patience patience, std::optional<QSet<qint64>> only, std::stop_token stop)
{
    const QPointer<InstallationStore> self(this);
    Findings findings;
    findings.isCancelled = !authentication;
    if (findings.isCancelled)
        co_return findings;
    const auto credentials
        = patience == Patience::Short ? authentication->promptCredentials() : authentication->credentials();
    const auto sessions = authentication->sessions();
    findings.isWhole = true;
    for (const GitHubAccountSession &session : sessions) {
        const qint64 identityID = session.id();
        if (only && !only->contains(identityID)) {
            findings.isWhole = false;
            continue;
        }
        if (const auto until = m_rateLimits->pausedUntil(identityID, m_clock->now())) {
            findings.paused.insert(
                identityID, {identityID, session.account.login, PausedError(*until).description(), true});
            continue;
        }
        const auto load = co_await m_loads.load(identityID, credentials, patience, stop);
        findings.isCancelled
            = !self || !authentication || stop.stop_requested() || (load.failure && isCancellation(load.failure));
        if (findings.isCancelled)
            break;
        // A known identity keeps its records while its credential is pending or a pause has begun.
        if (!load.isPutOff() || !hasLoaded(identityID))
            findings.loaded.insert(identityID, knowledgeOf(load, session.account, *authentication));
    }
    co_return findings;
}

InstallationStore::Knowledge InstallationStore::knowledgeOf(
    const InstallationLoad &load, const GitHubAccount &account, const AuthenticationStore &authentication)
{
    Knowledge knowledge{load.number, load.loadedAt, load.reach, std::nullopt};
    if (load.failure) {
        const bool isRateLimit = rateLimitOf(load.failure).has_value();
        knowledge.failure = {account.id, account.login, authentication.explain(account.id, load.failure), isRateLimit};
    }
    return knowledge;
}

void InstallationStore::publish(const Findings &findings, const QList<GitHubAccountSession> &sessions)
{
    const QPointer<InstallationStore> self(this);
    for (auto entry = findings.loaded.cbegin(); entry != findings.loaded.cend(); ++entry) {
        Knowledge &known = m_knowledge[entry.key()];
        if (entry->load >= known.load)
            known = *entry;
    }
    for (auto entry = findings.paused.cbegin(); entry != findings.paused.cend(); ++entry) {
        if (!hasLoaded(entry.key()))
            m_knowledge[entry.key()].failure = *entry;
    }
    forgetOthers(sessions);
    publishRecords(sessions);
    if (self)
        settle(sessions, findings.isWhole);
}

void InstallationStore::forgetOthers(const QList<GitHubAccountSession> &sessions)
{
    m_knowledge.removeIf([&sessions](const auto &entry) {
        return std::ranges::find(sessions, entry.key(), &GitHubAccountSession::id) == sessions.end();
    });
}

void InstallationStore::publishRecords(const QList<GitHubAccountSession> &sessions)
{
    // Read the choices now: the user may have changed them during the load.
    const auto disabled = m_switchedOff.installations();
    const auto excluded = m_switchedOff.repositories();
    QList<InstallationRecord> installations;
    QList<RepositoryRecord> repositories;
    QSet<QString> seen;
    for (const GitHubAccountSession &session : sessions) {
        const auto knowledge = m_knowledge.constFind(session.id());
        if (knowledge == m_knowledge.constEnd() || !knowledge->reach)
            continue;
        for (const GitHubInstallation &installation : knowledge->reach->installations) {
            const bool isEnabled = !disabled.contains(installationKey(session.id(), installation.id));
            installations.append({session.id(), installation, isEnabled});
        }
        for (RepositoryRecord record : knowledge->reach->repositories) {
            if (seen.contains(record.id()))
                continue; // the first identity counts
            seen.insert(record.id());
            record.isIncluded = !excluded.contains(record.id());
            repositories.append(std::move(record));
        }
    }
    sortAlphabetically(
        installations, [](const InstallationRecord &record) { return record.installation.account.login; });
    sortAlphabetically(repositories, [](const RepositoryRecord &record) { return record.repository.nameWithOwner; });

    const QPointer<InstallationStore> self(this);
    const bool areInstallationsNew = installations != m_installations;
    const bool areRepositoriesNew = repositories != m_repositories;
    m_installations = std::move(installations);
    m_repositories = std::move(repositories);
    if (areInstallationsNew)
        Q_EMIT installationsChanged();
    if (self && areRepositoriesNew)
        Q_EMIT repositoriesChanged();
}

void InstallationStore::settle(const QList<GitHubAccountSession> &sessions, bool isWhole)
{
    using Case = InstallationLoadingState::Case;
    QList<InstallationFailure> failures;
    QSet<qint64> loaded;
    QStringList lines;
    for (const GitHubAccountSession &session : sessions) {
        const Knowledge knowledge = m_knowledge.value(session.id());
        if (knowledge.reach)
            loaded.insert(session.id());
        if (!knowledge.failure)
            continue;
        failures.append(*knowledge.failure);
        lines.append(knowledge.failure->login + QStringLiteral(": ") + knowledge.failure->description);
    }
    InstallationLoadingState state{lines.isEmpty() ? Case::Ready : Case::Stale, lines.join(QLatin1Char('\n'))};
    if (sessions.isEmpty())
        state = {Case::Disconnected, {}};
    const auto refreshedAt
        = !sessions.isEmpty() && (isWhole || !m_lastRefreshedAt) ? std::optional(m_clock->now()) : m_lastRefreshedAt;
    const bool isChange
        = state != m_state || failures != m_failures || refreshedAt != m_lastRefreshedAt || loaded != m_loaded;
    m_settledState = state;
    m_state = state;
    m_failures = std::move(failures);
    m_lastRefreshedAt = refreshedAt;
    m_loaded = loaded;
    if (isChange)
        Q_EMIT stateChanged();
}

void InstallationStore::retain(QList<GitHubAccountSession> sessions)
{
    const QPointer<InstallationStore> self(this);
    forgetOthers(sessions);
    publishRecords(sessions);
    // A running or first refresh settles the state itself.
    if (self && m_lastRefreshedAt && m_runningRefreshes == 0)
        settle(sessions, false);
}

void InstallationStore::abandon()
{
    // Another running refresh keeps the state `loading`.
    if (m_runningRefreshes == 0)
        setState(m_settledState);
}

void InstallationStore::setState(const InstallationLoadingState &state)
{
    if (m_state == state)
        return;
    m_state = state;
    Q_EMIT stateChanged();
}

} // namespace velmora
