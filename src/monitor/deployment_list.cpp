// SPDX-License-Identifier: MIT
#include "monitor/deployment_list.h"

#include <QSet>

#include <algorithm>
#include <iterator>
#include <vector>

namespace velmora
{

using namespace std::chrono_literals;

namespace
{

constexpr auto kResultLifetime = 24h;
constexpr auto kActiveLifetime = 7 * 24h;

/// A deployment chosen for a list.
struct Candidate {
    const SharedDeployment *deployment;
    bool isKnown; ///< from the known ones
};
using Candidates = std::vector<Candidate>;

/// One candidate for each id: the fetched deployment with the latest update, unless a known one that is not replaced is
/// later. In the order of the known ones, then of the fetched ones.
Candidates merged(const DeploymentList &known, const DeploymentList &fetched, const Replacing &isReplaced)
{
    Candidates all;
    QHash<DeploymentID, std::size_t> places;
    places.reserve(known.size() + fetched.size());
    all.reserve(static_cast<std::size_t>(known.size() + fetched.size()));
    const auto isDropped = [&](const Candidate &chosen) {
        return chosen.isKnown && isReplaced(*chosen.deployment);
    };
    for (const auto &deployment : known) {
        places.insert({&deployment}, all.size());
        all.push_back({&deployment, true});
    }
    for (const auto &deployment : fetched) {
        const auto place = places.constFind({&deployment});
        if (place == places.constEnd()) {
            places.insert({&deployment}, all.size());
            all.push_back({&deployment, false});
        } else if (auto &chosen = all[*place];
                   deployment.updatedAt() >= chosen.deployment->updatedAt() || isDropped(chosen)) {
            chosen = {&deployment, false};
        }
    }
    std::erase_if(all, isDropped);
    return all;
}

bool isWorthShowing(const SharedDeployment &deployment, Instant now)
{
    const auto lifetime = isActive(deployment.state()) ? kActiveLifetime : kResultLifetime;
    return deployment.state() != DeploymentState::Inactive && deployment.updatedAt() >= now - lifetime;
}

bool isShownBefore(const Candidate &left, const Candidate &right)
{
    const bool isLeftActive = isActive(left.deployment->state());
    return isLeftActive != isActive(right.deployment->state())
        ? isLeftActive
        : left.deployment->updatedAt() > right.deployment->updatedAt();
}

DeploymentList shown(Candidates candidates, Instant now)
{
    std::erase_if(candidates, [now](const Candidate &chosen) { return !isWorthShowing(*chosen.deployment, now); });
    std::ranges::stable_sort(candidates, &isShownBefore);
    DeploymentList list;
    list.reserve(static_cast<qsizetype>(candidates.size()));
    for (const Candidate &chosen : candidates)
        list.append(*chosen.deployment);
    return list;
}

} // namespace

DeploymentList filteredAndSorted(const DeploymentList &deployments, Instant now)
{
    return shown(merged({}, deployments, {}), now);
}

DeploymentList shownAfterFetch(
    const DeploymentList &known, const DeploymentList &fetched, const Replacing &isReplaced, Instant now)
{
    return shown(merged(known, fetched, isReplaced), now);
}

DeploymentList stillShown(DeploymentList shown, Instant now)
{
    shown.removeIf([now](const SharedDeployment &deployment) { return !isWorthShowing(deployment, now); });
    return shown;
}

DeploymentList changedSince(const DeploymentList &earlier, const DeploymentList &list)
{
    if (earlier.isEmpty() || list.isSharedWith(earlier))
        return earlier.isEmpty() ? list : DeploymentList();
    QSet<const DeploymentSnapshot *> held;
    held.reserve(earlier.size());
    for (const auto &deployment : earlier)
        held.insert(&*deployment);
    DeploymentList changed;
    std::ranges::copy_if(list, std::back_inserter(changed),
        [&](const SharedDeployment &deployment) { return !held.contains(&*deployment); });
    return changed;
}

RepositoryIndex::RepositoryIndex(QList<RepositoryRecord> repositories)
    : m_repositories(std::move(repositories))
{
    for (qsizetype i = 0; i < m_repositories.size(); ++i) {
        m_byNodeID.insert(m_repositories.at(i).repository.nodeID, i);
        m_byName.insert(m_repositories.at(i).repository.nameWithOwner, i);
    }
}

const RepositoryRecord *RepositoryIndex::find(const DeploymentSnapshot &deployment) const
{
    const auto place = m_byNodeID.value(deployment.repositoryNodeID, m_byName.value(deployment.repositoryName, -1));
    return place < 0 ? nullptr : &m_repositories.at(place);
}

QList<RepositoryRecord> repositoriesWithActiveDeployments(
    const QList<RepositoryRecord> &repositories, const DeploymentList &deployments)
{
    const RepositoryIndex index(repositories);
    QSet<QString> active;
    for (const auto &deployment : deployments) {
        if (!isActive(deployment.state()))
            continue;
        if (const auto *record = index.find(deployment))
            active.insert(record->id());
    }
    QList<RepositoryRecord> result;
    std::ranges::copy_if(repositories, std::back_inserter(result),
        [&](const RepositoryRecord &record) { return active.contains(record.id()); });
    return result;
}

} // namespace velmora
