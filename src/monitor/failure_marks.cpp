// SPDX-License-Identifier: MIT
#include "monitor/failure_marks.h"

#include <QHash>

#include <algorithm>
#include <utility>

namespace velmora
{

namespace
{

/// What deployments replace each other in: the node id of the repository, and the environment.
using Place = std::pair<QString, QString>;

Place placeOf(const DeploymentSnapshot &deployment)
{
    return {deployment.repositoryNodeID, deployment.environment};
}

bool isMended(const DeploymentSnapshot &failure, const DeploymentSnapshot &success)
{
    return success.createdAt > failure.createdAt && success.updatedAt >= failure.updatedAt;
}

/// The failures of a list.
struct Failures {
    QHash<Place, DeploymentList> byPlace;
    QHash<QString, Instant> updatedAt; ///< by id
    Instant oldest = Instant::max();

    explicit Failures(const DeploymentList &deployments)
    {
        for (const SharedDeployment &deployment : deployments) {
            if (!isFailure(deployment.state()))
                continue;
            byPlace[placeOf(deployment)].append(deployment);
            updatedAt.insert(deployment->id, deployment.updatedAt());
            oldest = std::min(oldest, deployment.updatedAt());
        }
    }
};

/// What was mended before and has neither failed again nor was mended by what has failed since.
FailureMarks stillMended(const FailureMarks &before, const Failures &failures)
{
    FailureMarks marks;
    for (auto mark = before.begin(); mark != before.end(); ++mark) {
        if (!mark->mending)
            continue;
        const auto failure = failures.updatedAt.constFind(mark.key());
        const bool isListed = failure != failures.updatedAt.constEnd();
        if (isListed && mark->mending->at >= *failure && !failures.updatedAt.contains(mark->mending->by))
            marks[mark.key()].mending = mark->mending;
    }
    return marks;
}

void markMended(const DeploymentList &deployments, const Failures &failures, FailureMarks &marks)
{
    for (const SharedDeployment &deployment : deployments) {
        if (deployment.state() != DeploymentState::Success || deployment.updatedAt() < failures.oldest)
            continue;
        const DeploymentList sharing = failures.byPlace.value(placeOf(deployment));
        for (const DeploymentSnapshot &failure : sharing) {
            if (!isMended(failure, deployment))
                continue;
            std::optional<Mending> &mending = marks[failure.id].mending;
            if (!mending || deployment.updatedAt() < mending->at)
                mending = Mending{deployment->id, deployment.updatedAt()};
        }
    }
}

void markDismissed(const Failures &failures, const QSet<QString> &dismissed, FailureMarks &marks)
{
    if (dismissed.isEmpty())
        return;
    for (const DeploymentList &sharing : failures.byPlace) {
        for (const DeploymentSnapshot &failure : sharing) {
            if (dismissed.contains(resultKey(failure)))
                marks[failure.id].isDismissed = true;
        }
    }
}

} // namespace

FailureMarks failureMarks(const DeploymentList &deployments, const FailureMarks &before, const FailureChoices &choices)
{
    const Failures failures(deployments);
    if (failures.byPlace.isEmpty())
        return {};
    FailureMarks marks = stillMended(before, failures);
    markMended(deployments, failures, marks);
    markDismissed(failures, choices.dismissed, marks);
    for (FailureMark &mark : marks)
        mark.isCounted = !mark.isDismissed && !(mark.mending && choices.ignoresMended);
    return marks;
}

MarkedDeployments marked(const DeploymentList &part, const FailureMarks &marks, const DeploymentList &others)
{
    MarkedDeployments result{part, part.isEmpty() ? FailureMarks() : marks};
    if (result.marks.isEmpty())
        return result;
    for (const SharedDeployment &other : others) {
        if (isFailure(other.state()))
            result.marks.remove(other->id);
    }
    return result;
}

qsizetype uncounted(const FailureMarks &marks)
{
    return std::ranges::count(marks, false, &FailureMark::isCounted);
}

} // namespace velmora
