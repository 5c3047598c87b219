// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_installation.h"

#include <QList>
#include <QString>

namespace velmora
{

/// What identifies an installation as seen by one identity: both ids in decimal, joined by a colon.
[[nodiscard]] QString installationKey(qint64 identityID, qint64 installationID);
/// Whether the key is one of that identity.
[[nodiscard]] bool isKeyOf(qint64 identityID, const QString &key);

/// One installation of the App, as one identity sees it.
struct InstallationRecord {
    qint64 identityID = 0;
    GitHubInstallation installation;
    bool isEnabled = true; ///< whether the person lets Velmora monitor it

    [[nodiscard]] QString id() const { return installationKey(identityID, installation.id); }
    friend bool operator==(const InstallationRecord &, const InstallationRecord &) = default;
};

/// Names the accounts on which the App is suspended, and says what follows; empty when it is on none.
[[nodiscard]] QString suspendedText(const QList<InstallationRecord> &installations);

/// How the installations stand.
struct InstallationLoadingState {
    enum class Case {
        Disconnected, ///< no connected identity
        Loading, ///< a refresh is under way
        Ready, ///< the last refresh succeeded for every identity
        Stale, ///< it failed for at least one
    };

    Case state = Case::Disconnected;
    /// Of Stale: a line for each identity that failed.
    QString message;

    friend bool operator==(const InstallationLoadingState &, const InstallationLoadingState &) = default;
};

/// Why the installations of one identity are not known.
struct InstallationFailure {
    qint64 identityID = 0;
    QString login;
    QString description;
    bool isRateLimit = false;

    friend bool operator==(const InstallationFailure &, const InstallationFailure &) = default;
};

} // namespace velmora
