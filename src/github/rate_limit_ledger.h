// SPDX-License-Identifier: MIT
#pragma once

#include "github/rate_limit_notice.h"
#include "model/deployment_fetch_result.h"

#include <QHash>

#include <chrono>
#include <optional>

namespace velmora
{

/// The identities that GitHub has told to wait, and until when. Shared by all senders of an identity's requests, which
/// check it before each request. In memory only. A pause keeps its length when the clock is set back, so `now` must be
/// the current time.
class RateLimitLedger
{
public:
    /// When the identity may send requests again, nullopt if at once.
    [[nodiscard]] std::optional<Instant> pausedUntil(qint64 identityID, Instant now);

    /// GitHub refused a request. Pauses until GitHub's time, at most an hour. Without a time the pause is 60 seconds,
    /// and with a time in the past 1 second; both double with each refusal in a row, up to an hour. Never shortens a
    /// pause.
    void recordRefusal(qint64 identityID, const RateLimitNotice &notice, Instant now);

    /// A fetch succeeded. Pauses until the reset, at most an hour, if fewer points remain than `nextCost`. Never ends a
    /// running pause.
    void recordSuccess(qint64 identityID, const DeploymentRateLimit &limit, qint64 nextCost, Instant now);

private:
    struct Entry {
        std::optional<Instant> pausedUntil;
        int refusalsInARow = 0;
    };
    void adjustToClock(Instant now);

    QHash<qint64, Entry> m_entries;
    std::optional<Instant> m_latest; ///< the latest time seen since the clock was last set back
};

} // namespace velmora
