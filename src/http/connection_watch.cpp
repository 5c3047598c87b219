// SPDX-License-Identifier: MIT
#include "http/connection_watch.h"

#include <QDir>

#include <arpa/inet.h>
#include <fcntl.h>
#include <functional>
#include <linux/tcp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmora
{

namespace
{

/// A file of this process that stays the same while it is looked at, though Qt's thread may close its own.
class SharedFile
{
public:
    explicit SharedFile(int original)
        : m_descriptor(::fcntl(original, F_DUPFD_CLOEXEC, 0))
    {
    }
    ~SharedFile()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    SharedFile(const SharedFile &) = delete;
    SharedFile &operator=(const SharedFile &) = delete;

    [[nodiscard]] int descriptor() const { return m_descriptor; }

private:
    int m_descriptor;
};

/// 0 where the file is no connection over IP.
quint16 peerPort(int descriptor)
{
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (::getpeername(descriptor, reinterpret_cast<sockaddr *>(&address), &size) != 0)
        return 0;
    if (address.ss_family == AF_INET)
        return ntohs(reinterpret_cast<const sockaddr_in &>(address).sin_port);
    if (address.ss_family == AF_INET6)
        return ntohs(reinterpret_cast<const sockaddr_in6 &>(address).sin6_port);
    return 0;
}

quint64 fileNumber(int descriptor)
{
    struct stat status {
    };
    ::fstat(descriptor, &status);
    return status.st_ino;
}

quint64 receivedBytes(int descriptor)
{
    tcp_info info{};
    socklen_t size = sizeof info;
    ::getsockopt(descriptor, IPPROTO_TCP, TCP_INFO, &info, &size);
    return info.tcpi_bytes_received;
}

/// Ends a connection at once, with what has not been read. After shutdown() the server would be held up for long.
void reset(int descriptor)
{
    sockaddr nobody{};
    nobody.sa_family = AF_UNSPEC;
    ::connect(descriptor, &nobody, sizeof nobody);
}

void forEachConnection(quint16 port, const std::function<void(int)> &take)
{
    const QStringList names = QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System);
    for (const QString &name : names) {
        const SharedFile file(name.toInt());
        if (port != 0 && peerPort(file.descriptor()) == port)
            take(file.descriptor());
    }
}

} // namespace

bool ConnectionWatch::isFlooded()
{
    if (!m_hasLooked) {
        m_hasLooked = true;
        m_bodiesAtFirst = s_bodies;
        forEachConnection(
            m_port, [this](int connection) { m_atFirst.insert(fileNumber(connection), receivedBytes(connection)); });
        return false;
    }
    bool isFlooded = false;
    forEachConnection(m_port, [&](int connection) { isFlooded = isFlooded || receivedSince(connection) > allowed(); });
    return isFlooded;
}

quint64 ConnectionWatch::allowed() const
{
    // A server may send a byte of a body in a chunk of its own, which takes six.
    constexpr quint64 kDearestByte = 8;
    return kMostWithoutBody + kDearestByte * (s_bodies - m_bodiesAtFirst);
}

void ConnectionWatch::endLargerThan(quint64 most) const
{
    forEachConnection(m_port, [this, most](int connection) {
        if (receivedSince(connection) > most)
            reset(connection);
    });
}

quint64 ConnectionWatch::receivedSince(int connection) const
{
    return receivedBytes(connection) - m_atFirst.value(fileNumber(connection));
}

} // namespace velmora
