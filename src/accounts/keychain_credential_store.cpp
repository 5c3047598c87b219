// SPDX-License-Identifier: MIT
#include "accounts/keychain_credential_store.h"

#include "accounts/credential_store_error.h"
#include "accounts/open_wallets.h"
#include "accounts/secret_service_calls.h"
#include "support/erased.h"
#include "support/json.h"

#include <QSet>

namespace velmora
{

namespace
{

using Operation = SecretOperation;

/// The number of new sessions to try if a secret does not get through.
constexpr int kFurtherSessions = 2;

/// The items of an account, and the obstacles.
struct Found {
    SecretItems items;
    SecretProxies locked; ///< must be unlocked to reach all items
};

[[noreturn]] void throwLocked()
{
    throw CredentialStoreError::keychain(CredentialStoreError::Locked);
}

bool isLocked(const GReference<SecretItem> &item)
{
    return secret_item_get_locked(item);
}

GReference<GDBusProxy> proxyOf(SecretItem *item)
{
    return GReference<GDBusProxy>::share(G_DBUS_PROXY(item));
}

GReference<GDBusProxy> proxyOf(SecretCollection *collection)
{
    return GReference<GDBusProxy>::share(G_DBUS_PROXY(collection));
}

/// The item to use if several match: an unlocked one before locked ones, then the latest.
GReference<SecretItem> preferred(const SecretItems &items)
{
    const auto rank = [](const GReference<SecretItem> &item) {
        return std::pair(!isLocked(item), secret_item_get_modified(item));
    };
    return *std::ranges::max_element(items, {}, rank);
}

bool isReadable(const Found &found)
{
    return !found.items.isEmpty() && !isLocked(preferred(found.items));
}

Secret encoded(const GitHubCredential &credential)
{
    QByteArray json = encodeJSON(credential);
    Secret secret(secret_value_new(json.constData(), json.size(), "application/json"));
    erase(json);
    return secret;
}

/// The default collection when it is locked, else null.
QCoro::Task<GReference<GDBusProxy>> lockedDefaultCollection(Operation operation)
{
    const auto collection = co_await defaultCollection(operation);
    GReference<GDBusProxy> locked;
    if (collection && secret_collection_get_locked(collection))
        locked = proxyOf(collection);
    co_return locked;
}

QCoro::Task<Found> lookUp(Operation operation)
{
    Found found;
    found.items = co_await searchItems(operation);
    for (const auto &item : std::as_const(found.items)) {
        if (isLocked(item))
            found.locked.append(proxyOf(item));
    }
    if (!found.items.isEmpty())
        co_return found;
    // Some providers hide the items of a locked collection.
    const auto collection = co_await lockedDefaultCollection(operation);
    if (collection)
        found.locked.append(collection);
    co_return found;
}

/// lookUp(), after opening wallets that need no question. Skipped if the user may be asked, since that unlocks them
/// too.
QCoro::Task<Found> find(Operation operation)
{
    Found found = co_await lookUp(operation);
    if (found.locked.isEmpty() || operation.interaction == Interaction::Allowed)
        co_return found;
    const bool isOpened = co_await openWallets(operation, found.locked);
    if (isOpened)
        found = co_await lookUp(operation);
    co_return found;
}

/// The objects that the user has not been asked to unlock yet. Adds them to `asked`.
SecretProxies notYetAsked(const SecretProxies &objects, QSet<QByteArray> &asked)
{
    SecretProxies remaining;
    for (const auto &object : objects) {
        const QByteArray path = pathOf(object);
        if (asked.contains(path))
            continue;
        asked.insert(path);
        remaining.append(object);
    }
    return remaining;
}

/// The items of the account, all unlocked. Throws Locked, or Dismissed after a question.
QCoro::Task<SecretItems> openedItems(Operation operation)
{
    QSet<QByteArray> asked;
    Found found = co_await find(operation);
    // An unlocked collection may reveal items that are locked one by one.
    while (!found.locked.isEmpty()) {
        if (operation.interaction == Interaction::Forbidden)
            throwLocked();
        const SecretProxies objects = notYetAsked(found.locked, asked);
        if (objects.isEmpty())
            throw CredentialStoreError::keychain(CredentialStoreError::Dismissed);
        co_await unlockProxies(operation, objects);
        found = co_await find(operation);
    }
    co_return SecretItems(found.items);
}

/// The locked objects that prevent loading the credentials of the accounts.
QCoro::Task<SecretProxies> obstacles(QList<Operation> operations)
{
    SecretProxies locked;
    for (const Operation &operation : operations) {
        const Found found = co_await find(operation);
        if (!isReadable(found))
            locked.append(found.locked);
    }
    co_return locked;
}

/// `operations`: one for each account, all of one store.
QCoro::Task<> unlockAll(QList<Operation> operations)
{
    if (operations.isEmpty())
        co_return;
    const auto service = co_await SecretServiceConnection::service(operations.first().connection);
    for (Operation &operation : operations)
        operation.service = service;
    QSet<QByteArray> asked;
    while (true) {
        const SecretProxies locked = co_await obstacles(operations);
        const SecretProxies objects = notYetAsked(locked, asked);
        if (objects.isEmpty())
            co_return;
        co_await unlockProxies(operations.first(), objects);
    }
}

QCoro::Task<> prepare(Operation operation)
{
    operation.service = co_await SecretServiceConnection::service(operation.connection);
    const auto collection = co_await defaultCollection(operation);
    if (!collection) {
        co_await createDefaultCollection(operation);
        co_return;
    }
    if (!secret_collection_get_locked(collection))
        co_return;
    const SecretProxies locked(1, proxyOf(collection));
    co_await unlockProxies(operation, locked);
}

/// Throws Locked if there is no default collection for a new item: the provider would ask the user for the password of
/// a new one.
QCoro::Task<> requireDefaultCollection(Operation operation)
{
    const auto collection = co_await defaultCollection(operation);
    if (!collection)
        throwLocked();
}

QCoro::Task<> saveCredential(Operation operation, GitHubCredential credential)
{
    operation.service = co_await SecretServiceConnection::service(operation.connection);
    const SecretItems items = co_await openedItems(operation);
    if (items.isEmpty() && operation.interaction == Interaction::Forbidden)
        co_await requireDefaultCollection(operation);
    QByteArray collection = SECRET_COLLECTION_DEFAULT;
    if (!items.isEmpty())
        collection = collectionOf(preferred(items));
    auto secret = encoded(credential);
    co_await storeSecret(operation, collection, std::move(secret));
    // Copies in other collections could later be taken for the current credential.
    for (const auto &item : items) {
        if (collectionOf(item) != collection)
            co_await deleteItem(operation, item);
    }
}

/// Throws InvalidData unless the secret is one.
GitHubCredential decoded(const Secret &secret)
{
    gsize size = 0;
    const gchar *text = secret ? secret_value_get(secret.get(), &size) : nullptr;
    if (!text || size == 0)
        throw CredentialStoreError::invalidData();
    return decodeJSON<GitHubCredential>(QByteArrayView(text, static_cast<qsizetype>(size)));
}

QCoro::Task<std::optional<GitHubCredential>> loadCredential(Operation operation)
{
    operation.service = co_await SecretServiceConnection::service(operation.connection);
    const Secret sole = co_await soleSecret(operation);
    if (sole)
        co_return decoded(sole);
    const Found found = co_await find(operation);
    if (!isReadable(found)) {
        if (!found.locked.isEmpty())
            throwLocked();
        co_return std::nullopt;
    }
    const auto item = preferred(found.items);
    const Secret secret = co_await loadSecret(operation, item);
    co_return decoded(secret);
}

QCoro::Task<> removeCredential(Operation operation)
{
    operation.service = co_await SecretServiceConnection::service(operation.connection);
    const SecretItems items = co_await openedItems(operation);
    for (const auto &item : items)
        co_await deleteItem(operation, item);
}

/// Whether a new session may help. KWallet fails in about one session in a hundred, when a key begins with a zero byte.
bool mayBeOfSession(const CredentialStoreError &error)
{
    return error == CredentialStoreError::keychain(CredentialStoreError::Failed);
}

} // namespace

KeychainCredentialStore::KeychainCredentialStore(QString service, std::chrono::milliseconds patience)
    : m_service(std::move(service))
    , m_connection(std::make_shared<SecretServiceConnection>(patience))
{
}

KeychainCredentialStore::~KeychainCredentialStore() = default;

SecretOperation KeychainCredentialStore::operation(qint64 accountID, Interaction interaction) const
{
    return SecretOperation{m_connection, m_service.toUtf8(), QByteArray::number(accountID), interaction, {}};
}

QCoro::Task<> KeychainCredentialStore::prepareToSave()
{
    // This operation concerns no particular account.
    const Operation asking = operation(0, Interaction::Allowed);
    co_await prepare(asking);
}

QCoro::Task<> KeychainCredentialStore::unlock(QList<qint64> accountIDs)
{
    QList<Operation> operations;
    for (const qint64 accountID : std::as_const(accountIDs))
        operations.append(operation(accountID, Interaction::Allowed));
    co_await unlockAll(operations);
}

QCoro::Task<> KeychainCredentialStore::save(GitHubCredential credential, qint64 accountID, Interaction interaction)
{
    const Operation saving = operation(accountID, interaction);
    for (int furtherSessions = kFurtherSessions;; --furtherSessions) {
        try {
            co_await saveCredential(saving, credential);
            co_return;
        } catch (const CredentialStoreError &error) {
            if (furtherSessions == 0 || !mayBeOfSession(error))
                throw;
        }
        saving.connection->renewSession();
    }
}

QCoro::Task<std::optional<GitHubCredential>> KeychainCredentialStore::load(qint64 accountID)
{
    const Operation loading = operation(accountID, Interaction::Forbidden);
    for (int furtherSessions = kFurtherSessions;; --furtherSessions) {
        try {
            auto credential = co_await loadCredential(loading);
            co_return credential;
        } catch (const CredentialStoreError &error) {
            if (furtherSessions == 0 || !mayBeOfSession(error))
                throw;
        }
        loading.connection->renewSession();
    }
}

QCoro::Task<> KeychainCredentialStore::remove(qint64 accountID, Interaction interaction)
{
    const Operation removing = operation(accountID, interaction);
    co_await removeCredential(removing);
}

} // namespace velmora
