// SPDX-License-Identifier: MIT
#include "http/transfers.h"

#include <QSocketNotifier>

namespace velmora
{

namespace
{

constexpr long kMostConnectionsToAHost = 6;

CURLM *makeMulti()
{
    [[maybe_unused]] static const CURLcode once = ::curl_global_init(CURL_GLOBAL_DEFAULT);
    return ::curl_multi_init();
}

} // namespace

/// What curl waits for at one of its sockets.
struct Transfers::Watch {
    Watch(Transfers *transfers, curl_socket_t socket)
        : readable(new QSocketNotifier(socket, QSocketNotifier::Read, transfers))
        , writable(new QSocketNotifier(socket, QSocketNotifier::Write, transfers))
    {
        connect(readable, &QSocketNotifier::activated, transfers,
            [transfers, socket] { transfers->act(socket, CURL_CSELECT_IN); });
        connect(writable, &QSocketNotifier::activated, transfers,
            [transfers, socket] { transfers->act(socket, CURL_CSELECT_OUT); });
    }
    ~Watch()
    {
        waitFor(CURL_POLL_NONE);
        // One of them may have called curl just now.
        readable->deleteLater();
        writable->deleteLater();
    }
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;

    void waitFor(int events) const
    {
        readable->setEnabled((events & CURL_POLL_IN) != 0);
        writable->setEnabled((events & CURL_POLL_OUT) != 0);
    }

    QSocketNotifier *readable;
    QSocketNotifier *writable;
};

Transfers::Transfers()
    : m_multi(makeMulti())
{
    ::curl_multi_setopt(m_multi, CURLMOPT_SOCKETFUNCTION, &Transfers::watchSocket);
    ::curl_multi_setopt(m_multi, CURLMOPT_SOCKETDATA, this);
    ::curl_multi_setopt(m_multi, CURLMOPT_TIMERFUNCTION, &Transfers::startTimer);
    ::curl_multi_setopt(m_multi, CURLMOPT_TIMERDATA, this);
    ::curl_multi_setopt(m_multi, CURLMOPT_MAX_HOST_CONNECTIONS, kMostConnectionsToAHost);
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] { act(CURL_SOCKET_TIMEOUT, 0); });
}

Transfers::~Transfers()
{
    ::curl_multi_cleanup(m_multi);
}

void Transfers::add(CURL *transfer, Ended ended)
{
    m_underWay.insert(transfer, std::move(ended));
    ::curl_multi_add_handle(m_multi, transfer);
}

void Transfers::remove(CURL *transfer)
{
    if (m_underWay.remove(transfer))
        ::curl_multi_remove_handle(m_multi, transfer);
}

int Transfers::watchSocket(CURL *, curl_socket_t socket, int events, void *self, void *)
{
    auto *const transfers = static_cast<Transfers *>(self);
    if (events == CURL_POLL_REMOVE) {
        transfers->m_watches.remove(socket);
        return 0;
    }
    auto &watch = transfers->m_watches[socket];
    if (!watch)
        watch = std::make_shared<Watch>(transfers, socket);
    watch->waitFor(events);
    return 0;
}

int Transfers::startTimer(CURLM *, long milliseconds, void *self)
{
    QTimer &timer = static_cast<Transfers *>(self)->m_timer;
    if (milliseconds < 0)
        timer.stop();
    else
        timer.start(static_cast<int>(milliseconds));
    return 0;
}

void Transfers::act(curl_socket_t socket, int events)
{
    int running = 0;
    ::curl_multi_socket_action(m_multi, socket, events, &running);
    int queued = 0;
    while (const CURLMsg *const message = ::curl_multi_info_read(m_multi, &queued)) {
        CURL *const transfer = message->easy_handle;
        const CURLcode result = message->data.result;
        ::curl_multi_remove_handle(m_multi, transfer);
        if (const Ended ended = m_underWay.take(transfer))
            ended(result);
    }
}

} // namespace velmora
