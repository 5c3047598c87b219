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

/// Hands out credentials that are fit for use, renewing those that are about to expire or were refused.
///
/// Knows no list of accounts: it tells by signals what it finds out about one. A renewal that has begun
/// is finished and stored even when this object has gone.
class CredentialRenewal final : public QObject
{
    Q_OBJECT

public:
    /// What a renewal needs. The pointers are not owned and outlive this object.
    struct Services {
        GitHubClient client;
        std::shared_ptr<CredentialStoring> credentialStore;
        CredentialTurns *turns = nullptr;
        EndedSessions *ended = nullptr;
        Clock *clock = nullptr;
    };

    explicit CredentialRenewal(Services services, QObject *parent = nullptr);

    /// See AuthenticationStore::validCredential(), but that reading from the credential store heeds no stop.
    [[nodiscard]] QCoro::Task<GitHubCredential> validCredential(qint64 accountID, std::stop_token stop);

    /// GitHub answered 401 to this access token. Looks at the credential store once: another credential there is
    /// returned, else the refused one is renewed, once; where that does not help either, the session has ended.
    [[nodiscard]] QCoro::Task<GitHubCredential> credentialAfterRefusal(
        qint64 accountID, QString refusedToken, std::stop_token stop);

    /// GitHub accepted this access token.
    void noteAccepted(qint64 accountID, const QString &accessToken);

    /// The account was removed or connected again: nothing is kept for it, and what a renewal under way
    /// brings is neither stored nor told.
    void supersede(qint64 accountID);

    /// Whether a renewal is under way: GitHub may have taken the refresh token, and its answer is not stored yet.
    [[nodiscard]] bool isRenewing() const { return m_renewalsUnderWay > 0; }
    /// Begins no renewal any more: a caller who would need one fails with a CancellationError. One that is
    /// under way is finished.
    void close() { m_isClosed = true; }

Q_SIGNALS:
    /// isRenewing() became false.
    void renewalsFinished();
    /// The credential store has a credential of the account that is fit for use.
    void credentialFound(qint64 accountID);
    /// A renewal began, ended well, or failed in a way that a later try may mend.
    void statusChanged(qint64 accountID, GitHubSessionStatus status);
    /// There is no credential of the account with which anything could be tried: it waits to be connected again.
    void sessionEnded(qint64 accountID);

private:
    /// A credential that GitHub granted and that could not be stored. The one it replaces is dead, so
    /// this is the only place that has a working one.
    struct UnsavedCredential {
        GitHubCredential replaced;
        GitHubCredential fresh;
    };

    /// One renewal of a credential: outlives the callers that wait for it and, once GitHub was asked,
    /// the object that began it.
    struct Renewal {
        QPointer<CredentialRenewal> owner;
        GitHubClient client;
        std::shared_ptr<CredentialStoring> credentialStore;
        std::shared_ptr<CredentialTurn> turn;
        qint64 accountID = 0;
        int era = 0; ///< of the account when it began
        std::optional<GitHubCredential> replaced; ///< present: `credential` replaced it and is not stored yet
        GitHubCredential credential;
        bool wasRefused = false; ///< GitHub answered 401 to `credential`

        [[nodiscard]] bool isSuperseded() const;
        void updateStatus(GitHubSessionStatus status) const;
        /// Tells how it ended; `failure` is null when it ended well.
        void conclude(const GitHubCredential &fresh, const std::exception_ptr &failure) const;
    };

    QCoro::Task<GitHubCredential> storedCredential(qint64 accountID);
    QCoro::Task<GitHubCredential> renewedCredential(
        qint64 accountID, std::optional<QString> refusedToken, std::stop_token stop);
    QCoro::Task<Renewal> preparedRenewal(qint64 accountID);
    void heedRefusal(Renewal &renewal, const QString &refusedToken);
    [[nodiscard]] bool isFitForUse(qint64 accountID, const GitHubCredential &credential) const;
    void endSession(qint64 accountID, const GitHubCredential &credential);
    void heedInterruption(const Renewal &renewal);
    static QCoro::Task<> renew(Renewal renewal, OneShot<GitHubCredential> renewed);
    static QCoro::Task<GitHubCredential> performRenewal(Renewal renewal);
    static QCoro::Task<GitHubCredential> refreshed(Renewal renewal);
    static QCoro::Task<> saveRenewed(Renewal renewal);

    Services m_services;
    QHash<qint64, UnsavedCredential> m_unsavedCredentials;
    QHash<qint64, int> m_eras; ///< how often each account was superseded
    QHash<qint64, QString> m_refusedTokens; ///< by account: the access token that GitHub refused last
    /// By account: the access token that replaced a refused one, until GitHub has accepted it.
    QHash<qint64, QString> m_unprovenTokens;
    int m_renewalsUnderWay = 0;
    bool m_isClosed = false;
};

} // namespace velmora
