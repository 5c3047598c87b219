// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_state.h"

#include <QString>

#include <array>
#include <optional>

namespace velmora
{

/// What a notification announces. Of several in one round, earlier cases come first.
enum class DeploymentNotificationKind {
    Failure,
    Success,
    Waiting, ///< the deployment waits for approval
};

/// All kinds, in the order of declaration.
inline constexpr std::array kAllNotificationKinds{
    DeploymentNotificationKind::Failure, DeploymentNotificationKind::Success, DeploymentNotificationKind::Waiting};

/// What is announced of a deployment that has reached the state; nothing for the other states.
[[nodiscard]] constexpr std::optional<DeploymentNotificationKind> announcedKind(DeploymentState state)
{
    if (isFailure(state))
        return DeploymentNotificationKind::Failure;
    if (state == DeploymentState::Success)
        return DeploymentNotificationKind::Success;
    return state == DeploymentState::Waiting ? std::optional(DeploymentNotificationKind::Waiting) : std::nullopt;
}

/// The key of the preference that switches the kind on. A missing value counts as off.
[[nodiscard]] QString preferenceOf(DeploymentNotificationKind kind);

/// The preference that restricts notifications to the user's own deployments. A missing value counts as off.
inline constexpr auto kOnlyMinePreference = "general.notifiesOnlyMine";

} // namespace velmora
