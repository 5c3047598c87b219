// SPDX-License-Identifier: MIT
#include "monitor/shown_deployments.h"

#include "accounts/authentication_store.h"
#include "installations/installation_store.h"
#include "monitor/deployment_list.h"
#include "monitor/failure_choices.h"
#include "monitor/fetch_outcomes.h"

#include <algorithm>

namespace velmora
{

ShownDeployments::ShownDeployments(
    const FetchOutcomes *outcomes, const Clock *clock, Preferences *defaults, QObject *parent)
    : QObject(parent)
    , m_outcomes(outcomes)
    , m_clock(clock)
    , m_defaults(defaults)
    , m_choices(failureChoices(*defaults))
    , m_environmentRules(defaults)
{
    connect(defaults, &Preferences::changed, this, &ShownDeployments::followChoices);
}

bool ShownDeployments::hasActiveDeployment() const
{
    return !deployments().isEmpty() && isActive(deployments().first().state());
}

void ShownDeployments::showLoading()
{
    Published next = m_published;
    next.state = DeploymentMonitorState::loading(!next.deployments.isEmpty());
    publish(std::move(next));
}

void ShownDeployments::showSaved(const DeploymentCachePayload &payload)
{
    const Instant now = m_clock->now();
    // A clock that was set back since must not show an age in the future.
    m_lastCompleteAt = std::min(payload.savedAt, now);
    Published next = m_published;
    next.deployments = filteredAndSorted(payload.deployments, now);
    if (next.state.state == DeploymentMonitorState::Case::Loading)
        next.state = DeploymentMonitorState::loading(!next.deployments.isEmpty());
    publish(std::move(next));
}

void ShownDeployments::showDisconnected(MissingStep missing)
{
    m_lastCompleteAt.reset();
    m_lastFetches.clear();
    Published next;
    next.state = DeploymentMonitorState::disconnected(missing);
    publish(std::move(next));
}

void ShownDeployments::showFetched(const FetchedDeployments &fetched, const RefreshContext &context)
{
    m_owners.insert(fetched.owners);
    const bool hasSucceeded = !fetched.succeeded.isEmpty();
    Published next = m_published;
    if (hasSucceeded) {
        if (fetched.scope == RefreshScope::All && !fetched.hasBrokenOff)
            next.lastRefreshedAt = m_clock->now();
        showListAfter(fetched, context, next);
    }
    next = withStanding(std::move(next), context);
    if (hasSucceeded && next.state.state == DeploymentMonitorState::Case::Ready)
        m_lastCompleteAt = next.lastRefreshedAt;
    publish(std::move(next));
}

void ShownDeployments::dropUnreachable(const RefreshContext &context)
{
    m_lastFetches.clear();
    Published next = m_published;
    next.deployments = listAfter(FetchedDeployments(), context);
    publish(withStanding(std::move(next), context));
}

/// When the last fetch is repeated with the same result, and nothing else has changed the list since, only time has
/// passed: merging and ordering the same deployments again would yield the same list. A clock that was set back brings
/// back what was too old before.
void ShownDeployments::showListAfter(const FetchedDeployments &fetched, const RefreshContext &context, Published &next)
{
    Grounds grounds{fetched, context.installations->monitoredRepositories(), context.installations->repositories(),
        context.listedIdentities(), context.unloadedIdentities()};
    const auto last = m_lastFetches.constFind(fetched.scope);
    const bool isRepeated = last != m_lastFetches.constEnd() && last->list.isSharedWith(next.deployments)
        && last->now <= context.now && last->grounds == grounds;
    if (isRepeated)
        next.deployments = stillShown(next.deployments, context.now);
    else if (fetched.scope == RefreshScope::Active)
        next.deployments = listAfterActive(fetched, context);
    else
        next.deployments = listAfter(fetched, context);
    // An equal list is published as the same one, for those who compare it with the last.
    if (next.deployments == m_published.deployments)
        next.deployments = m_published.deployments;
    m_lastFetches.insert(fetched.scope, {std::move(grounds), context.now, next.deployments});
}

/// A fetch of active deployments replaces those of the repositories that were asked for.
DeploymentList ShownDeployments::listAfterActive(const FetchedDeployments &fetched, const RefreshContext &context) const
{
    const RepositoryIndex asked(fetched.repositories + fetched.unmonitored);
    const auto wasAsked = [&](const DeploymentSnapshot &deployment) {
        return asked.find(deployment) != nullptr;
    };
    return shownAfterFetch(deployments(), fetched.deployments, wasAsked, context.now);
}

/// A full fetch replaces the deployments of the identities that succeeded, and drops those that no listed identity
/// reaches.
DeploymentList ShownDeployments::listAfter(const FetchedDeployments &fetched, const RefreshContext &context) const
{
    const RepositoryIndex monitored(context.installations->monitoredRepositories());
    const RepositoryIndex known(context.installations->repositories());
    const RepositoryIndex unanswered(fetched.unanswered);
    QSet<QString> askedInPart;
    for (const auto &record : fetched.repositories) {
        if (fetched.inPart.contains(record.identityID))
            askedInPart.insert(record.id());
    }
    const auto wasAsked = [&](const RepositoryRecord &record) {
        return !fetched.inPart.contains(record.identityID) || askedInPart.contains(record.id());
    };
    const auto listed = context.listedIdentities();
    const auto unloaded = context.unloadedIdentities();
    const auto isReplaced = [&](const DeploymentSnapshot &deployment) {
        if (unanswered.find(deployment))
            return false;
        if (const auto *record = monitored.find(deployment))
            return (fetched.succeeded.contains(record->identityID) && wasAsked(*record))
                || !listed.contains(record->identityID);
        if (known.find(deployment))
            return true;
        // Not known to be reachable. It stays while it may belong to an identity that is unloaded; the owner of a
        // saved deployment is unknown after a restart.
        const auto owner = m_owners.constFind(deployment.repositoryNodeID);
        return owner == m_owners.constEnd() ? unloaded.isEmpty() : !unloaded.contains(*owner);
    };
    return shownAfterFetch(deployments(), fetched.deployments, isReplaced, context.now);
}

ShownDeployments::Published ShownDeployments::withStanding(Published published, const RefreshContext &context) const
{
    published.state = currentState(context, published.lastRefreshedAt);
    published.message = m_outcomes->message(context.authentication->sessions());
    return published;
}

DeploymentMonitorState ShownDeployments::currentState(
    const RefreshContext &context, std::optional<Instant> lastRefreshedAt) const
{
    std::optional<Instant> resumeAt;
    for (const auto identityID : context.listedIdentities()) {
        if (m_outcomes->hasFailed(identityID))
            return DeploymentMonitorState::stale(m_lastCompleteAt);
        const auto until = m_outcomes->pausedUntil(identityID);
        if (until && (!resumeAt || *until < *resumeAt))
            resumeAt = until;
    }
    if (resumeAt)
        return DeploymentMonitorState::rateLimited(lastRefreshedAt ? lastRefreshedAt : m_lastCompleteAt, *resumeAt);
    if (!lastRefreshedAt)
        return m_published.state;
    const auto interval = m_outcomes->pace().interval();
    return DeploymentMonitorState::ready(*lastRefreshedAt, interval ? std::optional(interval->count()) : std::nullopt);
}

void ShownDeployments::publish(Published published)
{
    if (!published.deployments.isSharedWith(m_published.deployments)) {
        published.marks = failureMarks(published.deployments, m_published.marks, m_choices);
        divide(published);
    }
    if (published == m_published)
        return;
    const bool isOtherList = !published.deployments.isSharedWith(m_published.deployments);
    m_published = std::move(published);
    if (isOtherList && !m_choices.dismissed.isEmpty())
        forgetChanged(m_defaults, deployments());
    Q_EMIT changed();
}

void ShownDeployments::setDismissed(const QSet<QString> &ids, bool isDismissed)
{
    DeploymentList failures;
    for (const SharedDeployment &deployment : deployments()) {
        if (isFailure(deployment.state()) && ids.contains(deployment->id))
            failures.append(deployment);
    }
    velmora::setDismissed(m_defaults, failures, isDismissed, deployments(), m_clock->now());
}

/// The choice may have been made by another process.
void ShownDeployments::followChoices(const QString &key)
{
    if (!isFailureChoice(key) && !isEnvironmentChoice(key))
        return;
    m_choices = failureChoices(*m_defaults);
    Published next = m_published;
    next.marks = failureMarks(next.deployments, next.marks, m_choices);
    divide(next);
    publish(std::move(next));
}

void ShownDeployments::divide(Published &published)
{
    const DividedDeployments parts = divided(published.deployments, m_environmentRules.current());
    published.listed = marked(parts.listed, published.marks, parts.hidden);
    published.hidden = marked(parts.hidden, published.marks, parts.listed);
    // An equal list is published as the same one.
    if (published.listed.deployments == m_published.listed.deployments)
        published.listed.deployments = m_published.listed.deployments;
}

} // namespace velmora
