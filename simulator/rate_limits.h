// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/http_message.h"
#include "simulator/world.h"

#include <map>
#include <utility>

namespace velmora::simulator
{

/// What is left of one budget.
struct RateLimit {
    static constexpr int kLimit = 5'000;
    int remaining = kLimit;
    Milliseconds resetAt = 0;
};

/// The hourly budgets of every person: one for GraphQL, one for REST.
class RateLimits
{
public:
    static constexpr Milliseconds kWindow = 3'600'000;

    /// Takes one point, if there is one; the result is what is left. `isSpent` tells that there was none.
    [[nodiscard]] RateLimit take(const QString &login, const QByteArray &resource, Milliseconds now, bool *isSpent);
    /// What is left, nothing taken.
    [[nodiscard]] RateLimit look(const QString &login, const QByteArray &resource, Milliseconds now);
    /// Sets both budgets of a person.
    void set(const QString &login, int remaining, Milliseconds resetAt);
    void clear() { m_limits.clear(); }

    /// Whether there are limits at all; an Enterprise Server has none unless its owner wants them.
    [[nodiscard]] bool areOn() const { return m_areOn; }
    void setOn(bool areOn) { m_areOn = areOn; }

    /// The headers that tell of the budget; none without limits.
    [[nodiscard]] QList<Header> headers(const RateLimit &limit, const QByteArray &resource) const;

private:
    [[nodiscard]] RateLimit &current(const QString &login, const QByteArray &resource, Milliseconds now);
    std::map<std::pair<QString, QByteArray>, RateLimit> m_limits;
    bool m_areOn = true;
};

} // namespace velmora::simulator
