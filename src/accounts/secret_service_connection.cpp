// SPDX-License-Identifier: MIT
#include "accounts/secret_service_connection.h"

#include "accounts/credential_store_error.h"
#include "platform/current_desktops.h"
#include "support/with_deadline.h"

#include <QString>

namespace velmora
{

namespace
{

constexpr const char *kServiceName = "org.freedesktop.secrets";
// KWallet provides the Secret Service, but the bus cannot start it under that name.
constexpr const char *kWalletNames[] = {"org.kde.kwalletd6", "org.kde.kwalletd5"};
constexpr const char *kBusName = "org.freedesktop.DBus";
constexpr const char *kBusPath = "/org/freedesktop/DBus";

struct VariantDeleter {
    void operator()(GVariant *variant) const { g_variant_unref(variant); }
};
using Variant = std::unique_ptr<GVariant, VariantDeleter>;

bool isKDE()
{
    return currentDesktops().contains(QLatin1String("KDE"));
}

[[noreturn]] void throwNoProvider()
{
    throw CredentialStoreError::keychain(CredentialStoreError::NoProvider);
}

CredentialStoreError::Status statusOf(const GError *error, Interaction interaction)
{
    if (g_error_matches(error, SECRET_ERROR, SECRET_ERROR_IS_LOCKED))
        return interaction == Interaction::Allowed ? CredentialStoreError::Dismissed : CredentialStoreError::Locked;
    for (const int ended : {G_DBUS_ERROR_NO_REPLY, G_DBUS_ERROR_DISCONNECTED, G_DBUS_ERROR_SERVICE_UNKNOWN,
             G_DBUS_ERROR_NAME_HAS_NO_OWNER}) {
        if (g_error_matches(error, G_DBUS_ERROR, ended))
            return CredentialStoreError::ProviderEnded;
    }
    if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CLOSED))
        return CredentialStoreError::ProviderEnded;
    if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT))
        return CredentialStoreError::NotAnswering;
    return CredentialStoreError::Failed;
}

void callBus(GDBusConnection *bus, const char *method, GVariant *parameters, int timeout, const GAnswer &answer)
{
    g_dbus_connection_call(bus, kBusName, kBusPath, kBusName, method, parameters, nullptr, G_DBUS_CALL_FLAGS_NONE,
        timeout, nullptr, settleAnswer, userDataFor(answer));
}

} // namespace

void settleAnswer([[maybe_unused]] GObject *source, GAsyncResult *result, gpointer data)
{
    const std::unique_ptr<GAnswer> answer(static_cast<GAnswer *>(data));
    answer->resolve(GReference<GAsyncResult>::share(result));
}

gpointer userDataFor(const GAnswer &answer)
{
    return std::make_unique<GAnswer>(answer).release();
}

void throwKeyringError(GError *error, Interaction interaction)
{
    if (!error)
        return;
    const auto status = statusOf(error, interaction);
    g_dbus_error_strip_remote_error(error);
    const QString detail = QString::fromUtf8(error->message);
    g_error_free(error);
    throw CredentialStoreError::keychain(status, detail);
}

SecretServiceConnection::~SecretServiceConnection()
{
    dropBus();
}

QCoro::Task<GReference<SecretService>> SecretServiceConnection::service(Self connection)
{
    co_await connectToBus(connection);
    // The bus delivers messages in order: after this reply, m_service of an earlier provider has been cleared.
    const QByteArray owner = co_await runningProvider(connection);
    if (connection->m_service && connection->m_owner == owner)
        co_return GReference<SecretService>(connection->m_service);
    const auto answer = connection->answerOfProvider();
    secret_service_open(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_NONE, nullptr, settleAnswer, userDataFor(answer));
    const auto result = co_await timelyAnswer(connection, answer);
    GError *error = nullptr;
    const auto opened = GReference<SecretService>::adopt(secret_service_open_finish(result, &error));
    throwKeyringError(error, Interaction::Forbidden);
    connection->m_service = opened;
    connection->m_owner = owner;
    co_return opened;
}

GAnswer SecretServiceConnection::answerOfProvider()
{
    std::erase_if(m_pending, [](const GAnswer &answer) { return answer.isSettled(); });
    return m_pending.emplace_back();
}

QCoro::Task<GReference<GAsyncResult>> SecretServiceConnection::timelyAnswer(Self connection, GAnswer answer)
{
    auto result = co_await withDeadline(answer, connection->m_patience);
    if (!result)
        throw CredentialStoreError::keychain(CredentialStoreError::NotAnswering);
    co_return std::move(*result);
}

QCoro::Task<> SecretServiceConnection::connectToBus(Self self)
{
    if (self->m_bus && g_dbus_connection_is_closed(self->m_bus))
        self->dropBus();
    if (self->m_bus)
        co_return;
    const GAnswer answer;
    g_bus_get(G_BUS_TYPE_SESSION, nullptr, settleAnswer, userDataFor(answer));
    const auto result = co_await answer;
    const auto bus = GReference<GDBusConnection>::adopt(g_bus_get_finish(result, nullptr));
    if (!bus || g_dbus_connection_is_closed(bus))
        throwNoProvider();
    if (!self->m_bus)
        self->adoptBus(bus);
}

