// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QObject>
#include <QTimer>

#include <curl/curl.h>

#include <functional>
#include <memory>

class QSocketNotifier;

namespace velmora
{

/// Runs transfers of libcurl in the event loop, and holds their connections. No threads but for the names of hosts.
class Transfers final : public QObject
{
public:
    /// Called from the event loop, once for each transfer that ends by itself.
    using Ended = std::function<void(CURLcode)>;

    Transfers();
    /// No transfer may be left.
    ~Transfers() override;

    /// Starts the transfer from the event loop. It is not owned; remove it before it is destroyed.
    void add(CURL *transfer, Ended ended);
    /// Ends the transfer if it is under way, and closes its connection then. Never call this from its callbacks.
    void remove(CURL *transfer);

private:
    struct Watch;

    static int watchSocket(CURL *transfer, curl_socket_t socket, int events, void *self, void *watch);
    static int startTimer(CURLM *multi, long milliseconds, void *self);
    void act(curl_socket_t socket, int events);

    CURLM *m_multi;
    QTimer m_timer;
    QHash<curl_socket_t, std::shared_ptr<Watch>> m_watches;
    QHash<CURL *, Ended> m_underWay;
};

} // namespace velmora
