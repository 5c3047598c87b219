// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"
#include "installations/installation_record.h"

#include <QList>
#include <QStringList>

namespace velmora
{

/// What a name on the command line stands for.
struct Choice {
    QString id; ///< the key of the installation, or the node id of the repository
    QString error; ///< why it stands for nothing, and what there is; else empty

    friend bool operator==(const Choice &, const Choice &) = default;
};

/// Each key is an installation's key, or the login of its account where only one installation has it.
[[nodiscard]] QList<Choice> chooseInstallations(
    const QStringList &keys, const QList<InstallationRecord> &installations);

/// Each name is "owner/name" in any case of letters, or a node id.
[[nodiscard]] QList<Choice> chooseRepositories(const QStringList &names, const QList<RepositoryRecord> &repositories);

} // namespace velmora
