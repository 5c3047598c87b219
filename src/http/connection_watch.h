// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>

namespace velmora
{

/// Ends connections that keep Qt Network busy without delivering anything.
///
/// Qt reads the head of a response, and the length of a chunk, to its end in one go, on a thread of its own and without
/// a limit. While the server goes on sending, that thread takes a whole processor, heeds no abort, and delays the end
/// of the program by five seconds. Only the end of the connection stops it. Qt does not tell which connection a reply
/// uses, so the watch compares what the kernel has received over each of them with the bodies that arrived.
class ConnectionWatch
{
public:
    /// In bytes: more without a body is no response.
    static constexpr quint64 kMostWithoutBody = 512 * 1024;

    /// Watches the connections of this process to the port of the server or the proxy.
    explicit ConnectionWatch(quint16 port)
        : m_port(port)
    {
    }

    /// Counts bytes of a body that has arrived over any connection of the process. Compressed ones count as unpacked.
    static void countBody(qint64 bytes) { s_bodies += static_cast<quint64>(bytes); }

    /// Whether a connection has received more than allowed() since the first call.
    [[nodiscard]] bool isFlooded();
    /// In bytes: what may come over one connection since the first call of isFlooded(), with the bodies that have come.
    [[nodiscard]] quint64 allowed() const;

    /// Ends the connections that have received more than `most` bytes since isFlooded() was first called, or since they
    /// were made. Qt then sends a request again unless its reply was aborted before.
    void endLargerThan(quint64 most) const;

private:
    /// The bytes received, by the number of the socket's file.
    using Received = QHash<quint64, quint64>;

    static inline quint64 s_bodies = 0;

    [[nodiscard]] quint64 receivedSince(int connection) const;

    quint16 m_port;
    bool m_hasLooked = false;
    Received m_atFirst;
    quint64 m_bodiesAtFirst = 0;
};

} // namespace velmora
