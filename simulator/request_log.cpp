// SPDX-License-Identifier: MIT
#include "simulator/request_log.h"

namespace velmora::simulator
{

using namespace Qt::Literals::StringLiterals;

quint64 RequestLog::begin(const Request &request)
{
    LoggedRequest entry{.number = m_next++, .request = request};
    entry.request.body.truncate(kMostBodyBytes);
    const QString token = request.token();
    if (!token.isEmpty()) {
        entry.unanswered = int(std::count_if(m_entries.begin(), m_entries.end(),
            [&](const LoggedRequest &other) { return other.isOpen && other.request.token() == token; }));
    }
    m_entries.push_back(std::move(entry));
    if (m_entries.size() > kMostEntries)
        m_entries.pop_front();
    return m_entries.back().number;
}

void RequestLog::finish(quint64 number, int status)
{
    for (auto entry = m_entries.rbegin(); entry != m_entries.rend(); ++entry) {
        if (entry->number != number)
            continue;
        entry->isOpen = false;
        entry->status = status;
        return;
    }
}

QJsonArray RequestLog::toJSON() const
{
    QJsonArray list;
    for (const LoggedRequest &entry : m_entries) {
        QJsonArray headers;
        for (const Header &header : entry.request.headers)
            headers.append(QJsonArray{QString::fromUtf8(header.name), QString::fromUtf8(header.value)});
        list.append(QJsonObject{{u"number"_s, qint64(entry.number)},
            {u"method"_s, QString::fromUtf8(entry.request.method)}, {u"path"_s, QString::fromUtf8(entry.request.path)},
            {u"query"_s, QString::fromUtf8(entry.request.query)}, {u"headers"_s, headers},
            {u"body"_s, QString::fromUtf8(entry.request.body)}, {u"status"_s, entry.status},
            {u"unanswered"_s, entry.unanswered}});
    }
    return list;
}

} // namespace velmora::simulator
