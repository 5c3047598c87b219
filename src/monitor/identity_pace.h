// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"
#include "monitor/point_budget.h"
#include "monitor/refresh_context.h"

#include <QList>

#include <chrono>
#include <optional>
#include <vector>

namespace velmora
{

/// Says which repositories of one identity a refresh asks for, so that its points last until GitHub renews them.
///
/// Where they last for the intervals of decide(), it is what the scope says. Where they do not, the identity is
/// *stretched*: each tick asks for as many repositories as the points allow by then. Those with a deployment under way
/// come first, for up to a third of the points. The others come in turn, and those with a result of the last day twice
/// as often as the rest.
class IdentityPace
{
public:
    using Repositories = std::vector<const RepositoryRecord *>;

    /// Those of `monitored` to ask for now, in their order, which counts as asking for them. `shown` is the list on
    /// show.
    [[nodiscard]] Repositories due(
        const Repositories &monitored, const DeploymentList &shown, RefreshScope scope, Instant now);

    /// GitHub answered for these repositories, at this cost.
    void record(
        const QList<RepositoryRecord> &asked, const DeploymentRateLimit &limit, RefreshScope scope, Instant now);

    /// The points that are needed at least to ask again.
    [[nodiscard]] qint64 nextCost() const { return m_requestCost; }
    /// The time in which everything is asked for once; nothing where the identity is not stretched. Small changes are
    /// not told.
    [[nodiscard]] std::optional<std::chrono::seconds> interval() const { return m_interval; }

private:
    enum class Kind {
        Active, ///< with a deployment under way
        Recent, ///< with a result of the last day
        Rest,
    };
    struct Turn {
        QString id; ///< of the repository
        std::optional<Instant> answeredAt;
        Kind kind = Kind::Rest;
    };
    struct Candidate {
        std::size_t place;
        double wait; ///< seconds since the last answer, weighted
    };
    using Candidates = std::vector<Candidate>;

    void follow(const Repositories &monitored, const DeploymentList &shown);
    [[nodiscard]] bool lasts(const PointBudget::Supply &supply) const;
    void allow(double pointsPerSecond, Instant now);
    [[nodiscard]] Candidates share(Instant now);
    [[nodiscard]] Candidates waiting(bool areActive, Instant now) const;
    void updateInterval(double pointsPerSecond);

    PointBudget m_budget;
    qint64 m_requestCost = 1;
    std::optional<std::chrono::seconds> m_interval;
    double m_allowance = 0; ///< points that may be spent by now
    double m_activeAllowance = 0; ///< of these, for active repositories
    Instant m_allowedAt = distantPast(); ///< until when the allowances are counted
    std::vector<Turn> m_turns; ///< one for each monitored repository
    std::size_t m_activeCount = 0; ///< of the turns
    DeploymentList m_shown; ///< from which the kinds follow
};

} // namespace velmora
