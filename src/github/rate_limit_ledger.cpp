// SPDX-License-Identifier: MIT
#include "github/rate_limit_ledger.h"

namespace velmora
{

using namespace std::chrono;

namespace
{

/// GitHub's quotas last an hour. A longer wait is a mistake, which one request an hour finds out.
constexpr auto kLongestPause = hours(1);

/// `first`, doubled for each earlier refusal in a row, at most an hour.
microseconds doubled(seconds first, int refusalsBefore)
{
    constexpr int kEnoughForAnHour = 12;
    const auto pause = first * (qint64(1) << std::min(refusalsBefore, kEnoughForAnHour));
    return std::min<microseconds>(pause, kLongestPause);
}

/// The length of a pause. A time in the past leads to short, growing pauses, so that a wrong clock on either side does
/// not cause a storm of requests.
microseconds pauseAfterRefusal(const std::optional<Instant> &resumeAt, Instant now, int refusalsBefore)
{
    if (!resumeAt)
        return doubled(60s, refusalsBefore);
    if (*resumeAt <= now)
        return doubled(1s, refusalsBefore);
    return std::clamp<microseconds>(*resumeAt - now, 1s, kLongestPause);
}

} // namespace

void RateLimitLedger::adjustToClock(Instant now)
{
    const Instant latest = m_latest.value_or(now);
    if (now >= latest) {
        m_latest = now;
        return;
    }
    for (Entry &entry : m_entries) {
        if (entry.pausedUntil)
            *entry.pausedUntil -= latest - now;
    }
    m_latest = now;
}

std::optional<Instant> RateLimitLedger::pausedUntil(qint64 identityID, Instant now)
{
    adjustToClock(now);
    const auto entry = m_entries.constFind(identityID);
    if (entry == m_entries.cend() || !entry->pausedUntil || *entry->pausedUntil <= now)
        return std::nullopt;
    return entry->pausedUntil;
}

void RateLimitLedger::recordRefusal(qint64 identityID, const RateLimitNotice &notice, Instant now)
{
    adjustToClock(now);
    Entry &entry = m_entries[identityID];
    const Instant until = now + pauseAfterRefusal(notice.resumeAt, now, entry.refusalsInARow);
    entry.pausedUntil = std::max(entry.pausedUntil.value_or(until), until);
    entry.refusalsInARow = std::min(entry.refusalsInARow + 1, std::numeric_limits<int>::max() - 1);
}

void RateLimitLedger::recordSuccess(qint64 identityID, const DeploymentRateLimit &limit, qint64 nextCost, Instant now)
{
    adjustToClock(now);
    Entry &entry = m_entries[identityID];
    entry.refusalsInARow = 0;
    // This response may be older than the refusal of another request, so it must not end a running pause.
    if (entry.pausedUntil && *entry.pausedUntil <= now)
        entry.pausedUntil.reset();
    if (limit.remaining >= nextCost || limit.resetAt <= now)
        return;
    const Instant until = std::min<Instant>(limit.resetAt, now + kLongestPause);
    entry.pausedUntil = std::max(entry.pausedUntil.value_or(until), until);
}

} // namespace velmora
