// SPDX-License-Identifier: MIT
#include "monitor/identity_pace.h"

#include "github/github_client.h"
#include "monitor/polling_schedule.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <cmath>

namespace velmora
{

using namespace std::chrono_literals;

namespace
{

using Seconds = std::chrono::duration<double>;

constexpr Seconds kTick = kTickInterval;
constexpr Seconds kFull = kDeploymentsInterval;
constexpr auto kBatch = static_cast<std::size_t>(kDeploymentBatchSize);
/// At most this part of the points is spent on active repositories while others wait.
constexpr double kActiveShare = 1.0 / 3;
constexpr double kRecentWeight = 2;
/// Seconds that are longer than any wait.
constexpr double kForever = 1e12;
/// An interval that differs by less than this part is told as the one before.
constexpr double kSmallChange = 0.1;

double requestsFor(std::size_t repositories)
{
    const std::size_t requests = (repositories + kBatch - 1) / kBatch;
    return static_cast<double>(requests);
}

/// The repositories of deployments. GitHub may answer with another form of the id than the one in the request.
class Named
{
public:
    void add(const DeploymentSnapshot &deployment)
    {
        m_names.insert(deployment.repositoryNodeID);
        m_names.insert(deployment.repositoryName);
    }
    [[nodiscard]] bool contains(const RepositoryRecord &record) const
    {
        return m_names.contains(record.id()) || m_names.contains(record.repository.nameWithOwner);
    }

private:
    QSet<QString> m_names;
};

/// Moves the `count` candidates that have waited longest to the beginning; of equals, those that come first.
template <typename Candidates>
void putLongestFirst(Candidates &candidates, std::size_t count)
{
    const auto isBefore = [](const auto &left, const auto &right) {
        return left.wait != right.wait ? left.wait > right.wait : left.place < right.place;
    };
    if (count < candidates.size())
        std::nth_element(
            candidates.begin(), candidates.begin() + static_cast<std::ptrdiff_t>(count), candidates.end(), isBefore);
}

} // namespace

IdentityPace::Repositories IdentityPace::due(
    const Repositories &monitored, const DeploymentList &shown, RefreshScope scope, Instant now)
{
    follow(monitored, shown);
    std::vector<bool> isDue(monitored.size(), false);
    const auto supply = m_budget.supply(now);
    if (!supply || lasts(*supply)) {
        m_interval.reset();
        m_allowedAt = now;
        for (std::size_t i = 0; i < m_turns.size(); ++i)
            isDue[i] = scope != RefreshScope::Active || m_turns[i].kind == Kind::Active;
    } else {
        allow(supply->perSecond(), now);
        updateInterval(supply->perSecond());
        for (const Candidate &candidate : share(now))
            isDue[candidate.place] = true;
    }
    Repositories result;
    for (std::size_t i = 0; i < monitored.size(); ++i) {
        if (isDue[i])
            result.push_back(monitored[i]);
    }
    return result;
}

/// Brings the turns up to date with the repositories and with what is on show.
void IdentityPace::follow(const Repositories &monitored, const DeploymentList &shown)
{
    const bool isSame = std::ranges::equal(monitored, m_turns, {}, &RepositoryRecord::id, &Turn::id);
    if (!isSame) {
        QHash<QString, std::optional<Instant>> answers;
        for (const Turn &turn : m_turns)
            answers.insert(turn.id, turn.answeredAt);
        m_turns.clear();
        for (const RepositoryRecord *record : monitored)
            m_turns.push_back({record->id(), answers.value(record->id())});
    }
    if (isSame && shown.isSharedWith(m_shown))
        return;
    m_shown = shown;
    Named active;
    Named recent;
    for (const DeploymentSnapshot &deployment : shown)
        (isActive(deployment.state) ? active : recent).add(deployment);
    for (std::size_t i = 0; i < m_turns.size(); ++i) {
        m_turns[i].kind = active.contains(*monitored[i]) ? Kind::Active
            : recent.contains(*monitored[i])             ? Kind::Recent
                                                         : Kind::Rest;
    }
    m_activeCount = static_cast<std::size_t>(std::ranges::count(m_turns, Kind::Active, &Turn::kind));
}

/// Whether the points last for the intervals of decide(), and for one full refresh more at the end.
bool IdentityPace::lasts(const PointBudget::Supply &supply) const
{
    const double all = requestsFor(m_turns.size());
    // The ticks between two full refreshes ask for what is under way.
    const double perSecond = all / kFull.count() + requestsFor(m_activeCount) * (1 / kTick.count() - 1 / kFull.count());
    return (perSecond * supply.time.count() + all) * static_cast<double>(m_requestCost) <= supply.points;
}

/// Counts the points that may be spent since the last time. Those of a longer silence, such as the machine's sleep, are
/// not spent at once.
void IdentityPace::allow(double pointsPerSecond, Instant now)
{
    const auto cost = static_cast<double>(m_requestCost);
    const double points = pointsPerSecond * std::clamp<Seconds>(now - m_allowedAt, Seconds::zero(), kFull).count();
    m_allowedAt = now;
    m_allowance = std::min(m_allowance + points, std::max(cost, pointsPerSecond * kFull.count()));
    m_activeAllowance = std::min(m_activeAllowance + kActiveShare * points, requestsFor(m_activeCount) * cost);
}

/// What is asked for with the points that may be spent by now.
IdentityPace::Candidates IdentityPace::share(Instant now)
{
    const auto cost = static_cast<double>(m_requestCost);
    const double requests = std::floor(m_allowance / cost);
    const double activeRequests
        = std::min({requestsFor(m_activeCount), std::floor(m_activeAllowance / cost), requests});
    const auto count = static_cast<std::size_t>(requests) * kBatch;
    if (count == 0)
        return {};
    const auto first = std::min(m_activeCount, static_cast<std::size_t>(activeRequests) * kBatch);
    Candidates candidates = waiting(true, now);
    putLongestFirst(candidates, first);
    for (std::size_t i = 0; i < first; ++i)
        candidates[i].wait = kForever;
    const Candidates others = waiting(false, now);
    candidates.insert(candidates.end(), others.begin(), others.end());
    putLongestFirst(candidates, count);
    candidates.resize(std::min(count, candidates.size()));
    m_activeAllowance -= activeRequests * cost;
    m_allowance -= requestsFor(candidates.size()) * cost;
    return candidates;
}

/// The active repositories, or those of the others that have waited for as long as a full refresh waits.
IdentityPace::Candidates IdentityPace::waiting(bool areActive, Instant now) const
{
    Candidates candidates;
    for (std::size_t i = 0; i < m_turns.size(); ++i) {
        const Turn &turn = m_turns[i];
        if ((turn.kind == Kind::Active) != areActive)
            continue;
        // What was never answered, or at a time that lies in the future now, has waited longest.
        const double wait
            = turn.answeredAt && *turn.answeredAt <= now ? Seconds(now - *turn.answeredAt).count() : kForever;
        if (areActive || wait >= kFull.count())
            candidates.push_back({i, turn.kind == Kind::Rest ? wait : kRecentWeight * wait});
    }
    return candidates;
}

/// What the points leave after the active repositories is spread over the others; a few of them still wait for a whole
/// request.
void IdentityPace::updateInterval(double pointsPerSecond)
{
    const double requestsPerSecond = pointsPerSecond / static_cast<double>(m_requestCost);
    const double perSecond = requestsPerSecond * static_cast<double>(kBatch);
    const double activePerSecond
        = std::min(static_cast<double>(m_activeCount) / kTick.count(), kActiveShare * perSecond);
    const auto others = static_cast<double>(m_turns.size() - m_activeCount);
    const double wait = std::max(others / (perSecond - activePerSecond), 1 / requestsPerSecond);
    const Seconds interval(std::clamp<double>(wait, kFull.count(), Seconds(1h).count()));
    const Seconds told = m_interval.value_or(0s);
    if (std::abs((interval - told).count()) > kSmallChange * told.count())
        m_interval = std::chrono::ceil<std::chrono::seconds>(interval);
}

void IdentityPace::record(
    const QList<RepositoryRecord> &asked, const DeploymentRateLimit &limit, RefreshScope scope, Instant now)
{
    m_budget.record(limit, now);
    const double requests = std::max(1.0, requestsFor(static_cast<std::size_t>(asked.size())));
    const auto cost = static_cast<qint64>(std::ceil(static_cast<double>(limit.cost) / requests));
    // A request for a few active repositories may be cheaper than one for a whole batch.
    m_requestCost = std::max(scope == RefreshScope::Active ? m_requestCost : 1, cost);
    // Both are in the order of the monitored repositories. What is new among them is put in place by follow().
    std::vector<Turn> added;
    auto turn = m_turns.begin();
    for (const RepositoryRecord &record : asked) {
        const auto found = std::find_if(turn, m_turns.end(), [&](const Turn &next) { return next.id == record.id(); });
        if (found == m_turns.end()) {
            added.push_back({record.id(), now});
        } else {
            found->answeredAt = now;
            turn = std::next(found);
        }
    }
    m_turns.insert(m_turns.end(), added.begin(), added.end());
}

} // namespace velmora
