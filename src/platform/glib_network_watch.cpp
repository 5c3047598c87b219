// SPDX-License-Identifier: MIT
#include "platform/glib_network_watch.h"

#include "support/background.h"

#include <QPointer>

#include <gio/gio.h>

namespace velmora
{

/// A connection to the process's one monitor, for the lifetime of this object.
class GLibNetworkWatch::Subscription
{
public:
    explicit Subscription(GLibNetworkWatch *watch)
        : m_monitor(g_network_monitor_get_default())
        , m_handler(g_signal_connect(m_monitor, "network-changed", G_CALLBACK(&Subscription::forward), watch))
    {
    }
    ~Subscription() { g_signal_handler_disconnect(m_monitor, m_handler); }
    Subscription(const Subscription &) = delete;
    Subscription &operator=(const Subscription &) = delete;

private:
    static void forward(GNetworkMonitor *, gboolean isAvailable, gpointer watch)
    {
        Q_EMIT static_cast<GLibNetworkWatch *>(watch)->networkChanged(isAvailable != FALSE);
    }

    GNetworkMonitor *m_monitor; ///< owned by GLib, never destroyed
    gulong m_handler;
};

GLibNetworkWatch::GLibNetworkWatch(QObject *parent)
    : QObject(parent)
{
}

GLibNetworkWatch::~GLibNetworkWatch() = default;

QCoro::Task<> GLibNetworkWatch::start()
{
    const QPointer<GLibNetworkWatch> self(this);
    // The creating thread has no context of its own, so the monitor reports to the main one.
    auto makeMonitor = [] {
        g_network_monitor_get_default();
    };
    co_await runInBackground(QThreadPool::globalInstance(), std::move(makeMonitor));
    if (self && !m_subscription)
        m_subscription = std::make_unique<Subscription>(this);
}

} // namespace velmora
