// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QNetworkProxy>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>

namespace velmora
{

/// Finds out through which proxy an address is reached, and remembers it for a while.
///
/// The environment is asked first, then the system. The system may have to run a script from the network for its
/// answer, so it is asked on another thread. An address on this machine is reached directly, whatever they say.
class ProxyLookup
{
public:
    /// Answers for an address; called on a thread of its own, one call at a time.
    using SystemQuery = std::function<QNetworkProxy(const QUrl &)>;

    ProxyLookup();
    explicit ProxyLookup(SystemQuery systemQuery, std::chrono::milliseconds rememberedFor = std::chrono::minutes(1));
    ~ProxyLookup();
    ProxyLookup(const ProxyLookup &) = delete;
    ProxyLookup &operator=(const ProxyLookup &) = delete;

    /// The proxy for the address. Throws a TransportError when the environment names none that can be used, the system
    /// does not answer within `patience` or abandon() was called, and a CancellationError when the stop is requested.
    [[nodiscard]] QCoro::Task<QNetworkProxy> proxyFor(
        QUrl url, std::chrono::milliseconds patience, std::stop_token stop) const;

    /// What was found out last for the address, without asking; directly when nothing was.
    [[nodiscard]] QNetworkProxy lastKnown(const QUrl &url) const;

    /// Whether a question to the system is still open, asked by any lookup of the process. Such a question cannot be
    /// taken back, and Qt waits for its answer at the end of the process.
    [[nodiscard]] static bool isAskingSystem();

    /// Fails whoever waits for an answer, on the spot, and asks anew the next time.
    void abandon();

private:
    struct State;
    static QCoro::Task<> ask(std::shared_ptr<State> state, QString origin);
    static QCoro::Task<QNetworkProxy> answer(
        std::shared_ptr<State> state, QUrl url, std::chrono::milliseconds patience, std::stop_token stop);

    std::shared_ptr<State> m_state;
};

} // namespace velmora
