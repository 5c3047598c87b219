// SPDX-License-Identifier: MIT
#include "accounts/account_stop.h"

#include <algorithm>

namespace velmora
{

AccountStop::AccountStop(const AuthenticationStore *authentication, qint64 accountID, const std::stop_token &stop)
    : m_forward(stop, Forward{m_source})
{
    auto stopIfRemoved = [source = m_source, authentication, accountID]() mutable {
        const auto &sessions = authentication->sessions();
        if (std::ranges::find(sessions, accountID, &GitHubAccountSession::id) == sessions.end())
            source.request_stop();
    };
    stopIfRemoved();
    QObject::connect(authentication, &AuthenticationStore::sessionsChanged, &m_context, stopIfRemoved);
}

} // namespace velmora
