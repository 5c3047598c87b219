// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_storing.h"
#include "accounts/github_account.h"
#include "github/github_client.h"
#include "support/async_mutex.h"
#include "support/task_scope.h"

#include <QHash>
#include <QLockFile>
#include <QObject>
#include <QPointer>
#include <QSet>

#include <memory>
#include <optional>

namespace velmora
{

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
        WebAddress installationURL; ///< where the App is installed on an account
        /// Folder of the locks by which several processes take turns in refreshing a token.
        QString lockFolder;
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
    [[nodiscard]] GitHubSessionStatus connectionState() const { return m_connectionState; }
    /// The code to be shown while the person authorises.
    [[nodiscard]] const std::optional<DeviceAuthorization> &pendingAuthorization() const
    {
        return m_pendingAuthorization;
    }
    /// Why the last connection failed.
    [[nodiscard]] const std::optional<QString> &errorMessage() const { return m_errorMessage; }
    /// Whether the code of the pending authorisation is on the clipboard.
    [[nodiscard]] bool isCodeCopied() const { return m_isCodeCopied; }
    /// The account that the last successful connection added or renewed.
    [[nodiscard]] std::optional<GitHubAccount> lastConnectedAccount() const { return m_lastConnectedAccount; }
    /// Whether the credential store has been asked once for every restored account.
    [[nodiscard]] bool isRestored() const { return m_isRestored; }

    /// Starts a connection unless one is running. A new credential is stored before its account is listed.
    void startConnecting();
    /// Ends the running connection; no message.
    void cancelConnection();
    /// Forgets the account at once and deletes its credential, which may ask the person to unlock.
    void remove(qint64 accountID);
    /// remove(), awaited to the end of the deletion. A failure to delete is ignored.
    [[nodiscard]] QCoro::Task<> removeAndWait(qint64 accountID);

    /// A credential of the account that is good for at least 300 seconds, refreshed where needed. Of
    /// several callers, here and in other processes, one refreshes and the others find its result.
    /// A new credential is stored before it is returned. Throws missingAccessToken when none is
    /// stored, and whatever the store or the refresh throws.
    ///
    /// A stop ends the waiting at once, with a CancellationError, but not a request for a new token that
    /// is under way: GitHub takes the refresh token with it, and an answer that nobody stores ends the
    /// session. Such a request goes on and its credential is stored for the next caller. Where it cannot
    /// be stored, it is kept in memory, and the next call begins with storing it.
    [[nodiscard]] QCoro::Task<GitHubCredential> validCredential(qint64 accountID, std::stop_token stop = {});

Q_SIGNALS:
    void sessionsChanged();
    /// connectionState, pendingAuthorization or errorMessage changed.
    void connectionChanged();
    /// isRestored became true.
    void restored();

private:
    struct Connection {
        GitHubSessionStatus state;
        std::optional<DeviceAuthorization> pendingAuthorization;
        std::optional<QString> errorMessage;
    };

    /// The right to replace the credential of one account, in this process and among all.
    struct Turn {
        AsyncMutex::Lock lock;
        std::shared_ptr<QLockFile> processLock;

        void release();
    };

    /// A credential that GitHub granted and that could not be stored. The one it replaces is dead, so
    /// this is the only place that has a working one.
    struct UnsavedCredential {
        GitHubCredential replaced;
        GitHubCredential fresh;
    };

    /// One renewal of a credential: outlives the callers that wait for it and, once GitHub was asked,
    /// the store.
    struct Renewal {
        QPointer<AuthenticationStore> owner;
        GitHubClient client;
        std::shared_ptr<CredentialStoring> credentialStore;
        qint64 accountID = 0;
        bool wasListed = false; ///< whether there was a session when it began
        std::optional<GitHubCredential> replaced; ///< present: `credential` replaced it and is not stored yet
        GitHubCredential credential;

        void updateStatus(GitHubSessionStatus status) const;
    };

    QCoro::Task<> connectAccount(std::stop_token stop);
    QCoro::Task<GitHubAccount> authorize(std::stop_token stop);
    void showAuthorization(const DeviceAuthorization &authorization, const std::stop_token &stop);
    void finishConnection(const GitHubAccount &account);
    void failConnection(const std::exception_ptr &failure);

    QCoro::Task<> restoreStatuses(std::stop_token stop);
    QCoro::Task<> readStatuses();
    void restoreAccounts();
    void adoptStoredAccounts();
    void persistAccounts();
    void upsert(const GitHubAccountSession &session);
    void forget(qint64 accountID);
    void updateStatus(GitHubSessionStatus status, qint64 accountID);
    void setConnection(const Connection &connection);
    [[nodiscard]] bool isListed(qint64 accountID) const;
    [[nodiscard]] std::optional<QList<GitHubAccount>> storedAccounts() const;

    QCoro::Task<Turn> takeTurn(qint64 accountID, std::stop_token stop);
    QCoro::Task<GitHubCredential> storedCredential(qint64 accountID);
    QCoro::Task<GitHubCredential> renewedCredential(qint64 accountID, std::stop_token stop);
    QCoro::Task<Renewal> preparedRenewal(qint64 accountID);
    [[nodiscard]] bool isFitForUse(const GitHubCredential &credential) const;
    static QCoro::Task<> renew(Renewal renewal, Turn turn, OneShot<GitHubCredential> renewed);
    static QCoro::Task<GitHubCredential> performRenewal(Renewal renewal);
    static QCoro::Task<> saveRenewed(Renewal renewal);

    GitHubClient m_client;
    std::shared_ptr<CredentialStoring> m_credentialStore;
    Services m_services;
    QList<GitHubAccountSession> m_sessions;
    GitHubSessionStatus m_connectionState = GitHubSessionStatus::Disconnected;
    std::optional<DeviceAuthorization> m_pendingAuthorization;
    std::optional<QString> m_errorMessage;
    bool m_isCodeCopied = false;
    std::optional<GitHubAccount> m_lastConnectedAccount;
    bool m_isRestored = false;
    bool m_isRestoring = false; ///< restoreStatuses() runs
    std::optional<std::stop_source> m_connectionTask;
    QHash<qint64, AsyncMutex> m_turns;
    QHash<qint64, UnsavedCredential> m_unsavedCredentials;
    QSet<qint64> m_unreadAccounts; ///< listed, but their credentials could not be read yet
    TaskScope m_scope;
};

} // namespace velmora
