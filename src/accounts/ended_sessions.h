// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_credential.h"

#include <QStringList>

namespace velmora
{

class Preferences;

/// Which credentials GitHub has refused for good, so that nothing is tried with them any more, here, in
/// other processes and after a restart. An account whose credential is another one is never meant.
///
/// Of a refused credential the preferences keep a few bytes of a hash, from which no token can be found.
class EndedSessions
{
public:
    /// `preferences` is not owned.
    explicit EndedSessions(Preferences *preferences);

    /// The preference that names them, a list.
    [[nodiscard]] static QString key();
    /// Whether this credential of the account is among those that the list names.
    [[nodiscard]] static bool isNamed(const QStringList &entries, qint64 accountID, const GitHubCredential &credential);

    /// Whether this credential of the account was refused for good.
    [[nodiscard]] bool contains(qint64 accountID, const GitHubCredential &credential) const;
    void add(qint64 accountID, const GitHubCredential &credential);
    /// Forgets what was refused for the account.
    void remove(qint64 accountID);

private:
    Preferences *m_preferences;
};

} // namespace velmora
