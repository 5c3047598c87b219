// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringView>
#include <QUtf8StringView>

#include <array>
#include <optional>

namespace velmora
{

/// The state of a deployment, in Velmora's terms rather than GitHub's.
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

/// All states, in the order of declaration.
inline constexpr std::array kAllDeploymentStates{DeploymentState::Queued, DeploymentState::Pending,
    DeploymentState::Waiting, DeploymentState::InProgress, DeploymentState::Success, DeploymentState::Failure,
    DeploymentState::Error, DeploymentState::Inactive, DeploymentState::Unknown};

/// The name of a state in files and in the terminal: "queued", "inProgress", ….
[[nodiscard]] QString rawValue(DeploymentState state);
/// The inverse of rawValue(). Returns nullopt for an unknown name.
[[nodiscard]] std::optional<DeploymentState> deploymentStateFromRawValue(QStringView text);

/// Maps GitHub's word for the state of a deployment or of a deployment status, ignoring case. The outcome counts:
/// "ACTIVE" is Success and "ABANDONED" is Failure. An absent or unknown word is Unknown.
[[nodiscard]] DeploymentState deploymentStateFromGitHub(std::optional<QUtf8StringView> text);

/// Under way: queued, pending, waiting or in progress.
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
