// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_installation.h"

#include <QList>
#include <QString>

namespace velmora
{

/// The key of an installation as seen by one identity: both ids in decimal, joined by a colon.
[[nodiscard]] QString installationKey(qint64 identityID, qint64 installationID);
/// Whether the key belongs to that identity.
[[nodiscard]] bool isKeyOf(qint64 identityID, const QString &key);

/// One installation of the App, as one identity sees it.
struct InstallationRecord {
    qint64 identityID = 0;
    GitHubInstallation installation;
    bool isEnabled = true; ///< whether the user lets Velmora monitor it

    [[nodiscard]] QString id() const { return installationKey(identityID, installation.id); }
    friend bool operator==(const InstallationRecord &, const InstallationRecord &) = default;
};

/// A text that names the accounts on which the App is suspended, and the remedy. Empty if there are none.
[[nodiscard]] QString suspendedText(const QList<InstallationRecord> &installations);

/// The state of loading the installations.
struct InstallationLoadingState {
    enum class Case {
        Disconnected, ///< no connected identity
        Loading, ///< a refresh is under way
        Ready, ///< the last refresh succeeded for every identity
        Stale, ///< the last refresh failed for at least one identity
    };

    Case state = Case::Disconnected;
    /// For Stale: one line for each failed identity.
    QString message;

    friend bool operator==(const InstallationLoadingState &, const InstallationLoadingState &) = default;
};

/// The reason why the installations of one identity are unknown.
struct InstallationFailure {
    qint64 identityID = 0;
    QString login;
    QString description;
    bool isRateLimit = false;

    friend bool operator==(const InstallationFailure &, const InstallationFailure &) = default;
};

} // namespace velmora
