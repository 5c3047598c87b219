// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/random.h"
#include "simulator/world.h"

#include <QUrl>

namespace velmora::simulator
{

/// One step of a deployment's life.
struct Step {
    Milliseconds after = 0; ///< since the step before
    QString state; ///< GitHub's word for a status
    std::optional<QString> description;
};

/// The life of one deployment, from its creation to its outcome.
struct Script {
    int repository = 0;
    QString environment;
    QString creator;
    QString commitOid;
    std::optional<QString> environmentUrl;
    std::optional<QString> logUrl;
    QList<Step> steps;
};

/// A life for a new deployment somewhere in the world.
[[nodiscard]] Script makeScript(Random &random, const World &world, int repository, const QUrl &web);

/// Creates the deployment of the script, without a status yet; the result is its identifier.
QString beginDeployment(World &world, const Script &script, Milliseconds now);

/// Gives the deployment that status. A success ends earlier successes in the same environment, unless that is
/// production. Nothing happens when the deployment is gone.
void applyStep(World &world, const Script &script, const QString &deployment, const Step &step, Milliseconds now);

/// GitHub's word for the state of a deployment whose latest status has this state.
[[nodiscard]] QString deploymentState(const QString &statusState);

} // namespace velmora::simulator
