// SPDX-License-Identifier: MIT
#include "monitor/deployment_list.h"

#include "monitor/places_by_id.h"

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

/// Deployments chosen for a list, as pointers into the lists that hold them.
using Candidates = std::vector<const DeploymentSnapshot *>;

/// Finds for each id the deployment with the latest update; of equal ones the last, which was fetched last.
class LatestByID
{
public:
    explicit LatestByID(const QList<DeploymentSnapshot> &deployments)
        : m_deployments(deployments)
        , m_places(static_cast<std::size_t>(deployments.size()))
        , m_isLeft(static_cast<std::size_t>(deployments.size()), true)
    {
        for (qsizetype i = 0; i < deployments.size(); ++i) {
            auto &place = placeOf(deployments.at(i).id);
            if (place == PlacesByID::kNone) {
                place = static_cast<quint32>(i);
                continue;
            }
            const bool isLater = deployments.at(i).updatedAt >= deployments.at(place).updatedAt;
            m_isLeft[isLater ? place : static_cast<std::size_t>(i)] = false;
            if (isLater)
                place = static_cast<quint32>(i);
        }
    }

    /// The deployment with this id, which takeRest() leaves out from then on; null when there is none.
    const DeploymentSnapshot *take(const QString &id)
    {
        const auto place = placeOf(id);
        if (place == PlacesByID::kNone)
            return nullptr;
        m_isLeft[place] = false;
        return &m_deployments.at(place);
    }

    /// Appends the deployments that were not taken, one for each id, in their order.
    void takeRest(Candidates &candidates) const
    {
        for (qsizetype i = 0; i < m_deployments.size(); ++i) {
            if (m_isLeft[static_cast<std::size_t>(i)])
                candidates.push_back(&m_deployments.at(i));
        }
    }

private:
    quint32 &placeOf(const QString &id)
    {
        const auto idAt = [this](quint32 place) -> const QString & {
            return m_deployments.at(place).id;
        };
        return m_places.of(id, idAt);
    }

    const QList<DeploymentSnapshot> &m_deployments;
    PlacesByID m_places;
    std::vector<bool> m_isLeft;
};

/// Holds each id once if `known` does.
Candidates mergedCandidates(
    const QList<DeploymentSnapshot> &known, const QList<DeploymentSnapshot> &fetched, const Replacing &isReplaced)
{
    LatestByID latest(fetched);
    Candidates merged;
    merged.reserve(static_cast<std::size_t>(known.size() + fetched.size()));
    for (const auto &deployment : known) {
        const auto *const fresh = latest.take(deployment.id);
        const bool hasNewer = fresh && fresh->updatedAt >= deployment.updatedAt;
        if (!hasNewer && !isReplaced(deployment))
            merged.push_back(&deployment);
        else if (fresh)
            merged.push_back(fresh);
    }
    latest.takeRest(merged);
    return merged;
}

/// What filtering and sorting depend on, copied out of the deployment, so that sorting reads contiguous memory.
struct Rank {
    bool isActive;
    Instant updatedAt;
    const DeploymentSnapshot *deployment;

    [[nodiscard]] bool isBefore(const Rank &other) const
    {
        return isActive != other.isActive ? isActive : updatedAt > other.updatedAt;
    }
};
using Ranks = std::vector<Rank>;

/// Appends the deployment if it is worth showing.
void appendIfShown(Ranks &ranks, const DeploymentSnapshot &deployment, Instant now)
{
    const Rank rank{isActive(deployment.state), deployment.updatedAt, &deployment};
    const Instant cutOff = now - (rank.isActive ? kActiveLifetime : kResultLifetime);
    if (deployment.state != DeploymentState::Inactive && rank.updatedAt >= cutOff)
        ranks.push_back(rank);
}

/// Keeps for each id the deployment with the latest update, at the place of the first one.
Ranks uniqueByID(const Ranks &ranks)
{
    Ranks unique;
    unique.reserve(ranks.size());
    PlacesByID places(ranks.size());
    const auto idAt = [&unique](quint32 place) -> const QString & {
        return unique[place].deployment->id;
    };
    for (const auto &rank : ranks) {
        auto &place = places.of(rank.deployment->id, idAt);
        if (place == PlacesByID::kNone) {
            place = static_cast<quint32>(unique.size());
            unique.push_back(rank);
        } else if (rank.updatedAt > unique[place].updatedAt) {
            unique[place] = rank;
        }
    }
    return unique;
}

Candidates sorted(Ranks ranks)
{
    std::ranges::stable_sort(ranks, [](const Rank &left, const Rank &right) { return left.isBefore(right); });
    Candidates candidates(ranks.size());
    std::ranges::transform(ranks, candidates.begin(), &Rank::deployment);
    return candidates;
}

/// Moves the candidates, all of which are elements of the list, to its front in their order, and drops the others. It
/// swaps in place and copies no deployment, because a list may take megabytes.
void arrange(QList<DeploymentSnapshot> &own, const Candidates &candidates)
{
    DeploymentSnapshot *const first = own.data();
    std::vector<std::ptrdiff_t> takenFrom(candidates.size());
    for (std::size_t place = 0; place < candidates.size(); ++place) {
        std::ptrdiff_t from = candidates[place] - first;
        // An element from before this place was swapped to where the element now in its place came from.
        while (from < static_cast<std::ptrdiff_t>(place))
            from = takenFrom[static_cast<std::size_t>(from)];
        takenFrom[place] = from;
        if (from != static_cast<std::ptrdiff_t>(place))
            std::swap(first[place], first[from]);
    }
    own.resize(static_cast<qsizetype>(candidates.size()));
}

/// The deployments that the candidates point to. If all are in `own`, and it is not shared, they are moved.
QList<DeploymentSnapshot> collected(const Candidates &candidates, QList<DeploymentSnapshot> own)
{
    const auto *const first = own.constData();
    const auto *const end = first + own.size();
    const auto isOwn = [first, end](const DeploymentSnapshot *deployment) {
        return !std::less<>()(deployment, first) && std::less<>()(deployment, end);
    };
    if (own.isDetached() && std::ranges::all_of(candidates, isOwn)) {
        arrange(own, candidates);
        return own;
    }
    QList<DeploymentSnapshot> result;
    result.reserve(static_cast<qsizetype>(candidates.size()));
    for (const auto *deployment : candidates)
        result.append(*deployment);
    return result;
}

} // namespace

QList<DeploymentSnapshot> filteredAndSorted(QList<DeploymentSnapshot> deployments, Instant now)
{
    Ranks ranks;
    ranks.reserve(static_cast<std::size_t>(deployments.size()));
    for (const auto &deployment : std::as_const(deployments))
        appendIfShown(ranks, deployment, now);
    const auto shown = sorted(uniqueByID(ranks));
    return collected(shown, std::move(deployments));
}

QList<DeploymentSnapshot> merged(
    const QList<DeploymentSnapshot> &known, QList<DeploymentSnapshot> fetched, const Replacing &isReplaced)
{
    const auto all = mergedCandidates(known, fetched, isReplaced);
    return collected(all, std::move(fetched));
}

QList<DeploymentSnapshot> shownAfterFetch(
    const QList<DeploymentSnapshot> &known, QList<DeploymentSnapshot> fetched, const Replacing &isReplaced, Instant now)
{
    const auto all = mergedCandidates(known, fetched, isReplaced);
    Ranks ranks;
    ranks.reserve(all.size());
    for (const auto *deployment : all)
        appendIfShown(ranks, *deployment, now);
    const auto shown = sorted(std::move(ranks));
    return collected(shown, std::move(fetched));
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
