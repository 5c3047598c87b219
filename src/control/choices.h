// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"
#include "installations/installation_record.h"

#include <QList>
#include <QSet>
#include <QStringList>

namespace velmora
{

/// What names on the command line stand for.
struct Choices {
    QSet<QString> ids; ///< the keys of the installations, or the node ids of the repositories
    QString error; ///< why the first name that stands for nothing does so, and what there is; else empty

    friend bool operator==(const Choices &, const Choices &) = default;
};

// The time that either takes grows with the number of names and with that of records, not with both at once.

/// Each key is an installation's key, or the login of its account where only one installation has it.
[[nodiscard]] Choices chooseInstallations(const QStringList &keys, const QList<InstallationRecord> &installations);

/// Each name is "owner/name" in any case of letters, or a node id.
[[nodiscard]] Choices chooseRepositories(const QStringList &names, const QList<RepositoryRecord> &repositories);

} // namespace velmora
