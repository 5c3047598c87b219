// SPDX-License-Identifier: MIT
#pragma once

#include "model/shared_deployment.h"

#include <QMap>
#include <QSet>
#include <QString>

#include <optional>

namespace velmora
{

/// The success that has mended a failure: of a later deployment to the same environment of the same repository, and
/// after the failure.
struct Mending {
    QString by; ///< the id of the deployment that succeeded
    Instant at; ///< when it did

    friend bool operator==(const Mending &, const Mending &) = default;
};

/// What is known of a failure beside its record.
struct FailureMark {
    std::optional<Mending> mending; ///< the first that is known
    bool isCounted = true; ///< by the item, the bars and the title of its section
    bool isDismissed = false; ///< by the user, in its present state

    friend bool operator==(const FailureMark &, const FailureMark &) = default;
};

/// What the user has chosen about failures.
struct FailureChoices {
    bool ignoresMended = false; ///< what is mended does not count
    QSet<QString> dismissed; ///< by their resultKey(); these do not count either

    friend bool operator==(const FailureChoices &, const FailureChoices &) = default;
};

/// The marks of a list, by the id of the deployment. Failures of which there is nothing to say have none, and neither
/// has anything but a failure.
using FailureMarks = QMap<QString, FailureMark>;

/// The marks of a list that follows one with the marks `before`. A failure stays mended when its mending leaves the
/// list, as it does when the next deployment succeeds. The time that it takes is linear, but for failures and successes
/// that share one environment.
[[nodiscard]] FailureMarks failureMarks(
    const DeploymentList &deployments, const FailureMarks &before, const FailureChoices &choices);

/// Deployments with their marks.
struct MarkedDeployments {
    DeploymentList deployments;
    FailureMarks marks;

    friend bool operator==(const MarkedDeployments &, const MarkedDeployments &) = default;
};

/// The part of a list with these marks that `others` leave, with its own marks.
[[nodiscard]] MarkedDeployments marked(
    const DeploymentList &part, const FailureMarks &marks, const DeploymentList &others);

/// How many failures of the list do not count.
[[nodiscard]] qsizetype uncounted(const FailureMarks &marks);

} // namespace velmora
