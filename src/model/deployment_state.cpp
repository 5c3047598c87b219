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

struct GitHubWord {
    DeploymentState state;
    std::string_view word;
};

// GitHub's words for the later fate of a deployment map to its outcome, since users ask how it ended.
constexpr std::array kGitHubWords{
    GitHubWord{DeploymentState::Queued, "QUEUED"},
    GitHubWord{DeploymentState::Pending, "PENDING"},
    GitHubWord{DeploymentState::Waiting, "WAITING"},
    GitHubWord{DeploymentState::InProgress, "IN_PROGRESS"},
    GitHubWord{DeploymentState::Success, "SUCCESS"},
    GitHubWord{DeploymentState::Success, "ACTIVE"},
    GitHubWord{DeploymentState::Failure, "FAILURE"},
    GitHubWord{DeploymentState::Failure, "ABANDONED"},
    GitHubWord{DeploymentState::Error, "ERROR"},
    GitHubWord{DeploymentState::Inactive, "INACTIVE"},
    GitHubWord{DeploymentState::Inactive, "DESTROYED"},
};

std::optional<DeploymentState> stateOfWord(std::string_view word)
{
    for (const auto &entry : kGitHubWords) {
        if (entry.word == word)
            return entry.state;
    }
    return std::nullopt;
}

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

DeploymentState deploymentStateFromGitHub(std::optional<QUtf8StringView> text)
{
    if (!text)
        return DeploymentState::Unknown;
    // Usually the word is in capitals already, so the conversion is skipped.
    if (const auto state = stateOfWord({text->data(), static_cast<std::size_t>(text->size())}))
        return *state;
    return stateOfWord(text->toString().toUpper().toStdString()).value_or(DeploymentState::Unknown);
}

} // namespace velmora
