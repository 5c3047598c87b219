// SPDX-License-Identifier: MIT
#include "presentation/deployment_sections.h"

#include "presentation/relative_time.h"

#include <array>

namespace velmora
{

DeploymentSectionKind sectionOf(DeploymentState state)
{
    if (isActive(state))
        return DeploymentSectionKind::InProgress;
    return isFailure(state) ? DeploymentSectionKind::Failed : DeploymentSectionKind::Completed;
}

QString sectionTitle(DeploymentSectionKind kind)
{
    switch (kind) {
    case DeploymentSectionKind::InProgress:
        return QStringLiteral("In progress");
    case DeploymentSectionKind::Failed:
        return QStringLiteral("Failed");
    case DeploymentSectionKind::Completed:
        return QStringLiteral("Completed");
    case DeploymentSectionKind::Hidden:
        return QStringLiteral("Hidden");
    }
    Q_UNREACHABLE();
}

QList<DeploymentSection> deploymentSections(const DeploymentList &deployments, const FailureMarks &marks)
{
    using enum DeploymentSectionKind;
    std::array sections{DeploymentSection{sectionTitle(InProgress), {}},
        DeploymentSection{sectionTitle(Failed), {}, -uncounted(marks)}, DeploymentSection{sectionTitle(Completed), {}}};
    for (const auto &deployment : deployments) {
        DeploymentSection &section = sections.at(static_cast<std::size_t>(sectionOf(deployment.state())));
        section.deployments.append(deployment);
        ++section.count;
    }
    QList<DeploymentSection> result;
    for (const auto &section : sections) {
        if (!section.deployments.isEmpty())
            result.append(section);
    }
    return result;
}

QString hiddenText(qsizetype count)
{
    return QStringLiteral("%1 hidden by your choices").arg(count);
}

QString hiddenActionText(bool areShown)
{
    return areShown ? QStringLiteral("Hide again") : QStringLiteral("Show");
}

QString shortCommit(const DeploymentSnapshot &deployment)
{
    return deployment.commitOID.left(7);
}

QStringList revisionDetails(const DeploymentSnapshot &deployment)
{
    QStringList details;
    if (deployment.refName)
        details.append(*deployment.refName);
    details.append(shortCommit(deployment));
    return details;
}

QString elapsedText(const DeploymentSnapshot &deployment, Instant now)
{
    return isActive(deployment.state) ? elapsedTime(deployment.createdAt, now) : QString();
}

QStringList markDetails(const FailureMark &mark, Instant now)
{
    QStringList details;
    if (mark.mending)
        details.append(QStringLiteral("mended ") + relativeTime(mark.mending->at, now));
    if (mark.isDismissed)
        details.append(QStringLiteral("dismissed"));
    return details;
}

QStringList deploymentDetails(const DeploymentSnapshot &deployment, Instant now, const FailureMark &mark)
{
    QStringList details = revisionDetails(deployment);
    if (const QString elapsed = elapsedText(deployment, now); !elapsed.isEmpty())
        details.append(elapsed);
    details.append(relativeTime(deployment.updatedAt, now));
    return details + markDetails(mark, now);
}

Instant nextDetailsChange(const DeploymentSnapshot &deployment, Instant now, const FailureMark &mark)
{
    Instant next = nextRelativeTimeChange(deployment.updatedAt, now);
    if (isActive(deployment.state))
        next = std::min(next, nextRelativeTimeChange(deployment.createdAt, now));
    if (mark.mending)
        next = std::min(next, nextRelativeTimeChange(mark.mending->at, now));
    return next;
}

} // namespace velmora
