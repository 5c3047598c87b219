// SPDX-License-Identifier: MIT
#pragma once

#include "model/shared_deployment.h"
#include "monitor/failure_marks.h"

#include <QList>
#include <QString>

namespace velmora
{

/// The sections of a list of deployments, in their order.
enum class DeploymentSectionKind {
    InProgress,
    Failed,
    Completed,
    Hidden, ///< by the user's choices, in whatever state
};

/// The section of what is not hidden.
[[nodiscard]] DeploymentSectionKind sectionOf(DeploymentState state);
[[nodiscard]] QString sectionTitle(DeploymentSectionKind kind);

/// The deployments of one section.
struct DeploymentSection {
    QString title;
    DeploymentList deployments;
    qsizetype count = 0; ///< of the deployments that count

    friend bool operator==(const DeploymentSection &, const DeploymentSection &) = default;
};

/// Divides the list into "In progress", "Failed" and "Completed" and keeps its order. Empty sections are left out.
[[nodiscard]] QList<DeploymentSection> deploymentSections(
    const DeploymentList &deployments, const FailureMarks &marks = {});

/// "12 hidden by your choices".
[[nodiscard]] QString hiddenText(qsizetype count);
/// What a click on that text does: shows them, or hides them again.
[[nodiscard]] QString hiddenActionText(bool areShown);

/// The first 7 characters of the commit.
[[nodiscard]] QString shortCommit(const DeploymentSnapshot &deployment);

/// The ref if there is one, and the short commit.
[[nodiscard]] QStringList revisionDetails(const DeploymentSnapshot &deployment);

/// For how long the deployment has been under way, "for 3 minutes". Empty in its first second, and for a result.
[[nodiscard]] QString elapsedText(const DeploymentSnapshot &deployment, Instant now);

/// What the mark of a failure says, "mended 20 minutes ago" and "dismissed". Empty if it says nothing.
[[nodiscard]] QStringList markDetails(const FailureMark &mark, Instant now);

/// The parts of a deployment's second line: the revision, for how long it has been under way if it is, the time since
/// its last change, and markDetails().
[[nodiscard]] QStringList deploymentDetails(
    const DeploymentSnapshot &deployment, Instant now, const FailureMark &mark = {});

/// An instant after `now`, until which deploymentDetails() and elapsedText() stay the same.
[[nodiscard]] Instant nextDetailsChange(
    const DeploymentSnapshot &deployment, Instant now, const FailureMark &mark = {});

} // namespace velmora
