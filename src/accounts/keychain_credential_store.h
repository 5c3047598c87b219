// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_storing.h"

#include <QString>

#include <chrono>
#include <memory>

namespace velmora
{

class SecretServiceConnection;
struct SecretOperation;

/// Keeps credentials in the Secret Service of the desktop, and nowhere else: one item for each account, with the
/// attributes "service" and "account" (the id in decimal). The secret is the credential as one line of JSON.
///
/// Needs an event loop on top of GLib's (no QT_NO_GLIB). Running operations continue normally after the store is
/// destroyed.
class KeychainCredentialStore final : public CredentialStoring
{
public:
    /// `patience`: the longest time for an answer of the provider that needs no user. After it an operation fails with
    /// NotAnswering, unless it waits for the user.
    explicit KeychainCredentialStore(QString service, std::chrono::milliseconds patience = std::chrono::seconds(10));
    ~KeychainCredentialStore() override;

    [[nodiscard]] QCoro::Task<> prepareToSave() override;
    [[nodiscard]] QCoro::Task<> unlock(QList<qint64> accountIDs) override;
    [[nodiscard]] QCoro::Task<> save(GitHubCredential credential, qint64 accountID, Interaction interaction) override;
    [[nodiscard]] QCoro::Task<std::optional<GitHubCredential>> load(qint64 accountID) override;
    [[nodiscard]] QCoro::Task<> remove(qint64 accountID, Interaction interaction) override;

private:
    [[nodiscard]] SecretOperation operation(qint64 accountID, Interaction interaction) const;

    QString m_service;
    std::shared_ptr<SecretServiceConnection> m_connection;
};

} // namespace velmora
