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

/// Deployments chosen for a list, as pointers into the lists that hold them: sorting them moves no texts.
using Candidates = std::vector<const DeploymentSnapshot *>;

/// One candidate for each id: the fetched deployment with the latest update, unless a known one that is not replaced is
/// later. In the order of the known ones, then of the fetched ones.
Candidates merged(
    const QList<DeploymentSnapshot> &known, const QList<DeploymentSnapshot> &fetched, const Replacing &isReplaced)
{
    Candidates all;
    QHash<QStringView, std::size_t> places;
    places.reserve(known.size() + fetched.size());
    all.reserve(static_cast<std::size_t>(known.size() + fetched.size()));
    for (const auto &deployment : known) {
        places.insert(deployment.id, all.size());
        all.push_back(isReplaced(deployment) ? nullptr : &deployment);
    }
    for (const auto &deployment : fetched) {
        const auto place = places.constFind(deployment.id);
        if (place == places.constEnd()) {
            places.insert(deployment.id, all.size());
            all.push_back(&deployment);
        } else if (!all[*place] || deployment.updatedAt >= all[*place]->updatedAt) {
            all[*place] = &deployment;
        }
    }
    std::erase(all, nullptr);
    return all;
}

bool isWorthShowing(const DeploymentSnapshot &deployment, Instant now)
{
    const auto lifetime = isActive(deployment.state) ? kActiveLifetime : kResultLifetime;
    return deployment.state != DeploymentState::Inactive && deployment.updatedAt >= now - lifetime;
}

bool isShownBefore(const DeploymentSnapshot *left, const DeploymentSnapshot *right)
{
    const bool isLeftActive = isActive(left->state);
    return isLeftActive != isActive(right->state) ? isLeftActive : left->updatedAt > right->updatedAt;
}

QList<DeploymentSnapshot> shown(Candidates candidates, Instant now)
{
    std::erase_if(candidates, [now](const auto *deployment) { return !isWorthShowing(*deployment, now); });
    std::ranges::stable_sort(candidates, &isShownBefore);
    QList<DeploymentSnapshot> list;
    list.reserve(static_cast<qsizetype>(candidates.size()));
    for (const auto *deployment : candidates)
        list.append(*deployment);
    return list;
}

} // namespace

QList<DeploymentSnapshot> filteredAndSorted(const QList<DeploymentSnapshot> &deployments, Instant now)
{
    return shown(merged({}, deployments, {}), now);
}

QList<DeploymentSnapshot> shownAfterFetch(const QList<DeploymentSnapshot> &known,
    const QList<DeploymentSnapshot> &fetched, const Replacing &isReplaced, Instant now)
{
    return shown(merged(known, fetched, isReplaced), now);
}

QList<DeploymentSnapshot> stillShown(QList<DeploymentSnapshot> shown, Instant now)
{
    shown.removeIf([now](const DeploymentSnapshot &deployment) { return !isWorthShowing(deployment, now); });
    return shown;
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
    const QList<RepositoryRecord> &repositories, const QList<DeploymentSnapshot> &deployments)
{
    const RepositoryIndex index(repositories);
    QSet<QString> active;
    for (const auto &deployment : deployments) {
        if (!isActive(deployment.state))
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
