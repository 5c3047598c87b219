// SPDX-License-Identifier: MIT
#include "model/deployment_snapshot_coding.h"

namespace velmora
{

void json::Codec<DeploymentState>::decode(DeploymentState &value, Element element, const Path &path)
{
    QString text;
    Codec<QString>::decode(text, element, path);
    const auto state = deploymentStateFromRawValue(text);
    if (!state)
        failExpected(path, "a deployment state");
    value = *state;
}

} // namespace velmora
