// SPDX-License-Identifier: MIT
#pragma once

#include <gio/gio.h>

#include <QByteArray>
#include <QProcess>
#include <QString>

#include <memory>

namespace velmora::testing
{

constexpr const char *kTestService = "com.example.velmora.test";

/// The keyring that with-private-keyring has started, seen from outside the credential store. Blocks.
class PrivateKeyring
{
public:
    ~PrivateKeyring();

    void lock();
    /// Without a prompt, with the password that the keyring was made with.
    void unlock();
    /// How many items the service finds with the attributes, locked ones included.
    [[nodiscard]] int itemCount(const char *account) const;
    /// Stores raw bytes as the store would store a credential, in the collection with the alias.
    void put(const char *account, const QByteArray &secret, const char *collection = "default",
        const char *schemaName = "com.tarvik.velmora.credential");
    /// The secret as text; empty when there is none.
    [[nodiscard]] QByteArray secret(const char *account) const;

    [[nodiscard]] bool hasProvider() const;
    [[nodiscard]] pid_t providerPID() const;
    /// Kills the provider and waits until the bus knows.
    void endProvider();
    /// Starts a provider that unlocks the keyring, or makes it, and waits for it.
    void startProvider();
    /// Starts a provider that leaves the keyring locked, as it is after a login without a password, and waits for it.
    void startLockedProvider();

private:
    void start(const QStringList &arguments);

    QProcess m_provider;
};

} // namespace velmora::testing
