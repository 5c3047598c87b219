// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_storing.h"
#include "accounts/credential_turns.h"
#include "accounts/github_account.h"
#include "github/github_client.h"
#include "support/task_scope.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace velmora
{

class InstallationPage;
class Pasteboard;
class URLOpener;

/// The device flow in progress, or the last one. Obtains and stores a credential for a new account, or a new credential
/// for a known account. Runs one flow at a time. Does not throw.
class AccountConnection final : public QObject
{
    Q_OBJECT

public:
    /// The dependencies of a connection. The pointers are not owned and outlive it.
    struct Services {
        GitHubClient client;
        std::shared_ptr<CredentialStoring> credentialStore;
        CredentialTurns *turns = nullptr;
        Pasteboard *pasteboard = nullptr; ///< may be absent
        URLOpener *urlOpener = nullptr; ///< may be absent
        InstallationPage *installationPage = nullptr; ///< may be absent
        std::function<bool(qint64)> isListed; ///< whether an account is in the list of accounts
    };

    explicit AccountConnection(Services services, QObject *parent = nullptr);
    ~AccountConnection() override;

    [[nodiscard]] GitHubSessionStatus state() const { return m_progress.state; }
    [[nodiscard]] const std::optional<DeviceAuthorization> &pendingAuthorization() const
    {
        return m_progress.pendingAuthorization;
    }
    [[nodiscard]] const std::optional<QString> &errorMessage() const { return m_progress.errorMessage; }
    [[nodiscard]] bool isCodeCopied() const { return m_isCodeCopied; }
    [[nodiscard]] std::optional<GitHubAccount> lastConnectedAccount() const { return m_lastConnectedAccount; }

    /// Starts a connection unless one is running.
    void start();
    /// Ends the running connection without a message.
    void cancel();

Q_SIGNALS:
    /// The credential of the account is stored. Emitted while the turn to replace it is held, and before state()
    /// becomes `connected`.
    void accountConnected(const GitHubAccount &account);
    /// state(), pendingAuthorization() or errorMessage() changed.
    void changed();

private:
    struct Progress {
        GitHubSessionStatus state = GitHubSessionStatus::Disconnected;
        std::optional<DeviceAuthorization> pendingAuthorization;
        std::optional<QString> errorMessage;
        friend bool operator==(const Progress &, const Progress &) = default;
    };

    QCoro::Task<> connectAccount(std::stop_token stop);
    QCoro::Task<GitHubAccount> authorize(std::stop_token stop);
    void showAuthorization(const DeviceAuthorization &authorization, const std::stop_token &stop);
    void finish(const GitHubAccount &account);
    void fail(const std::exception_ptr &failure);
    void setProgress(const Progress &progress);

    Services m_services;
    Progress m_progress;
    bool m_isCodeCopied = false;
    std::optional<GitHubAccount> m_lastConnectedAccount;
    std::optional<std::stop_source> m_running;
    TaskScope m_scope;
};

} // namespace velmora
