// SPDX-License-Identifier: MIT
#pragma once

#include "http/proxy.h"

#include <QCoroTask>

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>

namespace velmora
{

/// Finds the proxy for an address, and remembers it for a while.
///
/// Asks the environment, then the system. The system may run a script from the network, so it is asked on another
/// thread. An address on this machine never has a proxy.
class ProxyLookup
{
public:
    /// Returns the system's proxy for an address. Called on another thread, one call at a time.
    using SystemQuery = std::function<Proxy(const QUrl &)>;

    ProxyLookup();
    explicit ProxyLookup(SystemQuery systemQuery, std::chrono::milliseconds rememberedFor = std::chrono::minutes(1));
    ~ProxyLookup();
    ProxyLookup(const ProxyLookup &) = delete;
    ProxyLookup &operator=(const ProxyLookup &) = delete;

    /// The proxy for the address. Throws a TransportError if the environment names an unusable one, the system does not
    /// answer within `patience`, or abandon() is called. Throws a CancellationError if the stop is requested.
    [[nodiscard]] QCoro::Task<Proxy> proxyFor(QUrl url, std::chrono::milliseconds patience, std::stop_token stop) const;

    /// The last result for the address, without a new lookup; "no proxy" if there is none.
    [[nodiscard]] Proxy lastKnown(const QUrl &url) const;

    /// Whether any lookup of the process is still waiting for the system. Its query cannot be cancelled, and
    /// the end of the process waits for it.
    [[nodiscard]] static bool isAskingSystem();

    /// Fails all waiting proxyFor() calls on the spot. Later calls ask again.
    void abandon();

private:
    struct State;
    static QCoro::Task<> ask(std::shared_ptr<State> state, QString origin);

    std::shared_ptr<State> m_state;
};

} // namespace velmora
