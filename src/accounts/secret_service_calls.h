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
/// Items and collections: what can be locked.
using SecretProxies = QList<GReference<GDBusProxy>>;

/// One operation on the items of one account. Holds everything that the operation needs once the store is gone.
struct SecretOperation {
    std::shared_ptr<SecretServiceConnection> connection;
    QByteArray serviceName; ///< value of the attribute "service" of the items
    QByteArray account; ///< value of their attribute "account"
    Interaction interaction = Interaction::Forbidden;
    GReference<SecretService> service; ///< the provider as it was when the operation began
};

// The calls to the Secret Service. They throw CredentialStoreError: ProviderEnded when the provider ends,
// NotAnswering when it takes longer than the connection's patience and no question to the user is involved.
// Questions wait for each other, so that the user is never asked two things at once.

/// Where the item or collection is; its identity.
[[nodiscard]] QByteArray pathOf(GDBusProxy *proxy);
/// Where the collection of the item is.
[[nodiscard]] QByteArray collectionOf(const GReference<SecretItem> &item);

/// The items of the account, locked or not. Never asks the user.
[[nodiscard]] QCoro::Task<SecretItems> searchItems(SecretOperation operation);
/// Unlocks those that the provider unlocks, and tells how many are open now. What the operation may ask is up to the
/// caller to hold to: the provider asks the user whenever it takes a password.
[[nodiscard]] QCoro::Task<int> unlockedCount(SecretOperation operation, SecretProxies proxies);
/// Asks the user to unlock all of them, in one question; asks nothing when they are open. Throws Dismissed.
[[nodiscard]] QCoro::Task<> unlockProxies(SecretOperation operation, SecretProxies proxies);
/// The collection that new items are stored in; null when there is none yet.
[[nodiscard]] QCoro::Task<GReference<SecretCollection>> defaultCollection(SecretOperation operation);
/// Asks the user to make the collection that new items are stored in. Throws Dismissed.
[[nodiscard]] QCoro::Task<> createDefaultCollection(SecretOperation operation);
/// Stores the secret in the collection, of which a path or an alias is given; replaces an item there that has the
/// same attributes.
[[nodiscard]] QCoro::Task<> storeSecret(SecretOperation operation, QByteArray collection, Secret secret);
/// The secret of an item that is not locked; null when the item has none.
[[nodiscard]] QCoro::Task<Secret> loadSecret(SecretOperation operation, GReference<SecretItem> item);
/// Deletes the item, which may be gone already.
[[nodiscard]] QCoro::Task<> deleteItem(SecretOperation operation, GReference<SecretItem> item);

} // namespace velmora
