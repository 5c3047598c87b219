// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/http_message.h"

#include <QJsonArray>

#include <deque>

namespace velmora::simulator
{

/// One request that arrived, and what became of it.
struct LoggedRequest {
    quint64 number = 0; ///< counts from 1
    Request request;
    int status = 0; ///< 0 while nothing was answered
    int unanswered = 0; ///< how many requests with the same token had no answer yet when it arrived
    bool isOpen = true; ///< neither answered nor given up by the client
};

/// The latest requests, bounded in number and in the size of their bodies; those of the control endpoint
/// are left out.
class RequestLog
{
public:
    static constexpr std::size_t kMostEntries = 5'000;
    static constexpr qsizetype kMostBodyBytes = 64 * 1024;

    /// Notes a request; the result is its number, for finish().
    quint64 begin(const Request &request);
    /// The request was answered with that status, or given up (status 0). An unknown number is ignored.
    void finish(quint64 number, int status);
    void clear() { m_entries.clear(); }
    [[nodiscard]] const std::deque<LoggedRequest> &entries() const { return m_entries; }
    [[nodiscard]] QJsonArray toJSON() const;

private:
    std::deque<LoggedRequest> m_entries;
    quint64 m_next = 1;
};

} // namespace velmora::simulator
