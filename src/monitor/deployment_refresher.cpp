// SPDX-License-Identifier: MIT
#include "monitor/deployment_refresher.h"

#include "accounts/authentication_store.h"
#include "installations/installation_store.h"
#include "monitor/deployment_fetcher.h"
#include "monitor/deployment_list.h"
#include "monitor/deployment_news.h"
#include "monitor/environments.h"
#include "monitor/fetch_outcomes.h"
#include "monitor/polling_loop.h"
#include "monitor/saved_deployments.h"
#include "monitor/shown_deployments.h"

#include <QPointer>

namespace velmora
{

DeploymentRefresher::DeploymentRefresher(const Parts &parts, QObject *parent)
    : QObject(parent)
    , m_parts(parts)
    , m_requests(std::make_shared<char>())
{
}

QCoro::Task<> DeploymentRefresher::loadSaved()
{
    const QPointer<DeploymentRefresher> self(this);
    co_await m_parts.environments->load();
    if (!self)
        co_return;
    const auto payload = co_await m_parts.saved->load();
    if (!self || !payload)
        co_return;
    m_parts.news->adoptSaved(payload->savedAt, m_parts.clock->now());
    m_parts.shown->showSaved(*payload);
}

QCoro::Task<> DeploymentRefresher::refreshDue(RefreshContext context)
{
    const QPointer<DeploymentRefresher> self(this);
    const auto listed = context.listedIdentities();
    m_parts.outcomes->retainIdentities(listed);
    const auto askable = m_parts.outcomes->askable(listed);
    const auto decision = decide(situation(context, askable), context.now);

    if (decision == PollingDecision::InstallationsAndAllDeployments || decision == PollingDecision::AllDeployments) {
        co_await refreshInstallations(context, askable & context.identitiesWithInstallationsDue());
        if (self)
            co_await refreshIdentities(context, RefreshScope::All, askable, Extent::Due);
        co_return;
    }

    // Identities that failed, or that were connected since, do not wait for the next full refresh.
    const auto unloaded = context.unloadedIdentities();
    auto retried = askable;
    retried.removeIf([&](qint64 id) { return !m_parts.outcomes->hasFailed(id) && !unloaded.contains(id); });
    if (!retried.isEmpty()) {
        co_await refreshInstallations(context, retried & unloaded);
        if (!self)
            co_return;
        co_await refreshIdentities(context, RefreshScope::Retried, retried, Extent::Due);
        if (!self)
            co_return;
    }
    const auto others = askable - retried;
    const auto isStretched = [&](qint64 id) {
        return m_parts.outcomes->pace().isStretched(id);
    };
    if (decision == PollingDecision::ActiveDeployments || std::ranges::any_of(others, isStretched))
        co_await refreshActive(context, others);
}

PollingSituation DeploymentRefresher::situation(const RefreshContext &context, const QSet<qint64> &askable) const
{
    PollingSituation situation;
    // An identity that may not be asked at the full hour is due when it may be.
    for (const auto identityID : askable) {
        const auto loadedAt = context.installations->loadedAt(identityID);
        if (loadedAt && (!situation.installationsLoadedAt || *loadedAt < *situation.installationsLoadedAt))
            situation.installationsLoadedAt = loadedAt;
    }
    situation.deploymentsRefreshedAt
        = context.hasNothingToMonitor() ? m_foundNothingAt : m_parts.shown->lastRefreshedAt();
    situation.hasActiveDeployment = m_parts.shown->hasActiveDeployment();
    return situation;
}

QCoro::Task<> DeploymentRefresher::refreshAll(RefreshContext context)
{
    const QPointer<DeploymentRefresher> self(this);
    const auto listed = context.listedIdentities();
    m_parts.outcomes->retainIdentities(listed);
    m_parts.outcomes->retryAllNow();
    if (!listed.isEmpty())
        m_parts.shown->showLoading();
    m_parts.outcomes->adoptInstallationFailures(context.installations->failures());
    // The caller has refreshed the installations; an identity that was never loaded was connected a moment ago.
    co_await refreshInstallations(context, m_parts.outcomes->askable(listed) & context.neverLoadedIdentities());
    if (!self)
        co_return;
    co_await refreshIdentities(context, RefreshScope::All, context.listedIdentities(), Extent::Everything);
}

QCoro::Task<> DeploymentRefresher::refreshActive(RefreshContext context, QSet<qint64> identities)
{
    return refreshIdentities(context, RefreshScope::Active, std::move(identities), Extent::Due);
}

QCoro::Task<> DeploymentRefresher::refreshExpected(RefreshContext context, Instant askedAt)
{
    const QPointer<DeploymentRefresher> self(this);
    const InstallationStore *const installations = context.installations;
    auto expected = m_parts.outcomes->askable(context.listedIdentities());
    expected.removeIf([&](qint64 id) {
        // What was loaded while the caller waited for its turn serves as well.
        const auto loadedAt = installations->loadedAt(id);
        return !installations->expectsInstallations(id) || (loadedAt && *loadedAt > askedAt);
    });
    if (expected.isEmpty())
        co_return;
    co_await refreshInstallations(context, expected);
    if (!self)
        co_return;
    context.now = m_parts.clock->now();
    co_await refreshDue(context);
}

QCoro::Task<> DeploymentRefresher::refreshInstallations(RefreshContext context, QSet<qint64> asked)
{
    if (asked.isEmpty())
        co_return;
    const QPointer<DeploymentRefresher> self(this);
    // An account that was connected a moment ago: "Connect GitHub" is no longer true. The hourly request for what is
    // known already changes nothing on show.
    if (m_parts.shown->isDisconnected() && asked.intersects(context.unloadedIdentities()))
        m_parts.shown->showLoading();
    const auto underWay = m_requests;
    co_await context.installations->refreshIdentities(context.authentication, asked, m_scope.stopToken());
    if (self)
        m_parts.outcomes->recordInstallationFailures(context.installations->failures(), asked);
}

QCoro::Task<> DeploymentRefresher::refreshIdentities(
    RefreshContext context, RefreshScope scope, QSet<qint64> asked, Extent extent)
{
    const QPointer<DeploymentRefresher> self(this);
    if (const auto missing = context.missingStep()) {
        co_await disconnect(*missing);
        co_return;
    }
    asked -= context.unloadedIdentities();
    asked.removeIf([&](qint64 id) { return m_parts.outcomes->pausedUntil(id).has_value(); });
    auto repositories = ofIdentities(context.installations->monitoredRepositories(), asked);
    QSet<qint64> inPart; // of these only some are due
    if (extent == Extent::Due) {
        repositories = m_parts.outcomes->pace().due(repositories, m_parts.shown->deployments(), scope, context.now);
        inPart = asked;
        inPart.removeIf([&](qint64 id) { return !m_parts.outcomes->pace().isStretched(id); });
    }
    FetchedDeployments fetched;
    fetched.scope = scope;
    if (!repositories.isEmpty()) {
        if (m_parts.shown->isDisconnected())
            m_parts.shown->showLoading();
        const auto underWay = m_requests;
        fetched = co_await m_parts.fetcher->fetch(repositories, context, scope, m_scope.stopToken());
        if (!self)
            co_return;
    }
    fetched.inPart = inPart;
    if (scope != RefreshScope::Active) {
        // An identity without repositories succeeds without a request. One that is not due neither succeeds nor fails.
        asked -= inPart;
        for (const auto &record : std::as_const(repositories))
            asked.remove(record.identityID);
        for (const auto identityID : std::as_const(asked))
            m_parts.outcomes->recordNothingToFetch(identityID);
        fetched.succeeded |= asked;
    }
    co_await finish(context, std::move(fetched));
}

QCoro::Task<> DeploymentRefresher::finish(RefreshContext context, FetchedDeployments fetched)
{
    const QPointer<DeploymentRefresher> self(this);
    m_parts.outcomes->adoptInstallationFailures(context.installations->failures());
    m_parts.outcomes->clearFailuresOfPaused(context.listedIdentities());
    m_parts.outcomes->retainRepositories(context.installations->monitoredRepositories());
    fetched.dropUnmonitored(context);
    m_parts.fetcher->forgetUnmonitored(context);
    const auto previous = m_parts.news->comparable(m_parts.shown->deployments());
    m_parts.shown->showFetched(fetched, context);
    if (fetched.succeeded.isEmpty())
        co_return;

    // What is to be announced is stored before the list. In the other order, a kill in between would make it history.
    const auto updated = m_parts.shown->deployments();
    m_parts.news->recordFetch(context, fetched.repositories, previous, updated);
    co_await m_parts.news->announce(previous, updated);
    if (self)
        co_await m_parts.saved->save(updated);
}

QCoro::Task<> DeploymentRefresher::forgetRemoved(RefreshContext context)
{
    const QPointer<DeploymentRefresher> self(this);
    const auto listed = context.listedIdentities();
    m_parts.outcomes->retainIdentities(listed);
    context.installations->retain(context.authentication->sessions());
    if (!self)
        co_return;
    m_parts.news->forgetUnmonitored(context);
    m_parts.fetcher->forgetUnmonitored(context);
    if (!m_parts.loop->isHeld()) {
        co_await refreshInstallations(context, m_parts.outcomes->askable(listed) & context.unloadedIdentities());
        if (!self)
            co_return;
    }
    if (const auto missing = context.missingStep())
        co_await disconnect(*missing);
    else
        co_await dropUnreachable(context);
}

QCoro::Task<> DeploymentRefresher::dropUnreachable(RefreshContext context)
{
    const auto before = m_parts.shown->deployments();
    m_parts.shown->dropUnreachable(context);
    if (context.unloadedIdentities().isEmpty())
        m_parts.environments->retain(context.installations->repositories());
    if (m_parts.shown->deployments() != before)
        co_await m_parts.saved->save(m_parts.shown->deployments());
}

QCoro::Task<> DeploymentRefresher::disconnect(MissingStep missing)
{
    m_foundNothingAt = m_parts.clock->now();
    m_parts.news->forgetAll();
    const bool hadDeployments = !m_parts.shown->deployments().isEmpty();
    m_parts.shown->showDisconnected(missing);
    if (missing == MissingStep::Account)
        m_parts.environments->retain({});
    if (hadDeployments)
        co_await m_parts.saved->save(m_parts.shown->deployments());
}

} // namespace velmora
