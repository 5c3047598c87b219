// SPDX-License-Identifier: MIT
#include "platform/linux/glib_network_watch.h"

#include "support/background.h"

#include <QPointer>

#include <gio/gio.h>

namespace velmora
{

/// Hears the process's one monitor for as long as it lives.
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

    GNetworkMonitor *m_monitor; ///< GLib's, for ever
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
    // Made without a context of its own, the monitor reports to the main one, wherever it is made.
    auto makeMonitor = [] {
        g_network_monitor_get_default();
    };
    co_await runInBackground(QThreadPool::globalInstance(), std::move(makeMonitor));
    if (self && !m_subscription)
        m_subscription = std::make_unique<Subscription>(this);
}

} // namespace velmora
