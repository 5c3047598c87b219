// SPDX-License-Identifier: MIT
#include "private_keyring.h"

#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <csignal>
#include <stdexcept>
#include <sys/prctl.h>

namespace velmora::testing
{

namespace
{

constexpr const char *kProvider = "org.freedesktop.secrets";
constexpr const char *kServicePath = "/org/freedesktop/secrets";
constexpr const char *kDefaultPath = "/org/freedesktop/secrets/aliases/default";
constexpr const char *kServiceInterface = "org.freedesktop.Secret.Service";

struct VariantDeleter {
    void operator()(GVariant *variant) const { g_variant_unref(variant); }
};
using Variant = std::unique_ptr<GVariant, VariantDeleter>;

[[noreturn]] void fail(GError *error)
{
    const std::string message = error->message;
    g_error_free(error);
    throw std::runtime_error(message);
}

GDBusConnection *bus()
{
    static GDBusConnection *const connection = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    return connection;
}

Variant call(const char *destination, const char *path, const char *interface, const char *method, GVariant *parameters)
{
    GError *error = nullptr;
    Variant reply(g_dbus_connection_call_sync(bus(), destination, path, interface, method, parameters, nullptr,
        G_DBUS_CALL_FLAGS_NO_AUTO_START, 10'000, nullptr, &error));
    if (error)
        fail(error);
    return reply;
}

Variant callService(const char *method, GVariant *parameters)
{
    return call(kProvider, kServicePath, kServiceInterface, method, parameters);
}

Variant callBus(const char *method)
{
    return call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
        g_variant_new("(s)", kProvider));
}

QByteArray password()
{
    QFile file(qEnvironmentVariable("VELMORA_KEYRING_PASSWORD_FILE"));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("run this test under with-private-keyring");
    return file.readAll();
}

template <typename Condition>
void blockUntil(Condition condition)
{
    QElapsedTimer watchdog;
    watchdog.start();
    while (!condition()) {
        if (watchdog.hasExpired(60'000))
            throw std::runtime_error("the keyring did not get there in time");
        QThread::msleep(5);
    }
}

/// A session without encryption, which belongs to the calling connection.
QByteArray openSession()
{
    const Variant opened = callService("OpenSession", g_variant_new("(sv)", "plain", g_variant_new_string("")));
    const gchar *session = nullptr;
    g_variant_get(opened.get(), "(v&o)", nullptr, &session);
    return session;
}

GVariant *plainSecret(const QByteArray &secret)
{
    const auto bytes = [](const QByteArray &content) {
        return g_variant_new_fixed_array(
            G_VARIANT_TYPE_BYTE, content.constData(), static_cast<gsize>(content.size()), 1);
    };
    return g_variant_new("(o@ay@ays)", openSession().constData(), bytes({}), bytes(secret), "application/json");
}

GVariant *attributes(const char *account)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a{ss}"));
    g_variant_builder_add(&builder, "{ss}", "service", kTestService);
    g_variant_builder_add(&builder, "{ss}", "account", account);
    return g_variant_builder_end(&builder);
}

} // namespace

PrivateKeyring::~PrivateKeyring()
{
    m_provider.kill();
    m_provider.waitForFinished();
}

void PrivateKeyring::lock()
{
    const char *paths[] = {kDefaultPath};
    callService("Lock", g_variant_new("(@ao)", g_variant_new_objv(paths, 1)));
}

void PrivateKeyring::unlock()
{
    call(kProvider, kServicePath, "org.gnome.keyring.InternalUnsupportedGuiltRiddenInterface",
        "UnlockWithMasterPassword", g_variant_new("(o@(oayays))", kDefaultPath, plainSecret(password())));
}

int PrivateKeyring::itemCount(const char *account) const
{
    const Variant reply = callService("SearchItems", g_variant_new("(@a{ss})", attributes(account)));
    GVariant *unlocked = nullptr;
    GVariant *locked = nullptr;
    g_variant_get(reply.get(), "(@ao@ao)", &unlocked, &locked);
    const Variant first(unlocked);
    const Variant second(locked);
    return static_cast<int>(g_variant_n_children(unlocked) + g_variant_n_children(locked));
}

void PrivateKeyring::put(const char *account, const QByteArray &secret, const char *collection, const char *schemaName)
{
    GVariantBuilder attributes;
    g_variant_builder_init(&attributes, G_VARIANT_TYPE("a{ss}"));
    g_variant_builder_add(&attributes, "{ss}", "service", kTestService);
    g_variant_builder_add(&attributes, "{ss}", "account", account);
    g_variant_builder_add(&attributes, "{ss}", "xdg:schema", schemaName);
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(
        &properties, "{sv}", "org.freedesktop.Secret.Item.Label", g_variant_new_string("put by a test"));
    g_variant_builder_add(
        &properties, "{sv}", "org.freedesktop.Secret.Item.Attributes", g_variant_builder_end(&attributes));
    const QByteArray path = QByteArray("/org/freedesktop/secrets/aliases/") + collection;
    call(kProvider, path.constData(), "org.freedesktop.Secret.Collection", "CreateItem",
        g_variant_new("(a{sv}@(oayays)b)", &properties, plainSecret(secret), TRUE));
}

QByteArray PrivateKeyring::secret(const char *account) const
{
    const Variant found = callService("SearchItems", g_variant_new("(@a{ss})", attributes(account)));
    GVariantIter *unlocked = nullptr;
    g_variant_get(found.get(), "(aoao)", &unlocked, nullptr);
    const gchar *path = nullptr;
    QByteArray item;
    if (g_variant_iter_next(unlocked, "&o", &path))
        item = path;
    g_variant_iter_free(unlocked);
    if (item.isEmpty())
        return {};
    const Variant reply = call(kProvider, item.constData(), "org.freedesktop.Secret.Item", "GetSecret",
        g_variant_new("(o)", openSession().constData()));
    const Variant value(g_variant_get_child_value(Variant(g_variant_get_child_value(reply.get(), 0)).get(), 2));
    gsize size = 0;
    const auto *bytes = static_cast<const char *>(g_variant_get_fixed_array(value.get(), &size, 1));
    return QByteArray(bytes, static_cast<qsizetype>(size));
}

bool PrivateKeyring::hasProvider() const
{
    const Variant reply = callBus("NameHasOwner");
    gboolean hasOwner = FALSE;
    g_variant_get(reply.get(), "(b)", &hasOwner);
    return hasOwner;
}

pid_t PrivateKeyring::providerPID() const
{
    const Variant reply = callBus("GetConnectionUnixProcessID");
    guint32 pid = 0;
    g_variant_get(reply.get(), "(u)", &pid);
    return static_cast<pid_t>(pid);
}

void PrivateKeyring::endProvider()
{
    ::kill(providerPID(), SIGKILL);
    blockUntil([this] { return !hasProvider(); });
}

void PrivateKeyring::startProvider()
{
    start({QStringLiteral("--unlock")});
}

void PrivateKeyring::startLockedProvider()
{
    start({});
}

void PrivateKeyring::start(const QStringList &arguments)
{
    if (m_provider.state() != QProcess::NotRunning) {
        m_provider.kill();
        m_provider.waitForFinished();
    }
    m_provider.setStandardInputFile(qEnvironmentVariable("VELMORA_KEYRING_PASSWORD_FILE"));
    m_provider.setStandardOutputFile(QProcess::nullDevice());
    m_provider.setStandardErrorFile(QProcess::nullDevice());
    m_provider.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_provider.start(QStringLiteral("gnome-keyring-daemon"),
        QStringList{QStringLiteral("--foreground"), QStringLiteral("--components=secrets")} + arguments);
    blockUntil([this] { return hasProvider(); });
    const auto hasDefaultKeyring = [] {
        const Variant reply = callService("ReadAlias", g_variant_new("(s)", "default"));
        const gchar *path = nullptr;
        g_variant_get(reply.get(), "(&o)", &path);
        return qstrcmp(path, "/") != 0;
    };
    blockUntil(hasDefaultKeyring);
}

} // namespace velmora::testing
