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

/// Credentials in the Secret Service of the desktop: one item for each account, attributes "service" and
/// "account" (the id in decimal), the secret being the credential as one line of JSON. Nowhere else, ever.
///
/// Needs an event loop on top of GLib's (no QT_NO_GLIB). An operation under way goes on, and ends as it
/// would have, when the store is destroyed.
class KeychainCredentialStore final : public CredentialStoring
{
public:
    /// `patience`: how long the provider may take for an answer that needs no user. After that an operation fails with
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
