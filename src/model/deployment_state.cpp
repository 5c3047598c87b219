// SPDX-License-Identifier: MIT
#include "model/deployment_state.h"

namespace velmora
{

namespace
{

struct StateName {
    DeploymentState state;
    QStringView name;
};

constexpr std::array kRawValues{
    StateName{DeploymentState::Queued, u"queued"},
    StateName{DeploymentState::Pending, u"pending"},
    StateName{DeploymentState::Waiting, u"waiting"},
    StateName{DeploymentState::InProgress, u"inProgress"},
    StateName{DeploymentState::Success, u"success"},
    StateName{DeploymentState::Failure, u"failure"},
    StateName{DeploymentState::Error, u"error"},
    StateName{DeploymentState::Inactive, u"inactive"},
    StateName{DeploymentState::Unknown, u"unknown"},
};

// People ask how a deployment ended: GitHub's words for what became of it later fold into its outcome.
constexpr std::array kGitHubWords{
    StateName{DeploymentState::Queued, u"QUEUED"},
    StateName{DeploymentState::Pending, u"PENDING"},
    StateName{DeploymentState::Waiting, u"WAITING"},
    StateName{DeploymentState::InProgress, u"IN_PROGRESS"},
    StateName{DeploymentState::Success, u"SUCCESS"},
    StateName{DeploymentState::Success, u"ACTIVE"},
    StateName{DeploymentState::Failure, u"FAILURE"},
    StateName{DeploymentState::Failure, u"ABANDONED"},
    StateName{DeploymentState::Error, u"ERROR"},
    StateName{DeploymentState::Inactive, u"INACTIVE"},
    StateName{DeploymentState::Inactive, u"DESTROYED"},
};

} // namespace

QString rawValue(DeploymentState state)
{
    for (const auto &entry : kRawValues) {
        if (entry.state == state)
            return entry.name.toString();
    }
    Q_UNREACHABLE();
}

std::optional<DeploymentState> deploymentStateFromRawValue(QStringView text)
{
    for (const auto &entry : kRawValues) {
        if (entry.name == text)
            return entry.state;
    }
    return std::nullopt;
}

DeploymentState deploymentStateFromGitHub(const std::optional<QString> &text)
{
    if (!text)
        return DeploymentState::Unknown;
    const QString word = text->toUpper();
    for (const auto &entry : kGitHubWords) {
        if (entry.name == word)
            return entry.state;
    }
    return DeploymentState::Unknown;
}

} // namespace velmora
