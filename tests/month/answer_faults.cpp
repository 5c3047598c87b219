// SPDX-License-Identifier: MIT
#include "answer_faults.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace velmora::testing
{

using namespace Qt::Literals::StringLiterals;

namespace
{

constexpr auto kGraphQL = "/graphql";
constexpr auto kFarFuture = "32472144000"; ///< the year 2999

/// Makes the answer say that less than nothing is left of the quota, for ages.
void removePoints(simulator::Response &response)
{
    const qsizetype begin = response.body.lastIndexOf(R"("rateLimit":{)");
    if (response.status != 200 || begin < 0)
        return;
    const qsizetype end = response.body.indexOf('}', begin) + 1;
    response.body.replace(
        begin, end - begin, R"("rateLimit":{"cost":1,"remaining":-5,"resetAt":"2999-01-01T00:00:00Z"})");
    response.headers.removeIf([](const simulator::Header &header) { return header.name.startsWith("X-RateLimit"); });
    response.headers.append({{"X-RateLimit-Remaining", "-5"}, {"X-RateLimit-Reset", kFarFuture}});
}

} // namespace

AnswerFaults::AnswerFaults(const MonthClock *clock, const simulator::Simulator *simulator, quint64 seed)
    : m_clock(clock)
    , m_simulator(simulator)
    , m_random(seed)
{
}

std::optional<simulator::MisbehaviourRule> AnswerFaults::draw(const simulator::Request &request, const QString &login)
{
    m_current.reset();
    m_faults.removeIf([this](const MonthFault &fault) { return fault.times == 0 || fault.until < m_clock->truth(); });
    for (MonthFault &fault : m_faults) {
        if (!request.path.startsWith(fault.path) || (!fault.login.isEmpty() && fault.login != login))
            continue;
        --fault.times;
        m_current = fault.fault;
        switch (fault.fault) {
        case AnswerFault::Status:
        case AnswerFault::Unauthorized:
        case AnswerFault::Refused:
        case AnswerFault::Page:
        case AnswerFault::Redirected:
        case AnswerFault::Limited:
            return refusal(fault.fault, request);
        case AnswerFault::Absurd:
            if (request.path == kGraphQL && m_random.chance(50))
                return std::nullopt;
            return refusal(fault.fault, request);
        default:
            return std::nullopt;
        }
    }
    return std::nullopt;
}

/// The rule for an answer whose request has no effect.
simulator::MisbehaviourRule AnswerFaults::refusal(AnswerFault fault, const simulator::Request &request)
{
    static const QList<int> statuses{
        204, 400, 402, 403, 404, 406, 408, 409, 410, 418, 422, 429, 451, 500, 501, 502, 503, 504, 520, 599};
    simulator::MisbehaviourRule rule;
    rule.status = m_random.pick(statuses);
    if (fault == AnswerFault::Unauthorized) {
        rule.status = 401;
    } else if (fault == AnswerFault::Refused) {
        rule.delivery.close = simulator::Delivery::Close::Before;
    } else if (fault == AnswerFault::Page) {
        rule.status = m_random.chance(70) ? 200 : 511;
        rule.headers = {{"Content-Type", "text/html"}};
        rule.body = "<html><body>Welcome to the hotel. Please accept our terms.</body></html>";
    } else if (fault == AnswerFault::Redirected) {
        const bool isElsewhere = m_random.chance(50);
        const QByteArray origin
            = isElsewhere ? "http://localhost:" + QByteArray::number(m_simulator->url().port()) : "";
        rule.status = m_random.pick(QList<int>{301, 302, 303, 307, 308});
        rule.headers = {{"Location", origin + request.path + "?moved=1"}};
    } else if (fault == AnswerFault::Limited) {
        rule.status = m_random.pick(QList<int>{403, 429});
        if (m_random.chance(50)) {
            rule.headers = {{"Retry-After", QByteArray::number(m_random.between(1, 1'800))}};
        } else {
            const qint64 reset = m_simulator->now() / 1'000 + m_random.between(1, 3'000);
            rule.headers = {{"X-RateLimit-Remaining", "0"}, {"X-RateLimit-Reset", QByteArray::number(reset)}};
        }
    } else if (fault == AnswerFault::Absurd) {
        rule.status = m_random.pick(QList<int>{403, 429});
        if (m_random.chance(50))
            rule.headers = {{"Retry-After", "1000000000000"}};
        else
            rule.headers = {{"X-RateLimit-Remaining", "0"}, {"X-RateLimit-Reset", kFarFuture}};
    }
    return rule;
}

AnswerFaults::Damage AnswerFaults::spoil(simulator::Reply &reply)
{
    Damage damage;
    if (!m_current)
        return damage;
    simulator::Response &response = reply.response;
    const bool isAnswer = *m_current == AnswerFault::Absurd && response.status == 200;
    damage.isSpoiled = *m_current != AnswerFault::Slow && *m_current != AnswerFault::NullNodes && !isAnswer;
    switch (*m_current) {
    case AnswerFault::Lost:
    case AnswerFault::Stalled:
        reply.delivery.close = simulator::Delivery::Close::Before;
        break;
    case AnswerFault::Cut:
        reply.delivery.truncateAfter = m_random.between(0, std::max<qint64>(0, response.body.size() - 1));
        break;
    case AnswerFault::Dripped:
        if (response.status == 401) // Qt tells of it when all has come; what ends it is a limit in real time
            break;
        reply.delivery.truncateAfter = m_random.between(0, std::min<qint64>(900, response.body.size() - 1));
        reply.delivery.keepsRest = true;
        break;
    case AnswerFault::Absurd:
        removePoints(response);
        break;
    case AnswerFault::Truncated:
        response.body.truncate(m_random.between(0, std::max<qint64>(0, response.body.size() - 1)));
        break;
    case AnswerFault::Damaged:
        // Damage that leaves a valid answer with other content cannot be noticed.
        for (qint64 left = m_random.between(1, 8); left > 0; --left) {
            const qsizetype place = response.body.indexOf('"', m_random.between(0, response.body.size()));
            response.body.replace(std::max<qsizetype>(0, place), 1, "\x01");
        }
        break;
    case AnswerFault::NullNodes:
        damage.nullPlaces = removeNodes(response);
        break;
    default:
        break;
    }
    return damage;
}

/// Makes some of the repositories null, because of errors. Returns their places.
QSet<int> AnswerFaults::removeNodes(simulator::Response &response)
{
    QSet<int> places;
    QJsonObject body = QJsonDocument::fromJson(response.body).object();
    QJsonObject data = body["data"_L1].toObject();
    QJsonArray nodes = data["nodes"_L1].toArray();
    QJsonArray errors = body["errors"_L1].toArray();
    for (int place = 0; place < nodes.size(); ++place) {
        if (!m_random.chance(50))
            continue;
        nodes[place] = QJsonValue::Null;
        places.insert(place);
    }
    if (places.isEmpty())
        return places;
    for (const int place : std::as_const(places)) {
        errors.append(QJsonObject{{u"type"_s, u"FORBIDDEN"_s}, {u"path"_s, QJsonArray{u"nodes"_s, place}},
            {u"message"_s, u"Resource not accessible by integration"_s}});
    }
    data["nodes"_L1] = nodes;
    body["data"_L1] = data;
    body["errors"_L1] = errors;
    response.body = QJsonDocument(body).toJson(QJsonDocument::Compact);
    return places;
}

std::chrono::milliseconds AnswerFaults::delay(bool isQuery)
{
    if (m_current == AnswerFault::Stalled)
        return std::chrono::milliseconds(m_random.between(60'000, 90'000));
    if (m_current == AnswerFault::Slow)
        return std::chrono::milliseconds(m_random.between(4'000, 25'000));
    return std::chrono::milliseconds(isQuery ? m_random.between(90, 700) : m_random.between(60, 400));
}

} // namespace velmora::testing
