// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_source.h"
#include "github/github_client_error.h"

#include <QCoroTask>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

namespace velmora
{

/// Requests in the name of one account: the one place that knows what follows from a refused token.
///
/// A token that GitHub refuses is given up for the next one of the source, and the request is sent again, until the
/// source has none. The token in use is kept from one request to the next, so that a series goes on with a new one.
/// A request waits for the one of the same account that is under way, whoever has sent that.
class AuthorizedRequests
{
public:
    AuthorizedRequests(std::shared_ptr<CredentialSource> source, qint64 accountID, std::stop_token stop)
        : m_source(std::move(source))
        , m_accountID(accountID)
        , m_stop(std::move(stop))
    {
    }

    /// Calls `request` with an access token and returns its answer. Throws what the request or the source throws.
    /// One request at a time; this object lives until it has ended.
    template <typename T>
    [[nodiscard]] QCoro::Task<T> send(std::function<QCoro::Task<T>(QString)> request)
    {
        if (!m_credential) {
            const auto credential = co_await m_source->validCredential(m_accountID, m_stop);
            m_credential = credential;
        }
        for (int refusals = 0;; ++refusals) {
            const QString accessToken = m_credential->accessToken;
            std::optional<T> answer;
            std::exception_ptr failure;
            try {
                const AsyncMutex turn = m_source->requestTurn(m_accountID);
                const auto held = co_await turn.lock(m_stop);
                auto value = co_await request(accessToken);
                answer.emplace(std::move(value));
            } catch (...) {
                failure = std::current_exception();
            }
            if (answer) {
                m_source->noteAccepted(m_accountID, accessToken);
                co_return std::move(*answer);
            }
            if (!isUnauthorized(failure) || refusals == kMostRefusals)
                std::rethrow_exception(failure);
            const auto next = co_await m_source->credentialAfterRefusal(m_accountID, accessToken, m_stop);
            m_credential = next;
        }
    }

private:
    /// The token in hand, a newer one of the store, a renewed one; more would be a fight between two renewers.
    static constexpr int kMostRefusals = 3;

    std::shared_ptr<CredentialSource> m_source;
    qint64 m_accountID;
    std::stop_token m_stop;
    std::optional<GitHubCredential> m_credential;
};

} // namespace velmora
