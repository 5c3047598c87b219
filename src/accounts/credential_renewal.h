// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_storing.h"
#include "accounts/credential_turns.h"
#include "accounts/ended_sessions.h"
#include "accounts/github_account.h"
#include "github/github_client.h"
#include "support/one_shot.h"

#include <QHash>
#include <QObject>
#include <QPointer>

#include <memory>
#include <optional>

namespace velmora
{

/// Provides valid credentials, and renews those that are about to expire or were refused.
///
/// Does not know the list of accounts; reports its findings about an account by signals. A renewal that has begun is
/// finished and stored even if this object is destroyed.
class CredentialRenewal final : public QObject
{
    Q_OBJECT

public:
    /// The dependencies of a renewal. The pointers are not owned and outlive this object.
    struct Services {
        GitHubClient client;
        std::shared_ptr<CredentialStoring> credentialStore;
        CredentialTurns *turns = nullptr;
        EndedSessions *ended = nullptr;
        Clock *clock = nullptr;
    };

    explicit CredentialRenewal(Services services, QObject *parent = nullptr);

    /// See AuthenticationStore::validCredential(). Unlike there, a stop does not interrupt reading the credential
    /// store.
    [[nodiscard]] QCoro::Task<GitHubCredential> validCredential(qint64 accountID, std::stop_token stop);

    /// Call it when GitHub has answered 401 to this access token. Reads the credential store once. Returns the
    /// credential there if it is another one, else renews the refused one, once. If the renewed one is refused too, the
    /// session has ended.
    [[nodiscard]] QCoro::Task<GitHubCredential> credentialAfterRefusal(
        qint64 accountID, QString refusedToken, std::stop_token stop);

    /// GitHub accepted this access token.
    void recordAccepted(qint64 accountID, const QString &accessToken);

    /// Call it when the account was removed or connected again. Drops all data about it. The result of a running
    /// renewal is neither stored nor announced.
    void supersede(qint64 accountID);

    /// Whether a renewal is running: GitHub may have used up a refresh token whose replacement is not stored yet.
    [[nodiscard]] bool isRenewing() const { return m_renewalsUnderWay > 0; }
    /// Starts no renewal any more: a caller that needs one gets a CancellationError. Running renewals are finished.
    void close() { m_isClosed = true; }

Q_SIGNALS:
    /// isRenewing() became false.
    void renewalsFinished();
    /// The credential store has a valid credential of the account.
    void credentialFound(qint64 accountID);
    /// A renewal began, succeeded, or failed in a way that a later attempt may mend.
    void statusChanged(qint64 accountID, GitHubSessionStatus status);
    /// The account has no usable credential and must be connected again.
    void sessionEnded(qint64 accountID);

private:
    /// A credential that GitHub granted and that could not be stored. The replaced one is invalid, so this is the only
    /// copy of a valid one.
    struct UnsavedCredential {
        GitHubCredential replaced;
        GitHubCredential fresh;
    };

    /// One renewal of a credential. Outlives the callers that wait for it and, once the request is sent, the object
    /// that began it.
    struct Renewal {
        QPointer<CredentialRenewal> owner;
        GitHubClient client;
        std::shared_ptr<CredentialStoring> credentialStore;
        std::shared_ptr<CredentialTurn> turn;
        qint64 accountID = 0;
        int era = 0; ///< the account's era when the renewal began
        std::optional<GitHubCredential> replaced; ///< present: `credential` replaced it and is not stored yet
        GitHubCredential credential;
        bool wasRefused = false; ///< GitHub answered 401 to `credential`

        [[nodiscard]] bool isSuperseded() const;
        void updateStatus(GitHubSessionStatus status) const;
        /// Reports the outcome. `failure` is null after success.
        void conclude(const GitHubCredential &fresh, const std::exception_ptr &failure) const;
    };

    QCoro::Task<GitHubCredential> storedCredential(qint64 accountID);
    QCoro::Task<GitHubCredential> renewedCredential(
        qint64 accountID, std::optional<QString> refusedToken, std::stop_token stop);
    QCoro::Task<Renewal> preparedRenewal(qint64 accountID);
    void applyRefusal(Renewal &renewal, const QString &refusedToken);
    [[nodiscard]] bool isFitForUse(qint64 accountID, const GitHubCredential &credential) const;
    void endSession(qint64 accountID, const GitHubCredential &credential);
    void refuseInterrupted(const Renewal &renewal);
    static QCoro::Task<> renew(Renewal renewal, OneShot<GitHubCredential> renewed);
    static QCoro::Task<GitHubCredential> performRenewal(Renewal renewal);
    static QCoro::Task<GitHubCredential> refreshed(Renewal renewal);
    static QCoro::Task<> saveRenewed(Renewal renewal);

    Services m_services;
    QHash<qint64, UnsavedCredential> m_unsavedCredentials;
    QHash<qint64, int> m_eras; ///< how often each account was superseded
    QHash<qint64, QString> m_refusedTokens; ///< by account: the last access token that GitHub refused
    /// By account: the access token that replaced a refused one, until GitHub has accepted it.
    QHash<qint64, QString> m_unprovenTokens;
    int m_renewalsUnderWay = 0;
    bool m_isClosed = false;
};

} // namespace velmora
