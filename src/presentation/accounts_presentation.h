// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/github_account.h"
#include "installations/installation_record.h"
#include "presentation/tone.h"

#include <QString>

#include <optional>

namespace velmora
{

/// The text and the tone of a session's status in the row of its account.
[[nodiscard]] QString sessionStatusText(GitHubSessionStatus status);
[[nodiscard]] Tone sessionStatusTone(GitHubSessionStatus status);

/// What Velmora knows of the installations of one identity.
struct InstallationKnowledge {
    qsizetype count = 0;
    bool isLoaded = false; ///< GitHub has answered
    std::optional<QString> failure; ///< why loading failed
};

/// What the row of an account shows about its installations.
struct InstallationSummary {
    QString text; ///< empty while nothing is known
    bool offersInstalling = false; ///< there is none, the most common reason for a missing repository

    friend bool operator==(const InstallationSummary &, const InstallationSummary &) = default;
};

[[nodiscard]] InstallationSummary installationSummary(const InstallationKnowledge &knowledge);

/// How many of the records belong to the identity.
[[nodiscard]] qsizetype installationCount(const QList<InstallationRecord> &installations, qint64 identityID);

/// The line below the name of an installation: the kind of account, and whether it is suspended.
[[nodiscard]] QString installationKindText(const GitHubInstallation &installation);

/// What assistive technology reads after the name of an installation: the kind of account, and the login of the
/// identity if another identity sees an installation on an account of the same name.
[[nodiscard]] QString installationDescription(const InstallationRecord &record,
    const QList<InstallationRecord> &installations, const QList<GitHubAccountSession> &sessions);

/// Whether the list of installations is shown at all.
[[nodiscard]] bool showsInstallations(
    const QList<GitHubAccountSession> &sessions, const QList<InstallationRecord> &installations);

} // namespace velmora
