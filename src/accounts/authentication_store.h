// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/account_connection.h"
#include "accounts/connection_counts.h"
#include "accounts/credential_renewal.h"
#include "accounts/credential_storing.h"
#include "accounts/credential_turns.h"
#include "accounts/ended_sessions.h"
#include "accounts/github_account.h"
#include "accounts/prompt_credentials.h"
#include "accounts/watched_credentials.h"
#include "github/github_client.h"
#include "support/task_scope.h"

#include <QObject>
#include <QSet>

#include <memory>
#include <optional>

namespace velmora
{

class InstallationPage;
class Pasteboard;
class Preferences;
class URLOpener;

/// The connected GitHub identities: connects new ones through the device flow, keeps their list in the preferences and
/// their tokens in the credential store, and provides valid credentials.
///
/// Lives on the main thread. Only validCredential() and remove() throw. Coroutines that are waiting when the store is
/// destroyed end by themselves. The list follows changes that other processes make in the preferences.
class AuthenticationStore final : public QObject
{
    Q_OBJECT

public:
    /// The dependencies of the store. The pointers are not owned and outlive the store.
    struct Services {
        Preferences *defaults = nullptr;
        Pasteboard *pasteboard = nullptr;
        URLOpener *urlOpener = nullptr;
        Clock *clock = nullptr;
        InstallationPage *installationPage = nullptr; ///< opened after connecting an account; may be absent
        /// Where the processes lock against each other for replacing a token.
        CredentialLockPlaces locks;
    };

    /// Restores the accounts: the list at once, with status `reconnectRequired`, and each status when the credential
    /// store has answered, without asking the user. While the credential store cannot be read, tries again in the
    /// background.
    AuthenticationStore(GitHubClient client, std::shared_ptr<CredentialStoring> credentialStore, Services services,
        QObject *parent = nullptr);
    ~AuthenticationStore() override;

    /// The accounts by login, in the alphabetical order of the user's language. Account ids are unique.
    [[nodiscard]] const QList<GitHubAccountSession> &sessions() const { return m_sessions; }
    /// The state of the connection in progress, or of the last one.
    [[nodiscard]] GitHubSessionStatus connectionState() const { return m_connection.state(); }
    /// The code to show while the user authorises.
    [[nodiscard]] const std::optional<DeviceAuthorization> &pendingAuthorization() const
    {
        return m_connection.pendingAuthorization();
    }
    /// Why the last connection failed.
    [[nodiscard]] const std::optional<QString> &errorMessage() const { return m_connection.errorMessage(); }
    /// Whether the code of the pending authorisation is on the clipboard.
    [[nodiscard]] bool isCodeCopied() const { return m_connection.isCodeCopied(); }
    /// The account that the last successful connection added or renewed.
    [[nodiscard]] std::optional<GitHubAccount> lastConnectedAccount() const
    {
        return m_connection.lastConnectedAccount();
    }
    /// Whether one attempt to read every restored account's credential has ended.
    [[nodiscard]] bool isRestored() const { return m_isRestored; }

    /// Starts a connection unless one is running. A new credential is stored before its account is listed.
    void startConnecting() { m_connection.start(); }
    /// Ends the running connection without a message.
    void cancelConnection() { m_connection.cancel(); }
    /// Deletes the credential of the account, which may ask the user to unlock, and then forgets the account. Throws
    /// AccountRemovalError if the credential cannot be deleted; the account then stays.
    [[nodiscard]] QCoro::Task<> remove(qint64 accountID);
    /// Call it before a request of the user that needs credentials. If the credential store is locked, asks the user
    /// once to unlock it. Does not fail: if it stays locked, validCredential() throws.
    [[nodiscard]] QCoro::Task<> unlock();
    /// Whether the credential of an account could not be used because the credential store is locked: unlock() may
    /// help.
    [[nodiscard]] bool isLocked() const { return m_credentialStore->isLocked(); }
    /// Whether the credential store may be asking the user for a password, in a window of the desktop.
    [[nodiscard]] bool isAsking() const { return m_credentialStore->isAsking(); }

