// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/http_message.h"
#include "simulator/world.h"

#include <map>
#include <utility>

namespace velmora::simulator
{

/// The remaining budget for one resource.
struct RateLimit {
    static constexpr int kLimit = 5'000;
    int remaining = kLimit;
    Milliseconds resetAt = 0;
};

/// The hourly budgets of each user: one for GraphQL, one for REST.
class RateLimits
{
public:
    static constexpr Milliseconds kWindow = 3'600'000;

    /// Spends one point if any is left, and returns the budget. Sets `isSpent` if none was left.
    [[nodiscard]] RateLimit take(const QString &login, const QByteArray &resource, Milliseconds now, bool *isSpent);
    /// The budget, without spending anything.
    [[nodiscard]] RateLimit look(const QString &login, const QByteArray &resource, Milliseconds now);
    /// Sets both budgets of a user.
    void set(const QString &login, int remaining, Milliseconds resetAt);
    /// Sets one of them.
    void set(const QString &login, const QByteArray &resource, int remaining, Milliseconds resetAt)
    {
        m_limits[{login, resource}] = {remaining, resetAt};
    }
    void clear() { m_limits.clear(); }

    /// Whether limits apply. On an Enterprise Server they do not by default.
    [[nodiscard]] bool areOn() const { return m_areOn; }
    void setOn(bool areOn) { m_areOn = areOn; }

    /// The headers that report the budget; none without limits.
    [[nodiscard]] QList<Header> headers(const RateLimit &limit, const QByteArray &resource) const;

private:
    [[nodiscard]] RateLimit &current(const QString &login, const QByteArray &resource, Milliseconds now);
    std::map<std::pair<QString, QByteArray>, RateLimit> m_limits;
    bool m_areOn = true;
};

} // namespace velmora::simulator
