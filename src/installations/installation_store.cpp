// SPDX-License-Identifier: MIT
#include "installations/installation_store.h"

#include "accounts/installation_page.h"
#include "github/deployment_client_error.h"
#include "github/paused_error.h"

namespace velmora
{

namespace
{

/// Switches the records with these ids. Returns whether any was switched otherwise before.
template <typename Record>
bool switchRecords(QList<Record> &records, const QSet<QString> &ids, bool Record::*isOn, bool on)
{
    bool isChange = false;
    for (Record &record : records) {
        if (ids.contains(record.id()))
            isChange = std::exchange(record.*isOn, on) != on || isChange;
    }
    return isChange;
}

template <typename Record>
bool containsAny(const QList<Record> &records, const QSet<QString> &ids)
{
    return std::ranges::any_of(records, [&ids](const Record &record) { return ids.contains(record.id()); });
}

} // namespace

InstallationStore::InstallationStore(GitHubClient client, Preferences *defaults, Clock *clock,
    std::shared_ptr<RateLimitLedger> rateLimits, const InstallationPage *installationPage, QObject *parent)
    : QObject(parent)
    , m_clock(clock)
    , m_rateLimits(std::move(rateLimits))
    , m_installationPage(installationPage)
    , m_loads(std::move(client), m_rateLimits)
    , m_disabled(defaults, QStringLiteral("github.disabledInstallations"))
    , m_excluded(defaults, QStringLiteral("github.excludedRepositories"))
{
    QObject::connect(defaults, &Preferences::changed, this, [this](const QString &key) {
        if (key == m_disabled.key() || key == m_excluded.key())
            replaceRecords(m_installations, m_repositories);
    });
}

std::optional<Instant> InstallationStore::loadedAt(qint64 identityID) const
{
    const auto knowledge = m_known.of(identityID);
    return knowledge.visible ? std::optional(knowledge.loadedAt) : std::nullopt;
}

bool InstallationStore::expectsInstallations(qint64 identityID) const
{
    const auto visible = m_known.of(identityID).visible;
    return (visible && visible->installations.isEmpty())
        || (m_installationPage && m_installationPage->wasOpenedLately());
}

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
    const auto results = co_await load(authentication, patience, only, stop);
    if (!self)
        co_return;
    --m_runningRefreshes;
    if (results.isCancelled || stop.stop_requested() || !authentication)
        abandon();
    else
        publish(results, QList<GitHubAccountSession>(authentication->sessions()));
}

QCoro::Task<InstallationStore::RefreshResults> InstallationStore::load(QPointer<AuthenticationStore> authentication,
    Patience patience, std::optional<QSet<qint64>> only, std::stop_token stop)
{
    const QPointer<InstallationStore> self(this);
    RefreshResults results;
    results.isCancelled = !authentication;
    if (results.isCancelled)
        co_return results;
    const auto credentials
        = patience == Patience::Short ? authentication->promptCredentials() : authentication->credentials();
    const auto sessions = authentication->sessions();
    results.isWhole = true;
    for (const GitHubAccountSession &session : sessions) {
        const qint64 identityID = session.id();
        if (only && !only->contains(identityID)) {
            results.isWhole = false;
            continue;
        }
        if (const auto until = m_rateLimits->pausedUntil(identityID, m_clock->now())) {
            const QString description = PausedError(*until).description();
            results.found[identityID].failure = {identityID, session.account.login, description, true};
            continue;
        }
        const auto load = co_await m_loads.load(identityID, credentials, patience, stop);
        results.isCancelled
            = !self || !authentication || stop.stop_requested() || (load.failure && isCancellation(load.failure));
        if (results.isCancelled)
            break;
        // A known identity keeps its records while its credential is pending or a pause has begun.
        if (!load.isPutOff() || !hasLoaded(identityID))
            results.found.insert(identityID, knowledgeOf(load, session.account, *authentication));
    }
    co_return results;
}

