// SPDX-License-Identifier: MIT
#include "accounts/open_wallets.h"

#include "accounts/credential_store_error.h"

namespace velmora
{

namespace
{

constexpr const char *kWalletPaths[] = {"/modules/kwalletd6", "/modules/kwalletd5"};
constexpr const char *kWalletInterface = "org.kde.KWallet";
constexpr const char *kCollectionInterface = "org.freedesktop.Secret.Collection";

struct VariantDeleter {
    void operator()(GVariant *variant) const { g_variant_unref(variant); }
};
using Variant = std::unique_ptr<GVariant, VariantDeleter>;

/// A D-Bus object of the provider and its interface.
struct Object {
    QByteArray path;
    const char *interface = nullptr;
};

/// The provider's reply of the given type, null if the call fails. Takes ownership of floating parameters.
QCoro::Task<Variant> callProvider(
    SecretOperation operation, Object object, const char *method, GVariant *parameters, const char *type)
{
    auto *const proxy = G_DBUS_PROXY(static_cast<SecretService *>(operation.service));
    const auto bus = GReference<GDBusConnection>::share(g_dbus_proxy_get_connection(proxy));
    const auto answer = operation.connection->answerOfProvider();
    g_dbus_connection_call(bus, g_dbus_proxy_get_name(proxy), object.path.constData(), object.interface, method,
        parameters, G_VARIANT_TYPE(type), G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, settleAnswer,
        userDataFor(answer));
    const auto result = co_await SecretServiceConnection::timelyAnswer(operation.connection, answer);
    Variant reply(g_dbus_connection_call_finish(bus, result, nullptr));
    co_return reply;
}

/// KWallet's object. The path is empty if the provider is another one.
QCoro::Task<Object> walletsOf(SecretOperation operation)
{
    Object wallets;
    for (const char *path : kWalletPaths) {
        wallets = Object();
        wallets.interface = kWalletInterface;
        wallets.path = path;
        const Variant reply = co_await callProvider(operation, wallets, "isEnabled", nullptr, "(b)");
        if (reply)
            co_return wallets;
    }
    wallets.path.clear();
    co_return wallets;
}

/// The name of the wallet behind the collection, empty if there is no such collection.
QCoro::Task<QByteArray> walletName(SecretOperation operation, QByteArray collectionPath)
{
    Object collection;
    collection.interface = "org.freedesktop.DBus.Properties";
    collection.path = collectionPath;
    GVariant *const property = g_variant_new("(ss)", kCollectionInterface, "Label");
    const Variant reply = co_await callProvider(operation, collection, "Get", property, "(v)");
    QByteArray name;
    if (!reply)
        co_return name;
    GVariant *content = nullptr;
    g_variant_get(reply.get(), "(v)", &content);
    const Variant label(content);
    if (g_variant_is_of_type(label.get(), G_VARIANT_TYPE_STRING))
        name = g_variant_get_string(label.get(), nullptr);
    co_return name;
}

QCoro::Task<bool> isOpen(SecretOperation operation, Object wallets, QByteArray collectionPath)
{
    const QByteArray name = co_await walletName(operation, collectionPath);
    GVariant *const wallet = g_variant_new("(s)", name.constData());
    const Variant reply = co_await callProvider(operation, wallets, "isOpen", wallet, "(b)");
    gboolean isWalletOpen = FALSE;
    if (reply)
        g_variant_get(reply.get(), "(b)", &isWalletOpen);
    co_return isWalletOpen != FALSE;
}

/// Whether KWallet unlocks it without a question. If it refuses or exceeds the patience, it was asking the user, and
/// the wallet is remembered as reluctant.
QCoro::Task<bool> openUnasked(SecretOperation operation, GReference<GDBusProxy> proxy, QByteArray collectionPath)
{
    const SecretProxies one(1, proxy);
    auto &reluctant = operation.connection->reluctantWallets();
    try {
        const int count = co_await unlockedCount(operation, one);
        if (count == 0)
            reluctant.insert(collectionPath);
        co_return count > 0;
    } catch (const CredentialStoreError &error) {
        if (error == CredentialStoreError::keychain(CredentialStoreError::NotAnswering))
            reluctant.insert(collectionPath);
        throw;
    }
}

QByteArray collectionPathOf(GDBusProxy *proxy)
{
    if (SECRET_IS_COLLECTION(proxy))
        return pathOf(proxy);
    return collectionOf(GReference<SecretItem>::share(SECRET_ITEM(proxy)));
}

} // namespace

QCoro::Task<bool> openWallets(SecretOperation operation, SecretProxies locked)
{
    const Object wallets = co_await walletsOf(operation);
    if (wallets.path.isEmpty())
        co_return false;
    // KWallet confuses simultaneous prompts.
    const auto opening = co_await operation.connection->openings().lock();
    const auto question = operation.connection->questions().tryLock();
    if (!question)
        co_return false;
    bool isAnyOpened = false;
    for (const auto &proxy : std::as_const(locked)) {
        const QByteArray path = collectionPathOf(proxy);
        if (operation.connection->reluctantWallets().contains(path))
            continue;
        const bool isWalletOpen = co_await isOpen(operation, wallets, path);
        if (!isWalletOpen)
            continue;
        const bool isOpened = co_await openUnasked(operation, proxy, path);
        isAnyOpened = isAnyOpened || isOpened;
    }
    co_return isAnyOpened;
}

} // namespace velmora
