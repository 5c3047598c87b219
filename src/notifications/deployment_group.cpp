// SPDX-License-Identifier: MIT
#include "notifications/deployment_group.h"

namespace velmora
{

namespace
{

constexpr qsizetype kNamedRepositories = 3;

/// Follows the number.
QString outcome(DeploymentNotificationKind kind)
{
    switch (kind) {
    case DeploymentNotificationKind::Failure:
        return QStringLiteral(" deployments failed");
    case DeploymentNotificationKind::Success:
        return QStringLiteral(" deployments succeeded");
    case DeploymentNotificationKind::Waiting:
        return QStringLiteral(" deployments wait for approval");
    }
    Q_UNREACHABLE();
}

} // namespace

void DeploymentGroup::add(const DeploymentSnapshot &result)
{
    if (++m_count == 1)
        m_firstKey = resultKey(result);
    if (m_names.size() < kNamedRepositories && !m_names.contains(result.repositoryName))
        m_names.append(result.repositoryName);
}

DeploymentNotification DeploymentGroup::notification() const
{
    const qsizetype others = m_count - m_names.size();
    QString body = m_names.join(QStringLiteral(", "));
    if (others > 0)
        body += QStringLiteral(" and %1 more").arg(others);
    return DeploymentNotification{
        .title = QString::number(m_count) + outcome(m_kind),
        .subtitle = {},
        .body = body,
        .url = {},
        .identifier = QStringLiteral("group:") + m_firstKey,
    };
}

DeploymentNotification deploymentNotification(const DeploymentList &deployments, DeploymentNotificationKind kind)
{
    if (deployments.size() == 1)
        return deploymentNotification(deployments.constFirst(), kind);
    DeploymentGroup group(kind);
    for (const DeploymentSnapshot &deployment : deployments)
        group.add(deployment);
    return group.notification();
}

} // namespace velmora
