// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_fetch_result.h"

namespace velmora
{

/// What is known of the points of one identity, of which GitHub grants a number for every hour, to Velmora and to the
/// user's other tools together.
class PointBudget
{
public:
    /// The points that Velmora may spend, and the time for which they have to last.
    struct Supply {
        double points = 0;
        std::chrono::duration<double> time{3600};

        [[nodiscard]] double perSecond() const { return points / time.count(); }
    };

    /// GitHub's report after a fetch. One that says nothing about points is ignored.
    void record(const DeploymentRateLimit &limit, Instant now);

    /// Leaves a tenth of the hour's points to other tools, less what they have already taken in this hour; when they
    /// take more than that, a tenth of what they left goes on. Nothing before the first report. After the reset the
    /// full number is there again: the largest that was seen, or what GitHub grants at least.
    [[nodiscard]] std::optional<Supply> supply(Instant now) const;

private:
    qint64 m_full = 0; ///< the most points that were seen at the beginning of a fetch
    qint64 m_remaining = 0;
    qint64 m_takenByOthers = 0; ///< since the last reset, as far as known
    Instant m_resetAt = distantPast();
};

} // namespace velmora
