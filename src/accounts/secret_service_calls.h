// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/secret_service_connection.h"

#include <QList>

namespace velmora
{

struct SecretValueDeleter {
    void operator()(SecretValue *value) const { secret_value_unref(value); }
};
using Secret = std::unique_ptr<SecretValue, SecretValueDeleter>;
using SecretItems = QList<GReference<SecretItem>>;
/// Items and collections: the objects that can be locked.
using SecretProxies = QList<GReference<GDBusProxy>>;

/// One operation on the items of one account. Holds all that the operation needs after the store is destroyed.
struct SecretOperation {
    std::shared_ptr<SecretServiceConnection> connection;
    QByteArray serviceName; ///< the items' attribute "service"
    QByteArray account; ///< the items' attribute "account"
    Interaction interaction = Interaction::Forbidden;
    GReference<SecretService> service; ///< the provider at the start of the operation
};

// The calls to the Secret Service. They throw CredentialStoreError: ProviderEnded if the provider ends, NotAnswering if
// it exceeds the connection's patience without asking the user. The user is asked one question at a time.

/// The object path of the item or collection: its identity.
[[nodiscard]] QByteArray pathOf(GDBusProxy *proxy);
/// The object path of the item's collection.
[[nodiscard]] QByteArray collectionOf(const GReference<SecretItem> &item);

/// The items of the account, locked or not. Never asks the user.
[[nodiscard]] QCoro::Task<SecretItems> searchItems(SecretOperation operation);
/// The secret of the account's item where there is exactly one, unlocked and with Velmora's schema, else null. Takes
/// two calls. Through searchItems() each item costs nine, since libsecret makes an object that follows its changes.
[[nodiscard]] QCoro::Task<Secret> soleSecret(SecretOperation operation);
/// Asks the provider to unlock the objects, and returns how many it unlocked. The provider may ask the user for a
/// password, so the caller must make sure that the operation allows it.
[[nodiscard]] QCoro::Task<int> unlockedCount(SecretOperation operation, SecretProxies proxies);
/// Asks the user to unlock all of them in one question, or nothing if they are unlocked. Throws Dismissed.
[[nodiscard]] QCoro::Task<> unlockProxies(SecretOperation operation, SecretProxies proxies);
/// The collection for new items, null if there is none yet.
[[nodiscard]] QCoro::Task<GReference<SecretCollection>> defaultCollection(SecretOperation operation);
/// Asks the user to create the collection for new items. Throws Dismissed.
[[nodiscard]] QCoro::Task<> createDefaultCollection(SecretOperation operation);
/// Stores the secret in the collection, given as a path or an alias. Replaces an item there with the same attributes.
[[nodiscard]] QCoro::Task<> storeSecret(SecretOperation operation, QByteArray collection, Secret secret);
/// The secret of an unlocked item, null if it has none.
[[nodiscard]] QCoro::Task<Secret> loadSecret(SecretOperation operation, GReference<SecretItem> item);
/// Deletes the item. It is no error if it is deleted already.
[[nodiscard]] QCoro::Task<> deleteItem(SecretOperation operation, GReference<SecretItem> item);

} // namespace velmora
