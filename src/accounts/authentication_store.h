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

/// The connected GitHub identities: connects new ones through the device flow, keeps their list in
/// the preferences and their tokens in the credential store, and hands out credentials fit for use.
///
/// Lives on the main thread. Nothing here throws but validCredential(). After the store is gone,
/// whatever it waited for ends by itself. When another process changes the list of accounts in the
/// preferences, this one follows.
class AuthenticationStore final : public QObject
{
    Q_OBJECT

public:
    /// What the store needs of the platform. The pointers are not owned and outlive the store.
    struct Services {
        Preferences *defaults = nullptr;
        Pasteboard *pasteboard = nullptr;
        URLOpener *urlOpener = nullptr;
        Clock *clock = nullptr;
        InstallationPage *installationPage = nullptr; ///< which connecting an account ends on; may be absent
        /// Where the locks are by which several processes take turns in replacing a token.
        CredentialLockPlaces locks;
    };

    /// Restores the accounts: the list at once, as `reconnectRequired`, and the status of each as
    /// soon as the credential store has answered, without asking the person for anything. While the
    /// credential store cannot be read it is tried again quietly.
    AuthenticationStore(GitHubClient client, std::shared_ptr<CredentialStoring> credentialStore, Services services,
        QObject *parent = nullptr);
    ~AuthenticationStore() override;

    /// The accounts by login, in the person's alphabetical order; at most one for an account id.
    [[nodiscard]] const QList<GitHubAccountSession> &sessions() const { return m_sessions; }
    /// How the connection in progress, or the last one, stands.
    [[nodiscard]] GitHubSessionStatus connectionState() const { return m_connection.state(); }
    /// The code to be shown while the person authorises.
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
    /// Whether the credential store has been asked once for every restored account.
    [[nodiscard]] bool isRestored() const { return m_isRestored; }

    /// Starts a connection unless one is running. A new credential is stored before its account is listed.
    void startConnecting() { m_connection.start(); }
    /// Ends the running connection; no message.
    void cancelConnection() { m_connection.cancel(); }
    /// Deletes the credential of the account, which may ask the user to unlock, and then forgets the account. While the
    /// credential cannot be deleted, the account stays: throws AccountRemovalError.
    [[nodiscard]] QCoro::Task<> remove(qint64 accountID);
    /// For a request of the user that needs credentials, before it: where the credential store is locked, asks the user
    /// once to unlock it. Does not fail; a request for which nothing was unlocked ends with the failure that
    /// validCredential() throws.
    [[nodiscard]] QCoro::Task<> unlock();

    /// A credential of the account that is good for at least 300 seconds, refreshed where needed. Of
    /// several callers, here and in other processes, one refreshes and the others find its result.
    /// A new credential is stored before it is returned. Throws missingAccessToken when none is
    /// stored, and whatever the store or the refresh throws.
    ///
    /// Throws missingRefreshToken, and asks GitHub nothing, while the stored credential is one that GitHub has
    /// refused for good.
    ///
    /// A stop ends the waiting at once, with a CancellationError, but not a request for a new token that
    /// is under way: GitHub takes the refresh token with it, and an answer that nobody stores ends the
    /// session. Such a request goes on and its credential is stored for the next caller. Where it cannot
    /// be stored, it is kept in memory, and the next call begins with storing it.
    [[nodiscard]] QCoro::Task<GitHubCredential> validCredential(qint64 accountID, std::stop_token stop = {});

    /// validCredential(), and what follows from a refused token, for AuthorizedRequests. What is asked after the end
    /// of this store is cancelled.
    [[nodiscard]] std::shared_ptr<CredentialSource> credentials() const { return m_credentials; }
    /// credentials(), for callers that serve several accounts in turn: see PromptCredentials.
    [[nodiscard]] std::shared_ptr<CredentialSource> promptCredentials() const { return m_promptCredentials; }

    /// Whether nothing helps the account but connecting it again: it has no credential, or one that GitHub has
    /// refused for good. Its status is `reconnectRequired` then.
    [[nodiscard]] bool hasEnded(qint64 accountID) const { return m_endedAccounts.contains(accountID); }
    /// What the user can do about the account, "Connect octo again."; nothing unless it hasEnded().
    [[nodiscard]] std::optional<QString> advice(qint64 accountID) const;
    /// How the failure of a request in the name of the account is told: its description, and the advice.
    [[nodiscard]] QString explain(qint64 accountID, const std::exception_ptr &failure) const;

    /// Whether a refresh token is on its way to GitHub, or what came for it on its way to the credential store.
    [[nodiscard]] bool isRenewing() const { return m_renewal.isRenewing(); }
    /// For the end of the program: no renewal begins any more, and a validCredential() that would need one
    /// fails with a CancellationError. What is under way is finished.
    void closeRenewals() { m_renewal.close(); }

Q_SIGNALS:
    /// isRenewing() became false.
    void renewalsFinished();
    /// sessions() or hasEnded() changed.
    void sessionsChanged();
    /// The account was connected again, here or by another process and be its record the same, or a credential
    /// that was waited for has arrived: what failed for want of one may be tried at once.
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
    void noteGoodCredential(qint64 accountID);
    void updateStatus(qint64 accountID, GitHubSessionStatus status);
    void endSession(qint64 accountID);
    void setSession(qint64 accountID, GitHubSessionStatus status, bool hasEnded);
    void noteNewCredential(qint64 accountID);
    [[nodiscard]] bool isListed(qint64 accountID) const;
    [[nodiscard]] std::optional<QList<GitHubAccount>> storedAccounts() const;

    std::shared_ptr<CredentialStoring> m_credentialStore;
    Services m_services;
    QList<GitHubAccountSession> m_sessions;
    bool m_isRestored = false;
    bool m_isRestoring = false; ///< restoreStatuses() runs
    QSet<qint64> m_unreadAccounts; ///< listed, but their credentials could not be read yet
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
