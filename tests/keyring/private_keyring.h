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

/// Accesses the keyring started by with-private-keyring independently of the credential store. Blocks.
class PrivateKeyring
{
public:
    ~PrivateKeyring();

    void lock();
    /// Unlocks the keyring with its password, without a prompt.
    void unlock();
    /// The number of items with these attributes, including locked ones.
    [[nodiscard]] int itemCount(const char *account) const;
    /// Stores raw bytes in the form of a credential, in the collection with this alias.
    void put(const char *account, const QByteArray &secret, const char *collection = "default",
        const char *schemaName = "com.tarvik.velmora.credential");
    /// The secret; empty for none.
    [[nodiscard]] QByteArray secret(const char *account) const;

    [[nodiscard]] bool hasProvider() const;
    [[nodiscard]] pid_t providerPID() const;
    /// Kills the provider and waits until it has left the bus.
    void endProvider();
    /// Starts a provider that unlocks or creates the keyring, and waits for it.
    void startProvider();
    /// Starts a provider with a locked keyring, as after a login without a password, and waits for it.
    void startLockedProvider();

private:
    void start(const QStringList &arguments);

    QProcess m_provider;
};

} // namespace velmora::testing
