// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/login_origin.h"
#include "diagnostics/probe.h"
#include "support/instant.h"

#include <QString>

#include <memory>
#include <optional>

namespace velmora
{

class Preferences;

/// The files of a profile, and the origin whose accounts are read. A path may be empty if there is no place for it.
struct ProfilePlaces {
    QString preferencesFile;
    QString cacheFolder;
    LoginOrigin origin = LoginOrigin::gitHub();
    /// The origin of the accounts of earlier versions, if that is not decided yet; absent if it cannot be known.
    std::optional<LoginOrigin> earlierOwner = LoginOrigin::gitHub();
};

/// The contents of the files of a profile.
struct ProfileRecord {
    QList<Finding> findings; ///< about the files
    QList<Finding> choices; ///< how many installations and repositories the user has switched off
    QList<qint64> accountIDs; ///< the accounts of the origin
    QStringList endedSessions; ///< the list of EndedSessions of the origin
    std::shared_ptr<Preferences> preferences; ///< a copy of all preferences; null before reading
};

/// Reads the files. Changes nothing, not even damaged files. The findings contain no private names. Blocks on the disk;
/// throws nothing.
[[nodiscard]] ProfileRecord readProfile(const ProfilePlaces &places, Instant now);

} // namespace velmora
