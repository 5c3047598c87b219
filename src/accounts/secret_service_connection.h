// SPDX-License-Identifier: MIT
#pragma once

// Private to the credential store: libsecret and GIO stay behind it.
#include <libsecret/secret.h>

#include "accounts/credential_storing.h"
#include "support/one_shot.h"

#include <QByteArray>
#include <QCoroTask>

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

/// What an asynchronous GLib function will answer.
using GAnswer = OneShot<GReference<GAsyncResult>>;

/// The GAsyncReadyCallback of every call.
void settleAnswer(GObject *source, GAsyncResult *result, gpointer data);
/// The user data that goes with settleAnswer().
[[nodiscard]] gpointer settles(const GAnswer &answer);

/// Throws the CredentialStoreError that the failure stands for and frees it; does nothing when there is none.
void throwKeyringError(GError *error, Interaction interaction);

/// The way to the Secret Service of the session: finds its provider, starts it if need be, notices its
/// end. One thread, with GLib's main loop below the event loop. Lives on while an operation uses it.
class SecretServiceConnection final : public std::enable_shared_from_this<SecretServiceConnection>
{
public:
    SecretServiceConnection() = default;
    SecretServiceConnection(const SecretServiceConnection &) = delete;
    SecretServiceConnection &operator=(const SecretServiceConnection &) = delete;
    ~SecretServiceConnection();

    /// The service of the provider that runs now. Throws CredentialStoreError, NoProvider among them.
    [[nodiscard]] static QCoro::Task<GReference<SecretService>> service(
        std::shared_ptr<SecretServiceConnection> connection);

    /// For a call to the provider: fails with ProviderEnded when the provider ends, for then libsecret's
    /// callback may never come. Nothing is ever cancelled instead: cancelling a prompt brings gnome-keyring down.
    [[nodiscard]] GAnswer answerOfProvider();

private:
    using Self = std::shared_ptr<SecretServiceConnection>;

    static QCoro::Task<> connectToBus(Self self);
    static QCoro::Task<QByteArray> ownerOfName(Self self);
    static QCoro::Task<bool> startProvider(Self self, const char *name);
    static QCoro::Task<QByteArray> runningProvider(Self self);
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
    QByteArray m_owner; ///< the unique name of the provider that m_service talks to
    std::vector<GAnswer> m_pending;
};

} // namespace velmora