KnownInstallations::Knowledge InstallationStore::knowledgeOf(
    const InstallationLoad &load, const GitHubAccount &account, const AuthenticationStore &authentication)
{
    KnownInstallations::Knowledge knowledge{load.number, load.loadedAt, load.visible, std::nullopt};
    if (load.failure) {
        const bool isRateLimit = rateLimitOf(load.failure).has_value();
        knowledge.failure = {account.id, account.login, authentication.explain(account.id, load.failure), isRateLimit};
    }
    return knowledge;
}

void InstallationStore::publish(const RefreshResults &results, const QList<GitHubAccountSession> &sessions)
{
    const QPointer<InstallationStore> self(this);
    for (auto entry = results.found.cbegin(); entry != results.found.cend(); ++entry)
        m_known.add(entry.key(), *entry);
    publishRecords(sessions);
    if (self)
        settle(sessions, results.isWhole);
}

void InstallationStore::retain(QList<GitHubAccountSession> sessions)
{
    const QPointer<InstallationStore> self(this);
    publishRecords(sessions);
    // A running or first refresh settles the state itself.
    if (self && m_lastRefreshedAt && m_runningRefreshes == 0)
        settle(sessions, false);
}

void InstallationStore::publishRecords(const QList<GitHubAccountSession> &sessions)
{
    m_known.retain(sessions);
    replaceRecords(m_known.installations(sessions), m_known.repositories(sessions));
}

void InstallationStore::replaceRecords(QList<InstallationRecord> installations, QList<RepositoryRecord> repositories)
{
    // Read the choices now: the user may have changed them during a load.
    const auto disabled = m_disabled.ids();
    const auto excluded = m_excluded.ids();
    for (InstallationRecord &record : installations)
        record.isEnabled = !disabled.contains(record.id());
    for (RepositoryRecord &record : repositories)
        record.isIncluded = !excluded.contains(record.id());

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
        const auto knowledge = m_known.of(session.id());
        if (knowledge.visible)
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

void InstallationStore::setInstallations(const QSet<QString> &keys, bool enabled)
{
    if (!containsAny(m_installations, keys))
        return;
    const bool isChange = switchRecords(m_installations, keys, &InstallationRecord::isEnabled, enabled);
    m_disabled.save(
        m_installations, &InstallationRecord::isEnabled, [this](const QString &id) { return mayBeOfUnknown(id); });
    if (isChange)
        Q_EMIT installationsChanged();
}

void InstallationStore::setRepositories(const QSet<QString> &nodeIDs, bool included)
{
    if (containsAny(m_repositories, nodeIDs))
        include(nodeIDs, included);
}

void InstallationStore::setAllRepositories(bool included)
{
    QSet<QString> nodeIDs;
    for (const RepositoryRecord &record : std::as_const(m_repositories))
        nodeIDs.insert(record.id());
    include(nodeIDs, included);
}

/// A node id does not tell its identity: unless every identity is known, choices for unknown ids are kept.
void InstallationStore::include(const QSet<QString> &nodeIDs, bool included)
{
    const bool isChange = switchRecords(m_repositories, nodeIDs, &RepositoryRecord::isIncluded, included);
    const bool isEverythingKnown = m_authentication
        && std::ranges::all_of(m_authentication->sessions(),
            [this](const GitHubAccountSession &session) { return m_known.isWhole(session.id()); });
    m_excluded.save(m_repositories, &RepositoryRecord::isIncluded,
        [isEverythingKnown](const QString &) { return !isEverythingKnown; });
    if (isChange)
        Q_EMIT repositoriesChanged();
}

/// Whether the key belongs to an identity whose installations are currently unknown.
bool InstallationStore::mayBeOfUnknown(const QString &installationKey) const
{
    if (!m_authentication)
        return true;
    return std::ranges::any_of(m_authentication->sessions(), [&](const GitHubAccountSession &session) {
        return !hasLoaded(session.id()) && isKeyOf(session.id(), installationKey);
    });
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
