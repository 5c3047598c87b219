// SPDX-License-Identifier: MIT
#include "simulator/rate_limits.h"

namespace velmora::simulator
{

RateLimit RateLimits::take(const QString &login, const QByteArray &resource, Milliseconds now, bool *isSpent)
{
    RateLimit &limit = current(login, resource, now);
    *isSpent = m_areOn && limit.remaining == 0;
    if (m_areOn && !*isSpent)
        --limit.remaining;
    return limit;
}

RateLimit RateLimits::look(const QString &login, const QByteArray &resource, Milliseconds now)
{
    return current(login, resource, now);
}

void RateLimits::set(const QString &login, int remaining, Milliseconds resetAt)
{
    for (const char *resource : {"graphql", "core"})
        set(login, resource, remaining, resetAt);
}

QList<Header> RateLimits::headers(const RateLimit &limit, const QByteArray &resource) const
{
    if (!m_areOn)
        return {};
    return {{"X-RateLimit-Limit", QByteArray::number(RateLimit::kLimit)},
        {"X-RateLimit-Remaining", QByteArray::number(limit.remaining)},
        {"X-RateLimit-Reset", QByteArray::number(limit.resetAt / 1'000)},
        {"X-RateLimit-Used", QByteArray::number(RateLimit::kLimit - limit.remaining)},
        {"X-RateLimit-Resource", resource}};
}

RateLimit &RateLimits::current(const QString &login, const QByteArray &resource, Milliseconds now)
{
    RateLimit &limit = m_limits[{login, resource}];
    if (now >= limit.resetAt)
        limit = {RateLimit::kLimit, now - now % 1'000 + kWindow};
    return limit;
}

} // namespace velmora::simulator