    /// A credential of the account that is valid for at least 300 seconds, refreshed if needed. Of several callers,
    /// here and in other processes, one refreshes and the others get its result. Stores a new credential before
    /// returning it. Throws missingAccessToken if none is stored, and all errors of the store or the refresh.
    ///
    /// Throws missingRefreshToken without a request while the stored credential is one that GitHub has finally refused.
    ///
    /// A stop ends the wait at once, with a CancellationError, but not a running request for a new token: GitHub uses
    /// up the refresh token with it, and losing its response would end the session. The request goes on, and its
    /// credential is stored for the next caller. If it cannot be stored, it is kept in memory, and the next call tries
    /// to store it first.
    [[nodiscard]] QCoro::Task<GitHubCredential> validCredential(qint64 accountID, std::stop_token stop = {});

    /// validCredential(), and the handling of refused tokens, for AuthorizedRequests. Throws CancellationError after
    /// the end of this store.
    [[nodiscard]] std::shared_ptr<CredentialSource> credentials() const { return m_credentials; }
    /// credentials() for callers that serve several accounts in turn: see PromptCredentials.
    [[nodiscard]] std::shared_ptr<CredentialSource> promptCredentials() const { return m_promptCredentials; }

    /// Whether the account must be connected again: it has no credential, or one that GitHub has finally refused. Its
    /// status is then `reconnectRequired`.
    [[nodiscard]] bool hasEnded(qint64 accountID) const { return m_endedAccounts.contains(accountID); }
    /// The advice to the user, "Connect octo again."; nullopt unless hasEnded().
    [[nodiscard]] std::optional<QString> advice(qint64 accountID) const;
    /// The text for a failed request of the account: the description of the failure, and the advice.
    [[nodiscard]] QString explain(qint64 accountID, const std::exception_ptr &failure) const;

    /// Whether a renewal is running: a request with a refresh token, or the storing of its result.
    [[nodiscard]] bool isRenewing() const { return m_renewal.isRenewing(); }
    /// For the end of the program: starts no renewal any more. A validCredential() that would need one fails with a
    /// CancellationError. Running renewals are finished.
    void closeRenewals() { m_renewal.close(); }

Q_SIGNALS:
    /// isRenewing() became false.
    void renewalsFinished();
    /// sessions() or hasEnded() changed.
    void sessionsChanged();
    /// isLocked() changed.
    void lockedChanged();
    /// isAsking() changed.
    void askingChanged();
    /// The account was connected again, here or by another process, even if its record stays equal; or a pending
    /// credential has arrived. Requests that failed without a credential may be sent again at once.
    void credentialChanged(qint64 accountID);
    /// connectionState, pendingAuthorization or errorMessage changed.
    void connectionChanged();
    /// isRestored became true.
    void restored();

private:
    [[nodiscard]] CredentialRenewal::Services renewalServices(const GitHubClient &client);
    [[nodiscard]] AccountConnection::Services connectionServices(const GitHubClient &client);
    QCoro::Task<> restoreStatuses(std::stop_token stop);
    QCoro::Task<> readStatuses();
    void restoreAccounts();
    void readUnreadAccounts();
    void adoptStoredAccounts();
    void adoptConnections();
    void persistAccounts();
    void adoptConnected(const GitHubAccount &account);
    void upsert(const GitHubAccountSession &session);
    void forget(qint64 accountID);
    void recordGoodCredential(qint64 accountID);
    void updateStatus(qint64 accountID, GitHubSessionStatus status);
    void endSession(qint64 accountID);
    void setSession(qint64 accountID, GitHubSessionStatus status, bool hasEnded);
    void recordNewCredential(qint64 accountID);
    [[nodiscard]] bool isListed(qint64 accountID) const;
    [[nodiscard]] std::optional<QList<GitHubAccount>> storedAccounts() const;

    std::shared_ptr<WatchedCredentials> m_credentialStore;
    Services m_services;
    QList<GitHubAccountSession> m_sessions;
    bool m_isRestored = false;
    bool m_isRestoring = false; ///< restoreStatuses() is running
    QSet<qint64> m_unreadAccounts; ///< listed, but their credentials have not been read yet
    QSet<qint64> m_endedAccounts;
    ConnectionCounts m_connectionCounts;
    EndedSessions m_endedSessions;
    CredentialTurns m_turns;
    CredentialRenewal m_renewal;
    AccountConnection m_connection;
    std::shared_ptr<CredentialSource> m_credentials;
    std::shared_ptr<PromptCredentials> m_promptCredentials;
    TaskScope m_scope;
};

} // namespace velmora
