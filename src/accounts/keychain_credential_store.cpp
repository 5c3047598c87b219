// SPDX-License-Identifier: MIT
#include "accounts/keychain_credential_store.h"

#include "accounts/credential_store_error.h"
#include "accounts/secret_service_connection.h"
#include "support/json.h"

#include <QList>

#include <cstring>

namespace velmora
{

namespace
{

struct HashTableDeleter {
    void operator()(GHashTable *table) const { g_hash_table_unref(table); }
};
struct SecretValueDeleter {
    void operator()(SecretValue *value) const { secret_value_unref(value); }
};
struct ListDeleter {
    void operator()(GList *list) const { g_list_free(list); }
};
using Attributes = std::unique_ptr<GHashTable, HashTableDeleter>;
using Secret = std::unique_ptr<SecretValue, SecretValueDeleter>;
using List = std::unique_ptr<GList, ListDeleter>;
using Item = GReference<SecretItem>;
using Items = QList<Item>;

/// Everything that an operation needs once the store is gone.
struct Operation {
    std::shared_ptr<SecretServiceConnection> connection;
    QByteArray serviceName;
    QByteArray account;
    Interaction interaction;
    GReference<SecretService> service;
};

const SecretSchema *schema()
{
    static const SecretSchema schema = [] {
        SecretSchema made = {};
        made.name = "com.tarvik.velmora.credential";
        made.flags = SECRET_SCHEMA_NONE;
        made.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
        made.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
        return made;
    }();
    return &schema;
}

Attributes attributesOf(const Operation &operation)
{
    return Attributes(secret_attributes_build(
        schema(), "service", operation.serviceName.constData(), "account", operation.account.constData(), nullptr));
}

bool isLocked(const Item &item)
{
    return secret_item_get_locked(item);
}

[[noreturn]] void throwStatus(CredentialStoreError::Status status)
{
    throw CredentialStoreError::keychain(status);
}

/// The item itself is of no use any more, so it is told from others by its place.
QByteArray pathOf(const Item &item)
{
    return g_dbus_proxy_get_object_path(G_DBUS_PROXY(static_cast<SecretItem *>(item)));
}

QByteArray collectionOf(const Item &item)
{
    const QByteArray path = pathOf(item);
    return path.left(path.lastIndexOf('/'));
}

/// The item that counts when several match: one that can be read, and of those the latest.
Item preferred(const Items &items)
{
    const auto rank = [](const Item &item) {
        return std::pair(!isLocked(item), secret_item_get_modified(item));
    };
    return *std::ranges::max_element(items, {}, rank);
}

Secret encoded(const GitHubCredential &credential)
{
    QByteArray json = encodeJSON(credential);
    Secret secret(secret_value_new(json.constData(), json.size(), "application/json"));
    explicit_bzero(json.data(), static_cast<std::size_t>(json.size()));
    return secret;
}

/// Everything that matches, locked or not. Never asks the person.
QCoro::Task<Items> search(Operation operation)
{
    const auto attributes = attributesOf(operation);
    const auto answer = operation.connection->answerOfProvider();
    secret_service_search(
        operation.service, schema(), attributes.get(), SECRET_SEARCH_ALL, nullptr, settleAnswer, settles(answer));
    const auto result = co_await answer;
    GError *error = nullptr;
    const List found(secret_service_search_finish(operation.service, result, &error));
    throwKeyringError(error, operation.interaction);
    Items items;
    for (const GList *link = found.get(); link; link = link->next)
        items.append(Item::adopt(SECRET_ITEM(link->data)));
    co_return items;
}

/// Unlocks what is locked among the items, or throws.
QCoro::Task<> unlock(Operation operation, Items items)
{
    GList *locked = nullptr;
    for (const Item &item : items) {
        if (isLocked(item))
            locked = g_list_prepend(locked, static_cast<SecretItem *>(item));
    }
    const List list(locked);
    if (!list)
        co_return;
    if (operation.interaction == Interaction::Forbidden)
        throwStatus(CredentialStoreError::Locked);
    const auto answer = operation.connection->answerOfProvider();
    secret_service_unlock(operation.service, list.get(), nullptr, settleAnswer, settles(answer));
    const auto result = co_await answer;
    GError *error = nullptr;
    const gint count = secret_service_unlock_finish(operation.service, result, nullptr, &error);
    throwKeyringError(error, operation.interaction);
    if (count == 0)
        throwStatus(CredentialStoreError::Dismissed);
}

/// Throws Locked unless a new item can be stored in the default collection without a question.
QCoro::Task<> requireOpenDefaultCollection(Operation operation)
{
    const auto answer = operation.connection->answerOfProvider();
    secret_collection_for_alias(
        operation.service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, nullptr, settleAnswer, settles(answer));
    const auto result = co_await answer;
    GError *error = nullptr;
    const auto collection = GReference<SecretCollection>::adopt(secret_collection_for_alias_finish(result, &error));
    throwKeyringError(error, operation.interaction);
    // Without a collection the provider would ask for the password of a new one.
    if (!collection || secret_collection_get_locked(collection))
        throwStatus(CredentialStoreError::Locked);
}

/// Stores the secret in the collection; an item there with the same attributes is replaced.
QCoro::Task<> store(Operation operation, QByteArray collection, Secret secret)
{
    const auto attributes = attributesOf(operation);
    const QByteArray label = "Velmora (GitHub account " + operation.account + ')';
    const auto answer = operation.connection->answerOfProvider();
    secret_service_store(operation.service, schema(), attributes.get(), collection.constData(), label.constData(),
        secret.get(), nullptr, settleAnswer, settles(answer));
    const auto result = co_await answer;
    GError *error = nullptr;
    secret_service_store_finish(operation.service, result, &error);
    // This is how libsecret reports that the person declined to make the very first keyring.
    if (g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_METHOD)) {
        g_error_free(error);
        throwStatus(CredentialStoreError::Dismissed);
    }
    throwKeyringError(error, operation.interaction);
}

QCoro::Task<> deleteItem(Operation operation, Item item)
{
    const auto answer = operation.connection->answerOfProvider();
    secret_item_delete(item, nullptr, settleAnswer, settles(answer));
    const auto result = co_await answer;
    GError *error = nullptr;
    const bool isDeleted = secret_item_delete_finish(item, result, &error);
    if (g_error_matches(error, SECRET_ERROR, SECRET_ERROR_NO_SUCH_OBJECT)) {
        // Somebody else was quicker.
        g_error_free(error);
        co_return;
    }
    throwKeyringError(error, operation.interaction);
    if (!isDeleted)
        throwStatus(CredentialStoreError::Dismissed);
}

QCoro::Task<> saveCredential(Operation operation, GitHubCredential credential)
{
    operation.service = co_await SecretServiceConnection::service(operation.connection);
    const Items items = co_await search(operation);
    co_await unlock(operation, items);
    if (items.isEmpty() && operation.interaction == Interaction::Forbidden)
        co_await requireOpenDefaultCollection(operation);
    QByteArray collection = SECRET_COLLECTION_DEFAULT;
    if (!items.isEmpty())
        collection = collectionOf(preferred(items));
    auto secret = encoded(credential);
    co_await store(operation, collection, std::move(secret));
    // Copies in other collections would come back one day as outdated credentials.
    for (const Item &item : items) {
        if (collectionOf(item) != collection)
            co_await deleteItem(operation, item);
    }
}

QCoro::Task<std::optional<GitHubCredential>> loadCredential(Operation operation)
{
    operation.service = co_await SecretServiceConnection::service(operation.connection);
    const Items items = co_await search(operation);
    if (items.isEmpty())
        co_return std::nullopt;
    const Item item = preferred(items);
    if (isLocked(item))
        throwStatus(CredentialStoreError::Locked);
    const auto answer = operation.connection->answerOfProvider();
    secret_item_load_secret(item, nullptr, settleAnswer, settles(answer));
    const auto result = co_await answer;
    GError *error = nullptr;
    secret_item_load_secret_finish(item, result, &error);
    throwKeyringError(error, operation.interaction);
    const Secret secret(secret_item_get_secret(item));
    gsize size = 0;
    const gchar *text = secret ? secret_value_get(secret.get(), &size) : nullptr;
    if (!text || size == 0)
        throw CredentialStoreError::invalidData();
    auto credential = decodeJSON<GitHubCredential>(QByteArrayView(text, static_cast<qsizetype>(size)));
    co_return credential;
}

QCoro::Task<> removeCredential(Operation operation)
{
    operation.service = co_await SecretServiceConnection::service(operation.connection);
    const Items items = co_await search(operation);
    co_await unlock(operation, items);
    for (const Item &item : items)
        co_await deleteItem(operation, item);
}

} // namespace

KeychainCredentialStore::KeychainCredentialStore(QString service)
    : m_service(std::move(service))
    , m_connection(std::make_shared<SecretServiceConnection>())
{
}

KeychainCredentialStore::~KeychainCredentialStore() = default;

QCoro::Task<> KeychainCredentialStore::save(GitHubCredential credential, qint64 accountID, Interaction interaction)
{
    const Operation operation{m_connection, m_service.toUtf8(), QByteArray::number(accountID), interaction, {}};
    co_await saveCredential(operation, std::move(credential));
}

QCoro::Task<std::optional<GitHubCredential>> KeychainCredentialStore::load(qint64 accountID)
{
    const Operation operation{
        m_connection, m_service.toUtf8(), QByteArray::number(accountID), Interaction::Forbidden, {}};
    auto credential = co_await loadCredential(operation);
    co_return credential;
}

QCoro::Task<> KeychainCredentialStore::remove(qint64 accountID, Interaction interaction)
{
    const Operation operation{m_connection, m_service.toUtf8(), QByteArray::number(accountID), interaction, {}};
    co_await removeCredential(operation);
}

} // namespace velmora