QCoro::Task<QByteArray> SecretServiceConnection::ownerOfName(Self self)
{
    const GReference<GDBusConnection> bus = self->m_bus;
    const GAnswer answer;
    callBus(bus, "GetNameOwner", g_variant_new("(s)", kServiceName), self->timeout(), answer);
    const auto result = co_await answer;
    // An error means that the name has no owner.
    const Variant reply(g_dbus_connection_call_finish(bus, result, nullptr));
    QByteArray owner;
    if (reply) {
        const gchar *name = nullptr;
        g_variant_get(reply.get(), "(&s)", &name);
        owner = name;
    }
    co_return owner;
}

QCoro::Task<bool> SecretServiceConnection::startProvider(Self self, const char *name)
{
    const GReference<GDBusConnection> bus = self->m_bus;
    const GAnswer answer;
    callBus(bus, "StartServiceByName", g_variant_new("(su)", name, 0U), self->timeout(), answer);
    const auto result = co_await answer;
    const Variant reply(g_dbus_connection_call_finish(bus, result, nullptr));
    co_return reply != nullptr;
}

QCoro::Task<QByteArray> SecretServiceConnection::runningProvider(Self self)
{
    QByteArray owner = co_await ownerOfName(self);
    if (!owner.isEmpty())
        co_return owner;
    bool isStarted = co_await startProvider(self, kServiceName);
    for (const char *wallet : kWalletNames) {
        if (!isStarted && isKDE())
            isStarted = co_await startProvider(self, wallet);
    }
    if (isStarted)
        owner = co_await startedProvider(self);
    if (owner.isEmpty())
        throwNoProvider();
    co_return owner;
}

/// The owner of the name, empty if it stays without one. KWallet counts as started when it owns its own name, a moment
/// before it owns this one.
QCoro::Task<QByteArray> SecretServiceConnection::startedProvider(Self self)
{
    const OneShot<> arrival = self->m_arrivals.emplace_back();
    QByteArray owner = co_await ownerOfName(self);
    if (!owner.isEmpty())
        co_return owner;
    const bool hasArrived = co_await withDeadline(arrival, self->m_patience);
    if (hasArrived)
        owner = co_await ownerOfName(self);
    co_return owner;
}

void SecretServiceConnection::ownerChanged(
    GDBusConnection *, const gchar *, const gchar *, const gchar *, const gchar *, GVariant *parameters, gpointer data)
{
    const gchar *name = nullptr;
    const gchar *oldOwner = nullptr;
    const gchar *newOwner = nullptr;
    g_variant_get(parameters, "(&s&s&s)", &name, &oldOwner, &newOwner);
    // A resumed coroutine may release the connection.
    const Self self = static_cast<SecretServiceConnection *>(data)->shared_from_this();
    if (*oldOwner != '\0')
        self->endPendingAnswers();
    if (*newOwner == '\0')
        return;
    const auto arrivals = std::exchange(self->m_arrivals, {});
    for (const OneShot<> &arrival : arrivals)
        arrival.resolve();
}

void SecretServiceConnection::busClosed(GDBusConnection *, gboolean, GError *, gpointer data)
{
    const Self self = static_cast<SecretServiceConnection *>(data)->shared_from_this();
    self->endPendingAnswers();
}

void SecretServiceConnection::adoptBus(GReference<GDBusConnection> bus)
{
    // The process must survive the end of the session bus.
    g_dbus_connection_set_exit_on_close(bus, FALSE);
    m_subscription = g_dbus_connection_signal_subscribe(bus, kBusName, kBusName, "NameOwnerChanged", kBusPath,
        kServiceName, G_DBUS_SIGNAL_FLAGS_NONE, ownerChanged, this, nullptr);
    m_closedHandler = g_signal_connect(
        static_cast<GDBusConnection *>(bus), "closed", G_CALLBACK(&SecretServiceConnection::busClosed), this);
    m_bus = std::move(bus);
}

void SecretServiceConnection::dropBus()
{
    if (m_bus) {
        g_dbus_connection_signal_unsubscribe(m_bus, std::exchange(m_subscription, 0U));
        g_signal_handler_disconnect(m_bus, std::exchange(m_closedHandler, 0UL));
    }
    m_bus = {};
    endPendingAnswers();
}

void SecretServiceConnection::endPendingAnswers()
{
    m_service = {};
    m_owner.clear();
    m_reluctantWallets.clear();
    const auto pending = std::exchange(m_pending, {});
    for (const GAnswer &answer : pending)
        answer.fail(std::make_exception_ptr(CredentialStoreError::keychain(CredentialStoreError::ProviderEnded)));
}

} // namespace velmora
