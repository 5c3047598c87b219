// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/github_account.h"
#include "installations/installation_record.h"
#include "ui/tones.h"

#include <QString>

#include <optional>

namespace velmora
{

/// What the row of an account says of its session.
[[nodiscard]] QString sessionStatusText(GitHubSessionStatus status);
[[nodiscard]] Tone sessionStatusTone(GitHubSessionStatus status);

/// What is known of the installations of one identity.
struct InstallationKnowledge {
    qsizetype count = 0;
    bool isLoaded = false; ///< GitHub was asked, and answered
    std::optional<QString> failure; ///< why it did not
};

/// What the row of an account says of its installations.
struct InstallationSummary {
    QString text; ///< empty while nothing is known
    bool offersInstalling = false; ///< there is none: the most common reason why a repository is not there

    friend bool operator==(const InstallationSummary &, const InstallationSummary &) = default;
};

[[nodiscard]] InstallationSummary installationSummary(const InstallationKnowledge &knowledge);

/// How many of the installations the identity sees.
[[nodiscard]] qsizetype installationCount(const QList<InstallationRecord> &installations, qint64 identityID);

/// What stands below the name of an installation: the kind of account, and whether it is suspended.
[[nodiscard]] QString installationKindText(const GitHubInstallation &installation);

/// What is read of an installation besides its name: the kind of account and, where several identities see an account
/// of that name, the one that this installation is seen by.
[[nodiscard]] QString installationDescription(const InstallationRecord &record,
    const QList<InstallationRecord> &installations, const QList<GitHubAccountSession> &sessions);

/// Whether the list of installations is shown at all.
[[nodiscard]] bool showsInstallations(
    const QList<GitHubAccountSession> &sessions, const QList<InstallationRecord> &installations);

} // namespace velmora
