// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/login_origin.h"
#include "diagnostics/findings.h"
#include "support/instant.h"

#include <QString>

#include <memory>
#include <optional>

namespace velmora
{

class Preferences;

/// Where a profile is, and whose accounts are asked for. An empty path stands for what has no place.
struct ProfilePlaces {
    QString preferencesFile;
    QString cacheFolder;
    LoginOrigin origin = LoginOrigin::gitHub();
    /// Whose the accounts of earlier versions are, where that is not settled yet; absent when it cannot be told.
    std::optional<LoginOrigin> earlierOwner = LoginOrigin::gitHub();
};

/// What the files of the profile tell.
struct ProfileRecord {
    QList<Finding> findings; ///< about the files
    QList<Finding> choices; ///< what the person has switched off, by number
    QList<qint64> accountIDs; ///< of the origin
    QStringList endedSessions; ///< the list of EndedSessions, of the origin
    std::shared_ptr<Preferences> preferences; ///< of the whole profile, as they were read; absent before
};

/// Reads the files, changes nothing, not even a damaged file, and has no name of a person in its findings. Blocks on
/// the disk; throws nothing.
[[nodiscard]] ProfileRecord readProfile(const ProfilePlaces &places, Instant now);

} // namespace velmora
