// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/http_message.h"

#include <QJsonArray>

#include <deque>

namespace velmora::simulator
{

/// A request that was received, and its outcome.
struct LoggedRequest {
    quint64 number = 0; ///< counts from 1
    Request request;
    int status = 0; ///< 0 until it is answered
    int unanswered = 0; ///< the number of earlier requests with the same token that were still open on arrival
    bool isOpen = true; ///< neither answered nor given up by the client
};

/// The latest requests, bounded in number and in the size of bodies. Requests to the control endpoint are not logged.
class RequestLog
{
public:
    static constexpr std::size_t kMostEntries = 5'000;
    static constexpr qsizetype kMostBodyBytes = 64 * 1024;

    /// Logs a request and returns its number for finish().
    quint64 begin(const Request &request);
    /// Marks the request as answered with the status, or as abandoned (status 0). Ignores an unknown number.
    void finish(quint64 number, int status);
    void clear() { m_entries.clear(); }
    [[nodiscard]] const std::deque<LoggedRequest> &entries() const { return m_entries; }
    [[nodiscard]] QJsonArray toJSON() const;

private:
    std::deque<LoggedRequest> m_entries;
    quint64 m_next = 1;
};

} // namespace velmora::simulator
