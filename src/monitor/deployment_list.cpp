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

/// Of each id the one with the later update; of equals the last one, which is the one fetched last.
QHash<QStringView, qsizetype> latestByID(const QList<DeploymentSnapshot> &deployments)
{
    QHash<QStringView, qsizetype> latest;
    latest.reserve(deployments.size());
    for (qsizetype i = 0; i < deployments.size(); ++i) {
        const QStringView id = deployments.at(i).id;
        const auto rival = latest.constFind(id);
        if (rival == latest.constEnd() || deployments.at(i).updatedAt >= deployments.at(*rival).updatedAt)
            latest.insert(id, i);
    }
    return latest;
}

} // namespace

QList<DeploymentSnapshot> filteredAndSorted(const QList<DeploymentSnapshot> &deployments, Instant now)
{
    const Instant resultCutOff = now - kResultLifetime;
    const Instant activeCutOff = now - kActiveLifetime;

    QHash<QStringView, std::size_t> places;
    places.reserve(deployments.size());
    std::vector<const DeploymentSnapshot *> kept;
    kept.reserve(static_cast<std::size_t>(deployments.size()));
    for (const auto &deployment : deployments) {
        const Instant cutOff = isActive(deployment.state) ? activeCutOff : resultCutOff;
        if (deployment.state == DeploymentState::Inactive || deployment.updatedAt < cutOff)
            continue;
        if (const auto place = places.constFind(deployment.id); place != places.constEnd()) {
            auto &rival = kept[*place];
            if (deployment.updatedAt > rival->updatedAt)
                rival = &deployment;
            continue;
        }
        places.insert(deployment.id, kept.size());
        kept.push_back(&deployment);
    }
    std::ranges::stable_sort(kept, [](const DeploymentSnapshot *left, const DeploymentSnapshot *right) {
        const bool leftIsActive = isActive(left->state);
        if (leftIsActive != isActive(right->state))
            return leftIsActive;
        return left->updatedAt > right->updatedAt;
    });

    QList<DeploymentSnapshot> result;
    result.reserve(static_cast<qsizetype>(kept.size()));
    for (const auto *deployment : kept)
        result.append(*deployment);
    return result;
}

QList<DeploymentSnapshot> merged(const QList<DeploymentSnapshot> &known, const QList<DeploymentSnapshot> &fetched,
    const std::function<bool(const DeploymentSnapshot &)> &isReplaced)
{
    const auto latest = latestByID(fetched);
    QSet<QStringView> placed;
    QList<DeploymentSnapshot> result;
    result.reserve(known.size() + fetched.size());
    for (const auto &deployment : known) {
        const auto rival = latest.constFind(deployment.id);
        if (rival == latest.constEnd()) {
            if (!isReplaced(deployment))
                result.append(deployment);
            continue;
        }
        const auto &fresh = fetched.at(*rival);
        const bool isOlder = fresh.updatedAt < deployment.updatedAt && !isReplaced(deployment);
        result.append(isOlder ? deployment : fresh);
        placed.insert(fresh.id);
    }
    for (qsizetype i = 0; i < fetched.size(); ++i) {
        const auto &deployment = fetched.at(i);
        if (latest.value(deployment.id) == i && !placed.contains(deployment.id))
            result.append(deployment);
    }
    return result;
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
    auto found = m_byNodeID.constFind(deployment.repositoryNodeID);
    if (found == m_byNodeID.constEnd()) {
        found = m_byName.constFind(deployment.repositoryName);
        if (found == m_byName.constEnd())
            return nullptr;
    }
    return &m_repositories.at(*found);
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
