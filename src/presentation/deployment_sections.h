// SPDX-License-Identifier: MIT
#pragma once

#include "model/shared_deployment.h"

#include <QList>
#include <QString>

namespace velmora
{

/// The sections of a list of deployments, in their order.
enum class DeploymentSectionKind {
    InProgress,
    Failed,
    Completed,
};

[[nodiscard]] DeploymentSectionKind sectionOf(DeploymentState state);
[[nodiscard]] QString sectionTitle(DeploymentSectionKind kind);

/// The deployments of one section.
struct DeploymentSection {
    QString title;
    DeploymentList deployments;

    friend bool operator==(const DeploymentSection &, const DeploymentSection &) = default;
};

/// Divides the list into "In progress", "Failed" and "Completed" and keeps its order. Empty sections are left out.
[[nodiscard]] QList<DeploymentSection> deploymentSections(const DeploymentList &deployments);

/// The first 7 characters of the commit.
[[nodiscard]] QString shortCommit(const DeploymentSnapshot &deployment);

/// The parts of a deployment's second line: the ref if there is one, the short commit, and the time since its last
/// change.
[[nodiscard]] QStringList deploymentDetails(const DeploymentSnapshot &deployment, Instant now);

} // namespace velmora
