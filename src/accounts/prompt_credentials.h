// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_source.h"
#include "support/clock.h"
#include "support/error.h"
#include "support/one_shot.h"

#include <QHash>
#include <QObject>
#include <QSet>

#include <functional>
#include <memory>
#include <optional>

namespace velmora
{

/// The credential of an account has not arrived yet.
class CredentialPendingError final : public Error
{
public:
    [[nodiscard]] QString description() const override;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::CredentialPendingError"; }
    friend bool operator==(const CredentialPendingError &, const CredentialPendingError &) { return true; }
};

/// A source for callers that serve several accounts in turn: a slow account does not delay the others.
///
/// Waits 5 seconds for a credential, then throws CredentialPendingError and keeps waiting in the background. Until that
/// ends, and afterwards until the account is prompt again, it throws without waiting. arrived() announces the outcome,
/// a credential or a failure, and the next call returns or throws it.
class PromptCredentials final : public QObject, public CredentialSource
{
    Q_OBJECT

public:
    /// `clock` is not owned.
    PromptCredentials(std::shared_ptr<CredentialSource> source, Clock *clock);

    [[nodiscard]] QCoro::Task<GitHubCredential> validCredential(qint64 accountID, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<GitHubCredential> credentialAfterRefusal(
        qint64 accountID, QString refusedToken, std::stop_token stop) override;
    void recordAccepted(qint64 accountID, const QString &accessToken) override;
    [[nodiscard]] AsyncMutex requestTurn(qint64 accountID) override { return m_source->requestTurn(accountID); }

    /// Drops the pending or arrived outcome, which is out of date.
    void forget(qint64 accountID);

Q_SIGNALS:
    /// A pending credential, or the failure to get it, has arrived.
    void arrived(qint64 accountID);

private:
    struct Acquisition {
        OneShot<GitHubCredential> arrival;
        bool isDone = false;
        std::optional<GitHubCredential> credential;
        std::exception_ptr failure;
    };
    using Work = std::function<QCoro::Task<GitHubCredential>()>;

    QCoro::Task<GitHubCredential> promptly(qint64 accountID, Work work, std::stop_token stop);
    QCoro::Task<> acquire(
        qint64 accountID, QCoro::Task<GitHubCredential> work, std::shared_ptr<Acquisition> acquisition);

    std::shared_ptr<CredentialSource> m_source;
    Clock *m_clock;
    QHash<qint64, std::shared_ptr<Acquisition>> m_apart; ///< requests that outlast their caller's wait
    QSet<qint64> m_slow; ///< accounts that exceeded the wait the last time
};

} // namespace velmora
