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

/// Requests of one account. The only class that handles refused tokens.
///
/// When GitHub refuses a token, asks the source for the next one and sends the request again, until the source has no
/// more. Keeps the current token from one request to the next, so that a series of requests uses a new token at once.
/// Each request waits until the running request of the same account, from any sender, has ended.
class AuthorizedRequests
{
public:
    AuthorizedRequests(std::shared_ptr<CredentialSource> source, qint64 accountID, std::stop_token stop)
        : m_source(std::move(source))
        , m_accountID(accountID)
        , m_stop(std::move(stop))
    {
    }

    /// Calls `request` with an access token and returns its result. Throws the errors of the request and the source.
    /// For one request at a time. This object must outlive the request.
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
                m_source->recordAccepted(m_accountID, accessToken);
                co_return std::move(*answer);
            }
            if (!isUnauthorized(failure) || refusals == kMostRefusals)
                std::rethrow_exception(failure);
            const auto next = co_await m_source->credentialAfterRefusal(m_accountID, accessToken, m_stop);
            m_credential = next;
        }
    }

private:
    /// Enough for the current token, a newer stored one and a renewed one. More refusals mean that two processes keep
    /// renewing against each other.
    static constexpr int kMostRefusals = 3;

    std::shared_ptr<CredentialSource> m_source;
    qint64 m_accountID;
    std::stop_token m_stop;
    std::optional<GitHubCredential> m_credential;
};

} // namespace velmora
