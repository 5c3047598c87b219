// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/failure_marks.h"

#include <QList>
#include <QString>

#include <optional>

namespace velmora
{

/// What is still to be done before there is anything to monitor, in the order in which it is done.
enum class MissingStep {
    Account, ///< no account is connected
    Installation, ///< the App is installed nowhere
    Access, ///< where it is installed, no repository is granted to it
    Selection, ///< every repository is switched off
};

/// How current the deployments on show are. Each case uses the fields that its factory function below takes.
struct DeploymentMonitorState {
    enum class Case {
        Loading,
        Ready,
        Stale,
        RateLimited,
        Disconnected,
    };

    Case state = Case::Loading;
    /// Of Loading: whether the list on show is not empty.
    bool hasContent = false;
    /// The last successful refresh, as far as the case carries one.
    std::optional<Instant> lastUpdatedAt;
    /// Of RateLimited: when polling may resume.
    std::optional<Instant> resumeAt;
    /// Of Disconnected: why.
    std::optional<MissingStep> missing;
    /// Of Ready: the seconds in which every repository is asked for once, where GitHub's limit stretches them.
    std::optional<qint64> refreshIntervalSeconds;

    static DeploymentMonitorState loading(bool hasContent) { return {Case::Loading, hasContent, {}, {}, {}, {}}; }
    static DeploymentMonitorState ready(Instant refreshedAt, std::optional<qint64> refreshIntervalSeconds = {})
    {
        return {Case::Ready, false, refreshedAt, {}, {}, refreshIntervalSeconds};
    }
    /// What is shown is saved or older data.
    static DeploymentMonitorState stale(std::optional<Instant> refreshedAt)
    {
        return {Case::Stale, false, refreshedAt, {}, {}, {}};
    }
    static DeploymentMonitorState rateLimited(std::optional<Instant> updatedAt, Instant resumeAt)
    {
        return {Case::RateLimited, false, updatedAt, resumeAt, {}, {}};
    }
    /// No account, or nothing to monitor.
    static DeploymentMonitorState disconnected(MissingStep missing)
    {
        return {Case::Disconnected, false, {}, {}, missing, {}};
    }

    friend bool operator==(const DeploymentMonitorState &, const DeploymentMonitorState &) = default;
};

/// The case's name: "loading", "ready", "stale", "rateLimited" or "disconnected".
[[nodiscard]] QString rawValue(DeploymentMonitorState::Case state);

/// The step's name: "account", "installation", "access" or "selection".
[[nodiscard]] QString rawValue(MissingStep step);

/// The monitor's state in one value, from which the tray item and the terminal's first line are made.
struct DeploymentMonitorPresentation {
    DeploymentMonitorState::Case state = DeploymentMonitorState::Case::Loading;
    /// Of Ready: listed deployments that are under way, and failures that count. Else 0.
    qsizetype activeCount = 0;
    qsizetype failedCount = 0;

    /// The name of the symbol.
    [[nodiscard]] QString symbol() const;
    /// The number of active deployments where there is one, else the name of the application.
    [[nodiscard]] QString title() const;

    friend bool operator==(const DeploymentMonitorPresentation &, const DeploymentMonitorPresentation &) = default;
};

[[nodiscard]] DeploymentMonitorPresentation presentation(
    const DeploymentMonitorState &state, const DeploymentList &deployments, const FailureMarks &marks);

} // namespace velmora
