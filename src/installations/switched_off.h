// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"
#include "installations/installation_record.h"

#include <QSet>

#include <functional>

namespace velmora
{

class Preferences;

/// The installations (by key) and repositories (by node id) that the user has switched off, as stored in the
/// preferences. A missing or malformed list counts as empty.
class SwitchedOff
{
public:
    /// Whether to keep a stored choice without a record.
    using Staying = std::function<bool(const QString &id)>;

    /// `preferences` is not owned.
    explicit SwitchedOff(Preferences *preferences);

    /// Whether the preference holds such choices.
    [[nodiscard]] static bool isPreference(const QString &key);

    [[nodiscard]] QSet<QString> installations() const;
    [[nodiscard]] QSet<QString> repositories() const;

    /// Stores the choices of the records in their order, followed by the stored choices that stay.
    void saveInstallations(const QList<InstallationRecord> &records, const Staying &stays);
    void saveRepositories(const QList<RepositoryRecord> &records, const Staying &stays);

private:
    Preferences *m_preferences;
};

} // namespace velmora
