// SPDX-License-Identifier: MIT
#pragma once

#include "diagnostics/findings.h"
#include "support/instant.h"

#include <QString>

namespace velmora
{

/// What the files of the profile tell.
struct ProfileRecord {
    QList<Finding> findings; ///< about the files
    QList<Finding> choices; ///< what the person has switched off, by number
    QList<qint64> accountIDs;
};

/// Reads the files, changes nothing, not even a damaged file, and holds no name of a person. Blocks on the disk; throws
/// nothing. An empty path stands for a file that has no place.
[[nodiscard]] ProfileRecord readProfile(const QString &preferencesPath, const QString &cachePath, Instant now);

} // namespace velmora
