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

/// One deployment as it stood when it was fetched: the record that is shown, cached and compared.
struct DeploymentSnapshot {
    /// GitHub's node identifier of the deployment; opaque.
    QString id;
    /// GitHub's node identifier of the repository; opaque, and of more than one form for one repository.
    QString repositoryNodeID;
    /// Owner and name joined by a slash.
    QString repositoryName;
    /// The web page of the repository.
    WebAddress repositoryURL;
    /// The environment shown to the person.
    QString environment;
    /// The git ref; absent in what the deployments query yields.
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

/// The page that tells most about a deployment, for a click at it wherever it is shown: its log where that is a web
/// address, else the deployments of its repository.
[[nodiscard]] WebAddress detailsURL(const DeploymentSnapshot &deployment);

/// What a deployment's result is remembered and announced under: its id, a colon and its state.
[[nodiscard]] QString resultKey(const DeploymentSnapshot &deployment);

} // namespace velmora

/// Lists of deployments grow by moving their memory as it is.
Q_DECLARE_TYPEINFO(velmora::DeploymentSnapshot, Q_RELOCATABLE_TYPE);
