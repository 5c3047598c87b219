// SPDX-License-Identifier: MIT
#include "monitor/identity_follower.h"

#include "accounts/authentication_store.h"
#include "monitor/refresh_context.h"

#include <utility>

namespace velmora
{

namespace
{

QSet<qint64> connectedIdentities(const AuthenticationStore &authentication)
{
    QSet<qint64> connected;
    for (const auto &session : authentication.sessions()) {
        if (session.status == GitHubSessionStatus::Connected)
            connected.insert(session.id());
    }
    return connected;
}

} // namespace

IdentityFollower::IdentityFollower(QObject *parent)
    : QObject(parent)
{
}

void IdentityFollower::follow(const AuthenticationStore *authentication)
{
    m_authentication = authentication;
    m_listed = listedIdentities(*authentication);
    connect(authentication, &AuthenticationStore::sessionsChanged, this, &IdentityFollower::onSessionsChanged);
}

void IdentityFollower::onSessionsChanged()
{
    const auto connected = connectedIdentities(*m_authentication);
    const auto listed = listedIdentities(*m_authentication);
    const auto newlyConnected = connected - std::exchange(m_connected, connected);
    const auto before = std::exchange(m_listed, listed);
    for (const auto identityID : newlyConnected)
        Q_EMIT reconnected(identityID);
    if (!listed.contains(before))
        Q_EMIT left();
    if (!before.contains(listed))
        Q_EMIT joined();
}

} // namespace velmora
