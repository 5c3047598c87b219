// SPDX-License-Identifier: MIT
#include "monitor/point_budget.h"

#include <algorithm>

namespace velmora
{

using namespace std::chrono;

namespace
{

constexpr duration<double> kHour = hours(1);
/// Two reports of one hour may differ by the rounding of the time.
constexpr auto kSameReset = minutes(1);
constexpr double kShareOfOthers = 0.1;
/// What GitHub grants at least, for when nothing is known of the hour that has begun.
constexpr qint64 kLeastGranted = 5000;

} // namespace

void PointBudget::record(const DeploymentRateLimit &limit, Instant now)
{
    if (limit.resetAt == distantPast())
        return;
    const qint64 before = limit.remaining + limit.cost;
    const bool isSameHour = m_full > 0 && now < m_resetAt && abs(limit.resetAt - m_resetAt) < kSameReset;
    const qint64 expected = isSameHour ? m_remaining : m_full;
    m_takenByOthers = (isSameHour ? m_takenByOthers : 0) + std::max<qint64>(0, expected - before);
    m_full = std::max(m_full, before);
    m_remaining = limit.remaining;
    m_resetAt = limit.resetAt;
}

std::optional<PointBudget::Supply> PointBudget::supply(Instant now) const
{
    if (m_full == 0)
        return std::nullopt;
    const bool isRenewed = now >= m_resetAt;
    const auto remaining = static_cast<double>(isRenewed ? std::max(m_full, kLeastGranted) : m_remaining);
    const auto taken = static_cast<double>(isRenewed ? 0 : m_takenByOthers);
    const double kept = std::max(0.0, kShareOfOthers * static_cast<double>(m_full) - taken);
    const duration<double> left = isRenewed ? kHour : std::clamp<duration<double>>(m_resetAt - now, seconds(1), kHour);
    return Supply{std::max(remaining - kept, kShareOfOthers * remaining), left};
}

} // namespace velmora
