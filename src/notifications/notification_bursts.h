// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_group.h"
#include "support/instant.h"

#include <QList>

#include <array>
#include <chrono>
#include <optional>

namespace velmora
{

/// Decides which results are announced by themselves, and which together with others because many came at once. The
/// kinds are independent of each other. Uses no timer: a decision depends on the results before it only.
class NotificationBursts
{
public:
    /// The number of results of one kind that are announced by themselves within the span.
    static constexpr qsizetype kAlone = 3;
    static constexpr std::chrono::seconds kSpan{30};

    /// Notes a result that came at `now`. Returns nothing if it is to be announced by itself: fewer than three of its
    /// kind came within the span before it. Otherwise the group to announce in its place, which holds all of the burst:
    /// the three that preceded it, which were announced by themselves, and every result since. A result that is
    /// announced by itself ends the burst. A clock that was set back ends it as well.
    [[nodiscard]] std::optional<DeploymentGroup> add(
        const DeploymentSnapshot &result, DeploymentNotificationKind kind, Instant now);

private:
    struct Arrival {
        DeploymentSnapshot result;
        Instant time;
    };
    struct Burst {
        QList<Arrival> latest; ///< at most kAlone, the oldest first
        std::optional<DeploymentGroup> group; ///< while results are announced together
    };

    std::array<Burst, kAllNotificationKinds.size()> m_bursts;
};

} // namespace velmora
