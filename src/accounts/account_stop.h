// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/authentication_store.h"

#include <stop_token>

namespace velmora
{

/// A stop for requests of an account. It is requested when the account is removed, or together with the stop it was
/// made from. The token outlives this object, but is not requested afterwards. Lives on the main thread.
class AccountStop
{
public:
    /// The store is not owned and may be destroyed first.
    AccountStop(const AuthenticationStore *authentication, qint64 accountID, const std::stop_token &stop);
    AccountStop(const AccountStop &) = delete;
    AccountStop &operator=(const AccountStop &) = delete;

    [[nodiscard]] std::stop_token token() const { return m_source.get_token(); }

private:
    struct Forward {
        std::stop_source source;
        void operator()() { source.request_stop(); }
    };

    std::stop_source m_source;
    QObject m_context; ///< its end disconnects from the store
    std::stop_callback<Forward> m_forward;
};

} // namespace velmora
