// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/random.h"
#include "simulator/world.h"

#include <QUrl>

namespace velmora::simulator
{

/// One step in the life of a deployment.
struct Step {
    Milliseconds after = 0; ///< since the previous step
    QString state; ///< GitHub's name of a status
    std::optional<QString> description;
};

/// The life of a deployment, from creation to outcome.
struct Script {
    int repository = 0;
    QString environment;
    QString creator;
    QString commitOid;
    std::optional<QString> environmentUrl;
    std::optional<QString> logUrl;
    QList<Step> steps;
};

/// A random life for a new deployment of the repository.
[[nodiscard]] Script makeScript(Random &random, const World &world, int repository, const QUrl &web);

/// Creates the deployment of the script, without a status; returns its identifier.
QString beginDeployment(World &world, const Script &script, Milliseconds now);

/// Sets the status of the deployment. A success makes earlier successes in the same environment inactive, unless that
/// is production. Does nothing if the deployment no longer exists.
void applyStep(World &world, const Script &script, const QString &deployment, const Step &step, Milliseconds now);

/// GitHub's state for a deployment whose latest status has this state.
[[nodiscard]] QString deploymentState(const QString &statusState);

} // namespace velmora::simulator
