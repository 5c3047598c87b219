// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_credential.h"

#include <QStringList>

namespace velmora
{

class Preferences;

/// The credentials that GitHub has finally refused. They are not used any more, in any process and after a restart. A
/// newer credential of the same account is not affected.
///
/// The preferences hold only a few bytes of a hash of each, which reveal no token.
class EndedSessions
{
public:
    /// `preferences` is not owned.
    explicit EndedSessions(Preferences *preferences);

    /// The preference that holds the list.
    [[nodiscard]] static QString key();
    /// Whether the list contains this credential of the account.
    [[nodiscard]] static bool isNamed(const QStringList &entries, qint64 accountID, const GitHubCredential &credential);

    /// Whether this credential of the account was finally refused.
    [[nodiscard]] bool contains(qint64 accountID, const GitHubCredential &credential) const;
    void add(qint64 accountID, const GitHubCredential &credential);
    /// Forgets the refused credential of the account.
    void remove(qint64 accountID);

private:
    Preferences *m_preferences;
};

} // namespace velmora
