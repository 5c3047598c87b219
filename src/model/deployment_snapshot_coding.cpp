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

void json::Codec<DeploymentList>::decode(DeploymentList &value, Element element, const Path &path)
{
    QList<DeploymentSnapshot> records;
    Codec<QList<DeploymentSnapshot>>::decode(records, element, path);
    value = sharedList(std::move(records));
}

void json::Codec<DeploymentList>::encode(Writer &writer, const DeploymentList &value)
{
    writer.StartArray();
    for (const DeploymentSnapshot &deployment : value)
        Codec<DeploymentSnapshot>::encode(writer, deployment);
    writer.EndArray();
}

} // namespace velmora
