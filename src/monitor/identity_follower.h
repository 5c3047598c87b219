// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QSet>

namespace velmora
{

class AuthenticationStore;

/// Tells which identities come and go, and which have a credential again.
class IdentityFollower final : public QObject
{
    Q_OBJECT

public:
    explicit IdentityFollower(QObject *parent = nullptr);

    /// From now on compares the sessions whenever they change. Call it once; the store is not owned and outlives the
    /// follower.
    void follow(const AuthenticationStore *authentication);

Q_SIGNALS:
    // When several are emitted for one change, then in this order.

    /// The session of the identity has become connected: its keyring was unlocked, or the account connected anew.
    void reconnected(qint64 identityID);
    /// One or more identities are listed no longer.
    void left();
    /// One or more identities are listed that were not.
    void joined();

private:
    void onSessionsChanged();

    const AuthenticationStore *m_authentication = nullptr;
    QSet<qint64> m_listed; ///< when the sessions last changed
    QSet<qint64> m_connected; ///< when the sessions last changed; empty before the first change
};

} // namespace velmora
