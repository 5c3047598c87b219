// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"

#include <QList>
#include <QString>

namespace velmora
{

/// The titles under which deployments are shown, in their order.
enum class DeploymentSectionKind {
    InProgress,
    Failed,
    Completed,
};

[[nodiscard]] DeploymentSectionKind sectionOf(DeploymentState state);
[[nodiscard]] QString sectionTitle(DeploymentSectionKind kind);

/// Deployments that are shown under one title.
struct DeploymentSection {
    QString title;
    QList<DeploymentSnapshot> deployments;

    friend bool operator==(const DeploymentSection &, const DeploymentSection &) = default;
};

/// The list cut into "In progress", "Failed" and "Completed", each in the order of the list. A section
/// without deployments is left out.
[[nodiscard]] QList<DeploymentSection> deploymentSections(const QList<DeploymentSnapshot> &deployments);

/// The first 7 characters of the commit.
[[nodiscard]] QString shortCommit(const DeploymentSnapshot &deployment);

/// What the second line of a deployment says: the ref when there is one, the short commit and how long ago
/// the deployment changed.
[[nodiscard]] QStringList deploymentDetails(const DeploymentSnapshot &deployment, Instant now);

} // namespace velmora
