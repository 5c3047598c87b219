// SPDX-License-Identifier: MIT
#pragma once

#include "model/shared_deployment.h"
#include "support/instant.h"

#include <QString>

namespace velmora::testing
{

/// Noon on 1 May 2026, UTC: the current time of most tests.
inline Instant noon()
{
    using namespace std::chrono;
    return Instant(sys_days(2026y / 5 / 1) + 12h);
}

/// A deployment of acme/web to production that changed at `updatedAt`.
inline DeploymentSnapshot makeSnapshot(const QString &id, DeploymentState state, Instant updatedAt)
{
    DeploymentSnapshot snapshot;
    snapshot.id = id;
    snapshot.repositoryNodeID = QStringLiteral("R_web");
    snapshot.repositoryName = QStringLiteral("acme/web");
    snapshot.repositoryURL = WebAddress(QStringLiteral("https://github.com/acme/web"));
    snapshot.environment = QStringLiteral("production");
    snapshot.commitOID = QStringLiteral("0123456789abcdef0123456789abcdef01234567");
    snapshot.state = state;
    snapshot.createdAt = updatedAt;
    snapshot.updatedAt = updatedAt;
    return snapshot;
}

/// Replaces the deployment by a copy that `edit` has changed.
template <typename Edit>
void change(SharedDeployment &deployment, const Edit &edit)
{
    DeploymentSnapshot changed = deployment;
    edit(changed);
    deployment = changed;
}

} // namespace velmora::testing
