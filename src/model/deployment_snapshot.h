// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_state.h"
#include "support/instant.h"
#include "support/web_address.h"

#include <QList>
#include <QString>

#include <optional>

namespace velmora
{

/// One deployment at the time of its fetch: the record that is shown, cached and compared.
struct DeploymentSnapshot {
    /// GitHub's node identifier of the deployment; opaque.
    QString id;
    /// GitHub's node identifier of the repository; opaque. GitHub has several forms of it for one repository.
    QString repositoryNodeID;
    /// Owner and name joined by a slash.
    QString repositoryName;
    /// The web page of the repository.
    WebAddress repositoryURL;
    /// The environment as shown to the user.
    QString environment;
    /// The git ref. The deployments query does not fetch it.
    std::optional<QString> refName;
    QString commitOID;
    std::optional<QString> creatorLogin;
    DeploymentState state = DeploymentState::Unknown;
    Instant createdAt;
    /// When the deployment or its latest status last changed.
    Instant updatedAt;
    std::optional<QString> statusDescription;
    std::optional<WebAddress> logURL;
    std::optional<WebAddress> environmentURL;

    friend bool operator==(const DeploymentSnapshot &, const DeploymentSnapshot &) = default;
};

/// Whether the deployment has a log that a browser can open.
[[nodiscard]] bool hasLogPage(const DeploymentSnapshot &deployment);

/// The most detailed page about a deployment, opened by a click on it: its log if that is a web address, else the list
/// of deployments of its repository.
[[nodiscard]] WebAddress detailsURL(const DeploymentSnapshot &deployment);

/// The key under which a deployment's result is remembered and announced: its id, a colon and its state.
[[nodiscard]] QString resultKey(const DeploymentSnapshot &deployment);

} // namespace velmora

/// Lets lists of deployments grow by copying raw memory.
Q_DECLARE_TYPEINFO(velmora::DeploymentSnapshot, Q_RELOCATABLE_TYPE);
