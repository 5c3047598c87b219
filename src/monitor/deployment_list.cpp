// SPDX-License-Identifier: MIT
#include "monitor/deployment_list.h"

#include <QSet>

#include <algorithm>
#include <bit>
#include <iterator>
#include <limits>
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

/// Keeps a place for each id. It holds hashes rather than ids, so that most lookups touch one line of memory.
class PlacesByID
{
public:
    static constexpr quint32 kNone = std::numeric_limits<quint32>::max();

    explicit PlacesByID(std::size_t mostIDs)
        : m_slots(std::bit_ceil(mostIDs + mostIDs / 2 + 1))
    {
    }

    /// The place kept for the id, to be changed at will; kNone at first. `idAt` gives the id at a place.
    template <typename IDAt>
    quint32 &of(const QString &id, const IDAt &idAt)
    {
        const auto hash = static_cast<quint32>(qHash(id, m_seed));
        const std::size_t mask = m_slots.size() - 1;
        for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
            Slot &slot = m_slots[i];
            if (slot.place == kNone)
                slot.hash = hash;
            if (slot.place == kNone || (slot.hash == hash && idAt(slot.place) == id))
                return slot.place;
        }
    }

private:
    struct Slot {
        quint32 hash = 0;
        quint32 place = kNone;
    };
    std::vector<Slot> m_slots;
    std::size_t m_seed = QHashSeed::globalSeed();
};

Candidates candidatesOf(const QList<DeploymentSnapshot> &deployments)
{
    Candidates all;
    all.reserve(static_cast<std::size_t>(deployments.size()));
    for (const auto &deployment : deployments)
        all.push_back(&deployment);
    return all;
}

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

/// Drops what is not to be shown, and of two with one id the earlier one.
Candidates filtered(const Candidates &candidates, Instant now)
{
    const Instant resultCutOff = now - kResultLifetime;
    const Instant activeCutOff = now - kActiveLifetime;
    Candidates kept;
    kept.reserve(candidates.size());
    PlacesByID places(candidates.size());
    const auto idAt = [&kept](quint32 place) -> const QString & {
        return kept[place]->id;
    };
    for (const auto *deployment : candidates) {
        const Instant cutOff = isActive(deployment->state) ? activeCutOff : resultCutOff;
        if (deployment->state == DeploymentState::Inactive || deployment->updatedAt < cutOff)
            continue;
        auto &place = places.of(deployment->id, idAt);
        if (place == PlacesByID::kNone) {
            place = static_cast<quint32>(kept.size());
            kept.push_back(deployment);
        } else if (deployment->updatedAt > kept[place]->updatedAt) {
            kept[place] = deployment;
        }
    }
    return kept;
}

/// What the order depends on, beside the deployment, so that sorting does not run all over the memory.
struct Rank {
    bool isActive;
    Instant updatedAt;
    const DeploymentSnapshot *deployment;

    [[nodiscard]] bool isBefore(const Rank &other) const
    {
        return isActive != other.isActive ? isActive : updatedAt > other.updatedAt;
    }
};

void sort(Candidates &candidates)
{
    std::vector<Rank> ranks;
    ranks.reserve(candidates.size());
    for (const auto *deployment : candidates)
        ranks.push_back({isActive(deployment->state), deployment->updatedAt, deployment});
    std::ranges::stable_sort(ranks, [](const Rank &left, const Rank &right) { return left.isBefore(right); });
    std::ranges::transform(ranks, candidates.begin(), &Rank::deployment);
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
    auto kept = filtered(candidatesOf(deployments), now);
    sort(kept);
    return collected(kept, std::move(deployments));
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
    auto kept = filtered(mergedCandidates(known, fetched, isReplaced), now);
    sort(kept);
    return collected(kept, std::move(fetched));
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
