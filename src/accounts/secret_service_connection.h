// SPDX-License-Identifier: MIT
#pragma once

// Private to the credential store: keeps libsecret and GIO out of other files.
// The calls by object paths have not changed since they were made, but need these words.
#define SECRET_WITH_UNSTABLE
#define SECRET_API_SUBJECT_TO_CHANGE
#include <libsecret/secret.h>

#include "accounts/credential_storing.h"
#include "support/async_mutex.h"
#include "support/one_shot.h"

#include <QByteArray>
#include <QCoroTask>
#include <QSet>

#include <chrono>
#include <memory>
#include <vector>

namespace velmora
{

/// A counted reference to a GLib object.
template <typename T>
class GReference
{
public:
    GReference() = default;
    /// Takes over a reference that the caller owns.
    static GReference adopt(T *object) { return GReference(object); }
    /// Adds a reference.
    static GReference share(T *object)
    {
        if (object)
            g_object_ref(object);
        return GReference(object);
    }
    GReference(const GReference &other)
        : GReference(share(other.m_object))
    {
    }
    GReference(GReference &&other) noexcept
        : m_object(std::exchange(other.m_object, nullptr))
    {
    }
    GReference &operator=(GReference other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~GReference()
    {
        if (m_object)
            g_object_unref(m_object);
    }

    // NOLINTNEXTLINE: GLib's functions take plain pointers everywhere.
    operator T *() const { return m_object; }

private:
    explicit GReference(T *object)
        : m_object(object)
    {
    }

    T *m_object = nullptr;
};

/// The result of an asynchronous GLib function.
using GAnswer = OneShot<GReference<GAsyncResult>>;

/// The GAsyncReadyCallback of every call.
void settleAnswer(GObject *source, GAsyncResult *result, gpointer data);
/// The user data for settleAnswer().
[[nodiscard]] gpointer userDataFor(const GAnswer &answer);

/// Throws the CredentialStoreError for the error, which it frees. Does nothing if `error` is null.
void throwKeyringError(GError *error, Interaction interaction);

/// The connection to the Secret Service of the session: finds its provider, starts it if needed, and notices its end.
/// For one thread, with GLib's main loop below the event loop. Operations keep it alive.
class SecretServiceConnection final : public std::enable_shared_from_this<SecretServiceConnection>
{
public:
    /// `patience`: the longest time for an answer of the provider that needs no user.
    explicit SecretServiceConnection(std::chrono::milliseconds patience)
        : m_patience(patience)
    {
    }
    SecretServiceConnection(const SecretServiceConnection &) = delete;
    SecretServiceConnection &operator=(const SecretServiceConnection &) = delete;
    ~SecretServiceConnection();

    /// The service of the current provider. Throws CredentialStoreError: NoProvider, NotAnswering and others.
    [[nodiscard]] static QCoro::Task<GReference<SecretService>> service(
        std::shared_ptr<SecretServiceConnection> connection);

    /// Makes the next operation open a new session, with other encryption keys.
    void renewSession() { m_service = {}; }

    /// For a call to the provider. Fails with ProviderEnded if the provider ends, since libsecret's callback may then
    /// never come. Calls are not cancelled instead, since cancelling a prompt crashes gnome-keyring.
    [[nodiscard]] GAnswer answerOfProvider();
    /// The provider's answer to a call that asks the user nothing. Throws NotAnswering after the patience.
    [[nodiscard]] static QCoro::Task<GReference<GAsyncResult>> timelyAnswer(
        std::shared_ptr<SecretServiceConnection> connection, GAnswer answer);

    [[nodiscard]] std::chrono::milliseconds patience() const { return m_patience; }
    /// Held during a question to the user.
    [[nodiscard]] const AsyncMutex &questions() const { return m_questions; }
    /// Held while wallets are opened without a question.
    [[nodiscard]] const AsyncMutex &openings() const { return m_openings; }
    /// How many requests to unlock the user has declined.
    [[nodiscard]] int dismissals() const { return m_dismissals; }
    void recordDismissal() { ++m_dismissals; }
    /// The paths of wallets that unexpectedly did not open without a question. Cleared when the provider ends.
    [[nodiscard]] QSet<QByteArray> &reluctantWallets() { return m_reluctantWallets; }

private:
    using Self = std::shared_ptr<SecretServiceConnection>;

    static QCoro::Task<> connectToBus(Self self);
    [[nodiscard]] int timeout() const { return static_cast<int>(m_patience.count()); }
    static QCoro::Task<QByteArray> ownerOfName(Self self);
    static QCoro::Task<bool> startProvider(Self self, const char *name);
    static QCoro::Task<QByteArray> runningProvider(Self self);
    static QCoro::Task<QByteArray> startedProvider(Self self);
    static void ownerChanged(GDBusConnection *bus, const gchar *sender, const gchar *path, const gchar *interface,
        const gchar *signal, GVariant *parameters, gpointer data);

    static void busClosed(GDBusConnection *bus, gboolean remotely, GError *error, gpointer data);

    void adoptBus(GReference<GDBusConnection> bus);
    void dropBus();
    void endPendingAnswers();

    GReference<GDBusConnection> m_bus;
    guint m_subscription = 0;
    gulong m_closedHandler = 0;
    GReference<SecretService> m_service;
    QByteArray m_owner; ///< the unique name of the provider behind m_service
    std::vector<GAnswer> m_pending;
    std::vector<OneShot<>> m_arrivals; ///< of the next provider
    std::chrono::milliseconds m_patience;
    AsyncMutex m_questions;
    AsyncMutex m_openings;
    int m_dismissals = 0;
    QSet<QByteArray> m_reluctantWallets;
};

} // namespace velmora
