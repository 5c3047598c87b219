// SPDX-License-Identifier: MIT
#include "monitor/identity_health.h"

namespace velmora
{

using namespace std::chrono;

namespace
{

constexpr seconds kFirstDelay{5};
constexpr seconds kLongestDelay{300};
constexpr double kJitter = 0.2;

seconds delayAfter(int failures)
{
    // Seven doublings are past the longest delay already.
    return std::min(kLongestDelay, kFirstDelay * (1 << std::min(failures - 1, 7)));
}

} // namespace

IdentityHealth::IdentityHealth(std::function<double()> random)
    : m_random(std::move(random))
{
}

void IdentityHealth::recordFailure(qint64 identityID, const QString &description, Instant now)
{
    auto &failure = m_failures[identityID];
    failure.description = description;
    ++failure.count;
    const duration<double> delay = delayAfter(failure.count) * (1.0 - kJitter * m_random());
    failure.failedAt = now;
    failure.retryAt = now + duration_cast<microseconds>(delay);
}

void IdentityHealth::retain(const QSet<qint64> &identities)
{
    m_failures.removeIf([&](const auto &entry) { return !identities.contains(entry.key()); });
}

void IdentityHealth::retryAllNow()
{
    for (auto &failure : m_failures)
        failure.retryAt = distantPast();
}

void IdentityHealth::retryNow(qint64 identityID)
{
    if (const auto found = m_failures.find(identityID); found != m_failures.end())
        found->retryAt = distantPast();
}

std::optional<QString> IdentityHealth::failure(qint64 identityID) const
{
    const auto found = m_failures.constFind(identityID);
    return found == m_failures.constEnd() ? std::nullopt : std::optional(found->description);
}

bool IdentityHealth::isWaiting(qint64 identityID, Instant now) const
{
    const auto found = m_failures.constFind(identityID);
    // A clock that was set back must not prolong the wait.
    return found != m_failures.constEnd() && now < found->retryAt && now >= found->failedAt;
}

} // namespace velmora
