// SPDX-License-Identifier: MIT
#pragma once

#include "github/repository_record.h"
#include "installations/installation_record.h"

#include <QSet>

#include <functional>

namespace velmora
{

class Preferences;

/// What the user has switched off, as it is kept in the preferences: installations by their key, repositories by their
/// node id. A missing or malformed list is empty.
class SwitchedOff
{
public:
    /// Whether a stored choice stays that belongs to none of the records.
    using Staying = std::function<bool(const QString &id)>;

    /// `preferences` is not owned.
    explicit SwitchedOff(Preferences *preferences);

    /// Whether the preference is one of those in which choices are kept.
    [[nodiscard]] static bool isPreference(const QString &key);

    [[nodiscard]] QSet<QString> installations() const;
    [[nodiscard]] QSet<QString> repositories() const;

    /// Stores the choices of the records in their order, and behind them whatever stays of what was stored before.
    void saveInstallations(const QList<InstallationRecord> &records, const Staying &stays);
    void saveRepositories(const QList<RepositoryRecord> &records, const Staying &stays);

private:
    Preferences *m_preferences;
};

} // namespace velmora
