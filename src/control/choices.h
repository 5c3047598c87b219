// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"
#include "installations/installation_record.h"
#include "model/shared_deployment.h"
#include "monitor/environments.h"

#include <QList>
#include <QSet>
#include <QStringList>

namespace velmora
{

/// The records that names on the command line refer to.
struct Choices {
    QSet<QString> ids; ///< the keys of the installations, or the node ids of the repositories or deployments
    QString error; ///< why the first unknown or ambiguous name was refused, with the known names; empty on success

    friend bool operator==(const Choices &, const Choices &) = default;
};

// All take time proportional to the number of names plus that of records.

/// A key is that of an installation, or the login of its account if only one installation is on that account.
[[nodiscard]] Choices chooseInstallations(const QStringList &keys, const QList<InstallationRecord> &installations);

/// A name is "owner/name", ignoring case, or a node id.
[[nodiscard]] Choices chooseRepositories(const QStringList &names, const QList<RepositoryRecord> &repositories);

/// A name is "owner/name" or "owner/name:environment", ignoring case, for all failures there, or the id of one.
[[nodiscard]] Choices chooseFailures(const QStringList &names, const DeploymentList &failures);

/// The choices about environments that a request names.
struct NamedEnvironments {
    QList<EnvironmentRule> rules;
    QString error; ///< why the first of them was refused; empty on success
};

/// A target is the name of an environment, a pattern with `*`, or owner/name:environment, where the repository must
/// have had a deployment in the last 30 days.
[[nodiscard]] NamedEnvironments chooseEnvironments(
    const QStringList &targets, EnvironmentChoice choice, const Environments &environments);

} // namespace velmora
