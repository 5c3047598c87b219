// SPDX-License-Identifier: MIT
#include "accounts/secret_service_calls.h"

#include "accounts/credential_store_error.h"

namespace velmora
{

namespace
{

constexpr const char *kSchemaAttribute = "xdg:schema";
constexpr const char *kServiceAttribute = "service";
constexpr const char *kAccountAttribute = "account";

struct HashTableDeleter {
    void operator()(GHashTable *table) const { g_hash_table_unref(table); }
};
struct ListDeleter {
    void operator()(GList *list) const { g_list_free(list); }
};
struct TextsDeleter {
    void operator()(gchar **texts) const { g_strfreev(texts); }
};
using Attributes = std::unique_ptr<GHashTable, HashTableDeleter>;
using Texts = std::unique_ptr<gchar *, TextsDeleter>;
using List = std::unique_ptr<GList, ListDeleter>;

const SecretSchema *schema()
{
    static const SecretSchema schema = [] {
        SecretSchema made = {};
        made.name = "com.tarvik.velmora.credential";
        made.flags = SECRET_SCHEMA_NONE;
        made.attributes[0] = {kServiceAttribute, SECRET_SCHEMA_ATTRIBUTE_STRING};
        made.attributes[1] = {kAccountAttribute, SECRET_SCHEMA_ATTRIBUTE_STRING};
        return made;
    }();
    return &schema;
}

Attributes attributesOf(const SecretOperation &operation)
{
    return Attributes(secret_attributes_build(schema(), kServiceAttribute, operation.serviceName.constData(),
        kAccountAttribute, operation.account.constData(), nullptr));
}

/// Whether another program made the item, according to its schema. Items of a keyring that has been locked since its
/// provider started show no attributes, so they count as Velmora's.
bool isOfOtherSchema(SecretItem *item)
{
    const Attributes attributes(secret_item_get_attributes(item));
    if (!attributes || !g_hash_table_contains(attributes.get(), kServiceAttribute))
        return false;
    const auto *name = static_cast<const char *>(g_hash_table_lookup(attributes.get(), kSchemaAttribute));
    return name && qstrcmp(name, schema()->name) != 0;
}

[[noreturn]] void throwDismissed()
{
    throw CredentialStoreError::keychain(CredentialStoreError::Dismissed);
}

void throwCreationError(GError *error, Interaction interaction)
{
    // libsecret reports this if the user declines to create the very first keyring.
    if (g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_METHOD)) {
        g_error_free(error);
        throwDismissed();
    }
    throwKeyringError(error, interaction);
}

/// The provider's answer. Waits without limit if the call may ask the user.
QCoro::Task<GReference<GAsyncResult>> answerOf(SecretOperation operation, GAnswer answer)
{
    if (operation.interaction == Interaction::Allowed) {
        auto result = co_await answer;
        co_return result;
    }
    auto result = co_await SecretServiceConnection::timelyAnswer(operation.connection, answer);
    co_return result;
}

/// The lock for asking the user; empty if the operation may not ask.
QCoro::Task<AsyncMutex::Lock> takeQuestion(SecretOperation operation)
{
    AsyncMutex::Lock question;
    if (operation.interaction == Interaction::Allowed)
        question = co_await operation.connection->questions().lock();
    co_return question;
}

} // namespace

QByteArray pathOf(GDBusProxy *proxy)
{
    return g_dbus_proxy_get_object_path(proxy);
}

QByteArray collectionOf(const GReference<SecretItem> &item)
{
    const QByteArray path = pathOf(G_DBUS_PROXY(static_cast<SecretItem *>(item)));
    return path.left(path.lastIndexOf('/'));
}

QCoro::Task<SecretItems> searchItems(SecretOperation operation)
{
    const auto attributes = attributesOf(operation);
    // Search without the schema: a gnome-keyring that was started locked does not know it for its items.
    g_hash_table_remove(attributes.get(), kSchemaAttribute);
    const auto answer = operation.connection->answerOfProvider();
    secret_service_search(
        operation.service, nullptr, attributes.get(), SECRET_SEARCH_ALL, nullptr, settleAnswer, userDataFor(answer));
    const auto result = co_await SecretServiceConnection::timelyAnswer(operation.connection, answer);
    GError *error = nullptr;
    const List found(secret_service_search_finish(operation.service, result, &error));
    throwKeyringError(error, operation.interaction);
    SecretItems items;
    for (const GList *link = found.get(); link; link = link->next) {
        auto item = GReference<SecretItem>::adopt(SECRET_ITEM(link->data));
        if (!isOfOtherSchema(item))
            items.append(std::move(item));
    }
    co_return items;
}

