// SPDX-License-Identifier: MIT
#pragma once

#include "github/rate_limit_notice.h"
#include "model/deployment_fetch_result.h"

#include <QHash>

#include <chrono>
#include <optional>

namespace velmora
{

/// Who may not ask GitHub at the moment, by identity. Shared by everything that sends requests in the
/// name of an identity; whoever does looks here first. Plain memory: the next run asks anew.
/// A pause keeps its length when the clock is set back, so `now` is always the time of the call.
class RateLimitLedger
{
public:
    /// When requests of the identity may go out again; nothing when they may now.
    [[nodiscard]] std::optional<Instant> pausedUntil(qint64 identityID, Instant now);

    /// GitHub refused. The pause lasts until GitHub's time, at most a day. Without one it is 60 seconds,
    /// and after one that has passed already 1 second, doubled with each refusal in a row, at most an hour.
    /// A pause is never shortened.
    void recordRefusal(qint64 identityID, const RateLimitNotice &notice, Instant now);

    /// A fetch went through. Pauses until the reset, at most a day, when fewer points remain than
    /// `nextCost`. A pause that is under way goes on.
    void recordSuccess(qint64 identityID, const DeploymentRateLimit &limit, qint64 nextCost, Instant now);

private:
    struct Entry {
        std::optional<Instant> pausedUntil;
        int refusalsInARow = 0;
    };
    void heedClock(Instant now);

    QHash<qint64, Entry> m_entries;
    std::optional<Instant> m_latest; ///< the latest time seen since the clock was last set back
};

} // namespace velmora
