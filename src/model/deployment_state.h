// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringView>
#include <QUtf8StringView>

#include <array>
#include <optional>

namespace velmora
{

/// How a deployment stands, in Velmora's words rather than GitHub's.
enum class DeploymentState {
    Queued,
    Pending,
    Waiting,
    InProgress,
    Success,
    Failure,
    Error,
    Inactive,
    Unknown,
};

/// Every case, in the order of declaration.
inline constexpr std::array kAllDeploymentStates{DeploymentState::Queued, DeploymentState::Pending,
    DeploymentState::Waiting, DeploymentState::InProgress, DeploymentState::Success, DeploymentState::Failure,
    DeploymentState::Error, DeploymentState::Inactive, DeploymentState::Unknown};

/// The word under which a state is stored and spoken of: "queued", "inProgress", ….
[[nodiscard]] QString rawValue(DeploymentState state);
/// The inverse of rawValue(); nothing for another word.
[[nodiscard]] std::optional<DeploymentState> deploymentStateFromRawValue(QStringView text);

/// GitHub's word for the state of a deployment or of a deployment status, in any case of letters. The
/// outcome counts: "ACTIVE" is a success and "ABANDONED" a failure. An absent or unknown word is Unknown.
[[nodiscard]] DeploymentState deploymentStateFromGitHub(std::optional<QUtf8StringView> text);

/// Still under way: queued, pending, waiting or in progress.
[[nodiscard]] constexpr bool isActive(DeploymentState state)
{
    return state == DeploymentState::Queued || state == DeploymentState::Pending || state == DeploymentState::Waiting
        || state == DeploymentState::InProgress;
}

/// Ended badly: failure or error.
[[nodiscard]] constexpr bool isFailure(DeploymentState state)
{
    return state == DeploymentState::Failure || state == DeploymentState::Error;
}

} // namespace velmora
