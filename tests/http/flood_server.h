// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QUrl>

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace velmora::testing
{

/// A server that answers each request with a beginning and then repeats a block for as long as the client reads. It
/// works on a thread of its own, so that it goes on while the main thread waits.
class FloodServer
{
public:
    FloodServer(QByteArray beginning, QByteArray block)
        : m_beginning(std::move(beginning))
        , m_block(std::move(block))
        , m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        m_address.sin_family = AF_INET;
        m_address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof m_address;
        ::bind(m_listener, reinterpret_cast<const sockaddr *>(&m_address), size);
        ::listen(m_listener, 8);
        ::getsockname(m_listener, reinterpret_cast<sockaddr *>(&m_address), &size);
        m_thread = std::thread([this] { serve(); });
    }
    ~FloodServer()
    {
        m_isEnding = true;
        m_thread.join();
        ::close(m_listener);
    }
    FloodServer(const FloodServer &) = delete;
    FloodServer &operator=(const FloodServer &) = delete;

    [[nodiscard]] QUrl url() const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(::ntohs(m_address.sin_port)));
    }
    /// The bytes that the clients, or the kernel for them, have taken.
    [[nodiscard]] qint64 sent() const { return m_sent; }
    /// Whether a client has taken nothing for a while.
    [[nodiscard]] bool isHeldUp() const { return m_isHeldUp; }
    /// How many connections the clients have ended.
    [[nodiscard]] int ended() const { return m_ended; }

private:
    [[nodiscard]] static bool isReady(int descriptor, short event, int milliseconds)
    {
        pollfd wait{descriptor, event, 0};
        return ::poll(&wait, 1, milliseconds) > 0;
    }

    void serve()
    {
        while (!m_isEnding) {
            if (!isReady(m_listener, POLLIN, 20))
                continue;
            const int client = ::accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
            flood(client);
            ::close(client);
        }
    }

    void flood(int client)
    {
        std::array<char, 8192> request{};
        while (!m_isEnding && !isReady(client, POLLIN, 20)) { }
        std::ignore = ::recv(client, request.data(), request.size(), 0);
        QByteArray rest = m_beginning;
        while (!m_isEnding) {
            // Half a second without a byte is no proof, but a client that reads without a limit is never held up.
            constexpr int kHeldUp = 500;
            if (!isReady(client, POLLOUT, kHeldUp)) {
                m_isHeldUp = true;
                continue;
            }
            const auto count = ::send(client, rest.constData(), static_cast<size_t>(rest.size()), MSG_NOSIGNAL);
            if (count < 0 && errno != EAGAIN)
                break;
            m_sent += std::max<qint64>(count, 0);
            rest.remove(0, std::max<qint64>(count, 0));
            if (rest.isEmpty())
                rest = m_block;
        }
        ++m_ended;
    }

    QByteArray m_beginning;
    QByteArray m_block;
    int m_listener;
    sockaddr_in m_address{};
    std::atomic<bool> m_isEnding = false;
    std::atomic<bool> m_isHeldUp = false;
    std::atomic<qint64> m_sent = 0;
    std::atomic<int> m_ended = 0;
    std::thread m_thread;
};

} // namespace velmora::testing