QCoro::Task<Secret> soleSecret(SecretOperation operation)
{
    const auto attributes = attributesOf(operation);
    const auto found = operation.connection->answerOfProvider();
    secret_service_search_for_dbus_paths(
        operation.service, schema(), attributes.get(), nullptr, settleAnswer, userDataFor(found));
    const auto search = co_await SecretServiceConnection::timelyAnswer(operation.connection, found);
    gchar **unlocked = nullptr;
    gchar **locked = nullptr;
    GError *error = nullptr;
    secret_service_search_for_dbus_paths_finish(operation.service, search, &unlocked, &locked, &error);
    const Texts readable(unlocked);
    const Texts others(locked);
    throwKeyringError(error, operation.interaction);
    if (!unlocked || g_strv_length(unlocked) != 1 || !locked || g_strv_length(locked) != 0)
        co_return Secret();
    const auto got = operation.connection->answerOfProvider();
    secret_service_get_secret_for_dbus_path(operation.service, *unlocked, nullptr, settleAnswer, userDataFor(got));
    const auto answer = co_await SecretServiceConnection::timelyAnswer(operation.connection, got);
    Secret secret(secret_service_get_secret_for_dbus_path_finish(operation.service, answer, &error));
    throwKeyringError(error, operation.interaction);
    co_return secret;
}

QCoro::Task<int> unlockedCount(SecretOperation operation, SecretProxies proxies)
{
    GList *objects = nullptr;
    for (const auto &proxy : std::as_const(proxies))
        objects = g_list_prepend(objects, static_cast<GDBusProxy *>(proxy));
    const List list(objects);
    const auto answer = operation.connection->answerOfProvider();
    secret_service_unlock(operation.service, list.get(), nullptr, settleAnswer, userDataFor(answer));
    const auto result = co_await answerOf(operation, answer);
    GError *error = nullptr;
    const gint count = secret_service_unlock_finish(operation.service, result, nullptr, &error);
    throwKeyringError(error, operation.interaction);
    co_return count;
}

QCoro::Task<> unlockProxies(SecretOperation operation, SecretProxies proxies)
{
    const int dismissals = operation.connection->dismissals();
    const auto question = co_await takeQuestion(operation);
    // The user has just declined the question before this one, and would be asked the same again.
    if (operation.connection->dismissals() != dismissals)
        throwDismissed();
    const int count = co_await unlockedCount(operation, proxies);
    if (count > 0)
        co_return;
    operation.connection->recordDismissal();
    throwDismissed();
}

QCoro::Task<GReference<SecretCollection>> defaultCollection(SecretOperation operation)
{
    const auto answer = operation.connection->answerOfProvider();
    secret_collection_for_alias(operation.service, SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, nullptr,
        settleAnswer, userDataFor(answer));
    const auto result = co_await SecretServiceConnection::timelyAnswer(operation.connection, answer);
    GError *error = nullptr;
    auto collection = GReference<SecretCollection>::adopt(secret_collection_for_alias_finish(result, &error));
    throwKeyringError(error, operation.interaction);
    co_return collection;
}

QCoro::Task<> createDefaultCollection(SecretOperation operation)
{
    const auto question = co_await takeQuestion(operation);
    const auto answer = operation.connection->answerOfProvider();
    secret_collection_create(operation.service, "Default keyring", SECRET_COLLECTION_DEFAULT,
        SECRET_COLLECTION_CREATE_NONE, nullptr, settleAnswer, userDataFor(answer));
    const auto result = co_await answer;
    GError *error = nullptr;
    const auto collection = GReference<SecretCollection>::adopt(secret_collection_create_finish(result, &error));
    throwCreationError(error, operation.interaction);
    if (!collection)
        throwDismissed();
}

QCoro::Task<> storeSecret(SecretOperation operation, QByteArray collection, Secret secret)
{
    const auto question = co_await takeQuestion(operation);
    const auto attributes = attributesOf(operation);
    const QByteArray label = "Velmora (GitHub account " + operation.account + ')';
    const auto answer = operation.connection->answerOfProvider();
    secret_service_store(operation.service, schema(), attributes.get(), collection.constData(), label.constData(),
        secret.get(), nullptr, settleAnswer, userDataFor(answer));
    const auto result = co_await answerOf(operation, answer);
    GError *error = nullptr;
    secret_service_store_finish(operation.service, result, &error);
    throwCreationError(error, operation.interaction);
}

QCoro::Task<Secret> loadSecret(SecretOperation operation, GReference<SecretItem> item)
{
    const auto answer = operation.connection->answerOfProvider();
    secret_item_load_secret(item, nullptr, settleAnswer, userDataFor(answer));
    const auto result = co_await SecretServiceConnection::timelyAnswer(operation.connection, answer);
    GError *error = nullptr;
    secret_item_load_secret_finish(item, result, &error);
    throwKeyringError(error, operation.interaction);
    co_return Secret(secret_item_get_secret(item));
}

QCoro::Task<> deleteItem(SecretOperation operation, GReference<SecretItem> item)
{
    const auto question = co_await takeQuestion(operation);
    const auto answer = operation.connection->answerOfProvider();
    secret_item_delete(item, nullptr, settleAnswer, userDataFor(answer));
    const auto result = co_await answerOf(operation, answer);
    GError *error = nullptr;
    const bool isDeleted = secret_item_delete_finish(item, result, &error);
    if (g_error_matches(error, SECRET_ERROR, SECRET_ERROR_NO_SUCH_OBJECT)) {
        // Another program has deleted it first.
        g_error_free(error);
        co_return;
    }
    throwKeyringError(error, operation.interaction);
    if (!isDeleted)
        throwDismissed();
}

} // namespace velmora
