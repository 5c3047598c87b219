// SPDX-License-Identifier: MIT
#include "installations/installation_store.h"

#include "github/deployment_client_error.h"
#include "support/alphabetical_order.h"
#include "support/error.h"

#include <QDateTime>

namespace velmora
{

namespace
{

/// The first whole minute at which GitHub may be asked again, on the person's clock.
QString pauseDescription(Instant until)
{
    const auto minute = std::chrono::ceil<std::chrono::minutes>(until);
    const auto time = QDateTime::fromSecsSinceEpoch(std::chrono::seconds(minute.time_since_epoch()).count());
    return QStringLiteral("GitHub asks to wait until %1.").arg(time.toString(QStringLiteral("HH:mm")));
}

} // namespace

QCoro::Task<> InstallationStore::refresh(AuthenticationStore *authentication, std::stop_token stop)
{
    return refreshSessions(authentication, std::nullopt, std::move(stop));
}

QCoro::Task<> InstallationStore::refreshIdentities(
    AuthenticationStore *authentication, QSet<qint64> identities, std::stop_token stop)
{
    return refreshSessions(authentication, std::move(identities), std::move(stop));
}

QCoro::Task<> InstallationStore::refreshSessions(
    QPointer<AuthenticationStore> authentication, std::optional<QSet<qint64>> only, std::stop_token stop)
{
    const QPointer<InstallationStore> self(this);
    if (!authentication || stop.stop_requested())
        co_return;
    ++m_runningRefreshes;
    if (!authentication->sessions().isEmpty() && (!only || !m_lastRefreshedAt))
        setState({InstallationLoadingState::Case::Loading, {}});
    if (!self)
        co_return;
    const auto findings = co_await gather(authentication, only, stop);
    if (!self)
        co_return;
    --m_runningRefreshes;
    if (findings.isCancelled || stop.stop_requested() || !authentication)
        abandon();
    else
        publish(findings, authentication->sessions());
}

QCoro::Task<InstallationStore::Findings> InstallationStore::gather(
    QPointer<AuthenticationStore> authentication, std::optional<QSet<qint64>> only, std::stop_token stop)
{
    const QPointer<InstallationStore> self(this);
    Findings findings;
    findings.only = only;
    findings.isCancelled = !authentication;
    if (findings.isCancelled)
        co_return findings;
    const auto sessions = authentication->sessions();
    for (const GitHubAccountSession &session : sessions) {
        const qint64 identityID = session.id();
        if (only && !only->contains(identityID))
            continue;
        if (const auto until = m_rateLimits->pausedUntil(identityID, m_clock->now())) {
            if (!m_reach.contains(identityID))
                findings.failures.append({identityID, session.account.login, pauseDescription(*until), true});
            continue;
        }
        std::exception_ptr failure;
        try {
            auto reach = co_await fetchReach(m_client, authentication, identityID, stop);
            findings.reached.insert(identityID, std::move(reach));
        } catch (...) {
            failure = std::current_exception();
        }
        findings.isCancelled = !self || stop.stop_requested() || (failure && isCancellation(failure));
        if (findings.isCancelled)
            break;
        if (failure)
            noteFailure(findings, session.account, failure);
    }
    co_return findings;
}

QCoro::Task<InstallationStore::Reach> InstallationStore::fetchReach(
    GitHubClient client, QPointer<AuthenticationStore> authentication, qint64 identityID, std::stop_token stop)
{
    if (!authentication)
        throw CancellationError();
    const auto credential = co_await authentication->validCredential(identityID, stop);
    const QString accessToken = credential.accessToken;
    Reach reach;
    reach.installations = co_await client.fetchInstallations(accessToken, stop);
    for (const GitHubInstallation &installation : std::as_const(reach.installations)) {
        const auto repositories = co_await client.fetchRepositories(installation.id, accessToken, stop);
        for (const GitHubRepository &repository : repositories) {
            const RepositoryRecord record{identityID, installation.id, installation.account, repository, true};
            reach.repositories.append(record);
        }
    }
    co_return reach;
}

void InstallationStore::noteFailure(Findings &findings, const GitHubAccount &account, const std::exception_ptr &failure)
{
    const auto rateLimit = rateLimitOf(failure);
    if (rateLimit)
        m_rateLimits->recordRefusal(account.id, *rateLimit, m_clock->now());
    findings.failures.append({account.id, account.login, describe(failure), rateLimit.has_value()});
}

void InstallationStore::publish(const Findings &findings, const QList<GitHubAccountSession> &sessions)
{
    const QPointer<InstallationStore> self(this);
    for (auto entry = findings.reached.cbegin(); entry != findings.reached.cend(); ++entry)
        m_reach.insert(entry.key(), entry.value());
    for (const InstallationFailure &failure : findings.failures)
        m_reach.remove(failure.identityID);

    QList<InstallationFailure> failures;
    QSet<qint64> listed;
    for (const GitHubAccountSession &session : sessions) {
        listed.insert(session.id());
        // Who was not asked this time stands as before.
        const bool wasAsked = !findings.only || findings.only->contains(session.id());
        const auto &source = wasAsked ? findings.failures : m_failures;
        const auto failure = std::ranges::find(source, session.id(), &InstallationFailure::identityID);
        if (failure != source.end())
            failures.append(*failure);
    }
    m_reach.removeIf([&listed](const auto &entry) { return !listed.contains(entry.key()); });
    publishRecords(sessions);
    if (self)
        settle(sessions, std::move(failures), !findings.only.has_value());
}

void InstallationStore::publishRecords(const QList<GitHubAccountSession> &sessions)
{
    // The choices as they are now: the person may have changed them while GitHub was asked.
    const auto disabled = disabledInstallations();
    const auto excluded = excludedRepositories();
    QList<InstallationRecord> installations;
    QList<RepositoryRecord> repositories;
    QSet<QString> seen;
    for (const GitHubAccountSession &session : sessions) {
        const auto reach = m_reach.constFind(session.id());
        if (reach == m_reach.constEnd())
            continue;
        for (const GitHubInstallation &installation : reach->installations) {
            const bool isEnabled = !disabled.contains(installationKey(session.id(), installation.id));
            installations.append({session.id(), installation, isEnabled});
        }
        for (RepositoryRecord record : reach->repositories) {
            if (seen.contains(record.id()))
                continue; // the first sighting counts
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

void InstallationStore::settle(
    const QList<GitHubAccountSession> &sessions, QList<InstallationFailure> failures, bool isWhole)
{
    using Case = InstallationLoadingState::Case;
    QStringList lines;
    for (const InstallationFailure &failure : std::as_const(failures))
        lines.append(failure.login + QStringLiteral(": ") + failure.description);
    InstallationLoadingState state{lines.isEmpty() ? Case::Ready : Case::Stale, lines.join(QLatin1Char('\n'))};
    if (sessions.isEmpty())
        state = {Case::Disconnected, {}};
    const auto refreshedAt
        = !sessions.isEmpty() && (isWhole || !m_lastRefreshedAt) ? std::optional(m_clock->now()) : m_lastRefreshedAt;
    const bool isChange = state != m_state || failures != m_failures || refreshedAt != m_lastRefreshedAt;
    m_settledState = state;
    m_state = state;
    m_failures = std::move(failures);
    m_lastRefreshedAt = refreshedAt;
    if (isChange)
        Q_EMIT stateChanged();
}

void InstallationStore::retain(const QList<GitHubAccountSession> &sessions)
{
    const QPointer<InstallationStore> self(this);
    const auto isGone = [&sessions](qint64 identityID) {
        return std::ranges::find(sessions, identityID, &GitHubAccountSession::id) == sessions.end();
    };
    m_reach.removeIf([&](const auto &entry) { return isGone(entry.key()); });
    publishRecords(sessions);
    // What never ended, or is under way, says itself how it ends.
    if (!self || !m_lastRefreshedAt || m_runningRefreshes > 0)
        return;
    auto failures = m_failures;
    failures.removeIf([&](const InstallationFailure &failure) { return isGone(failure.identityID); });
    settle(sessions, std::move(failures), false);
}

void InstallationStore::abandon()
{
    // Another refresh that is under way goes on loading.
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
