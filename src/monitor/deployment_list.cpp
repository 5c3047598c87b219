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

/// Deployments on their way into a list, each where it still stands.
using Candidates = std::vector<const DeploymentSnapshot *>;

/// Of each id the one with the later update; of equals the last one, which is the one fetched last.
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

    /// The deployment with this id, which takeRest() then leaves out; null where there is none.
    const DeploymentSnapshot *take(const QString &id)
    {
        const auto place = placeOf(id);
        if (place == PlacesByID::kNone)
            return nullptr;
        m_isLeft[place] = false;
        return &m_deployments.at(place);
    }

    /// The latest of every id that was not taken, in their order.
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

/// Known ids that are unique stay so.
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

/// What is shown, and in which order, depends on this alone: beside the deployment, so that sorting does not run all
/// over the memory.
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

/// Keeps of each id the one with the later update, at the place of the first one.
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

/// Brings the candidates, all of which stand in the list, to its front in their order, and drops the others. Nothing
/// is allocated for it, which matters for lists of megabytes.
void arrange(QList<DeploymentSnapshot> &own, const Candidates &candidates)
{
    DeploymentSnapshot *const first = own.data();
    std::vector<std::ptrdiff_t> takenFrom(candidates.size());
    for (std::size_t place = 0; place < candidates.size(); ++place) {
        std::ptrdiff_t from = candidates[place] - first;
        // What stood before this place was swapped to where its successor came from.
        while (from < static_cast<std::ptrdiff_t>(place))
            from = takenFrom[static_cast<std::size_t>(from)];
        takenFrom[place] = from;
        if (from != static_cast<std::ptrdiff_t>(place))
            std::swap(first[place], first[from]);
    }
    own.resize(static_cast<qsizetype>(candidates.size()));
}

/// The deployments themselves: those of `own`, if nobody else uses it, are moved rather than copied.
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
