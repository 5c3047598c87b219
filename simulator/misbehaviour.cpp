// SPDX-License-Identifier: MIT
#include "simulator/misbehaviour.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace velmora::simulator
{

using namespace Qt::Literals::StringLiterals;

namespace
{

constexpr auto kRuleKeys = {"method"_L1, "path"_L1, "login"_L1, "after"_L1, "times"_L1, "action"_L1};
constexpr auto kActionKeys = {"status"_L1, "headers"_L1, "body"_L1, "bodyBase64"_L1, "delayMilliseconds"_L1,
    "truncateAfter"_L1, "endlessBody"_L1, "hang"_L1, "closeConnection"_L1};

QString unknownKey(const QJsonObject &json, std::initializer_list<QLatin1StringView> known)
{
    const auto keys = json.keys();
    for (const QString &key : keys) {
        if (std::find(known.begin(), known.end(), key) == known.end())
            return key;
    }
    return {};
}

std::optional<QByteArray> bodyOf(const QJsonObject &action)
{
    if (action.contains("bodyBase64"_L1))
        return QByteArray::fromBase64(action["bodyBase64"_L1].toString().toLatin1());
    const QJsonValue body = action["body"_L1];
    if (body.isString())
        return body.toString().toUtf8();
    if (body.isObject())
        return QJsonDocument(body.toObject()).toJson(QJsonDocument::Compact);
    if (body.isArray())
        return QJsonDocument(body.toArray()).toJson(QJsonDocument::Compact);
    return std::nullopt;
}

QList<Header> headersOf(const QJsonArray &lines)
{
    QList<Header> headers;
    for (const QJsonValue line : lines) {
        const QJsonArray pair = line.toArray();
        headers.append({pair.at(0).toString().toUtf8(), pair.at(1).toString().toUtf8()});
    }
    return headers;
}

Delivery deliveryOf(const QJsonObject &action)
{
    Delivery delivery;
    delivery.delayMilliseconds = action["delayMilliseconds"_L1].toInt();
    if (action.contains("truncateAfter"_L1))
        delivery.truncateAfter = action["truncateAfter"_L1].toInteger();
    delivery.endlessBody = action["endlessBody"_L1].toBool();
    delivery.hang = action["hang"_L1].toBool();
    const QString close = action["closeConnection"_L1].toString();
    if (close == "before"_L1)
        delivery.close = Delivery::Close::Before;
    else if (close == "middle"_L1)
        delivery.close = Delivery::Close::Middle;
    return delivery;
}

QString faultIn(const QJsonObject &json)
{
    const QJsonObject action = json["action"_L1].toObject();
    if (const QString key = unknownKey(json, kRuleKeys); !key.isEmpty())
        return "unknown key "_L1 + key;
    if (const QString key = unknownKey(action, kActionKeys); !key.isEmpty())
        return "unknown action "_L1 + key;
    if (action.isEmpty())
        return u"no action"_s;
    if (const QString close = action["closeConnection"_L1].toString();
        action.contains("closeConnection"_L1) && close != "before"_L1 && close != "middle"_L1)
        return u"closeConnection is \"before\" or \"middle\""_s;
    return {};
}

} // namespace

std::optional<MisbehaviourRule> MisbehaviourRule::fromJSON(const QJsonObject &json, QString *reason)
{
    if (*reason = faultIn(json); !reason->isEmpty())
        return std::nullopt;
    const QJsonObject action = json["action"_L1].toObject();
    MisbehaviourRule rule;
    rule.method = json["method"_L1].toString().toLatin1();
    rule.path = json["path"_L1].toString().toUtf8();
    rule.login = json["login"_L1].toString();
    rule.after = json["after"_L1].toInt();
    rule.times = json["times"_L1].toInt(-1);
    if (action.contains("status"_L1))
        rule.status = action["status"_L1].toInt();
    rule.headers = headersOf(action["headers"_L1].toArray());
    rule.body = bodyOf(action);
    rule.delivery = deliveryOf(action);
    return rule;
}

bool MisbehaviourRule::matches(const Request &request, const QString &requestLogin) const
{
    if (!method.isEmpty() && method != request.method)
        return false;
    if (!login.isEmpty() && login != requestLogin)
        return false;
    if (path.endsWith('*'))
        return request.path.startsWith(path.chopped(1));
    return path.isEmpty() || path == request.path;
}

Response MisbehaviourRule::apply(Response ordinary) const
{
    Response response = status ? Response::json(*status, QByteArray("{}")) : std::move(ordinary);
    if (body)
        response.body = *body;
    for (const Header &added : headers) {
        response.headers.removeIf([&](const Header &present) {
            return !headers.contains(present) && present.name.compare(added.name, Qt::CaseInsensitive) == 0;
        });
        response.headers.append(added);
    }
    return response;
}

std::optional<MisbehaviourRule> Misbehaviour::take(const Request &request, const QString &login)
{
    for (MisbehaviourRule &rule : m_rules) {
        if (rule.times == 0 || !rule.matches(request, login))
            continue;
        if (rule.after > 0) {
            --rule.after;
            continue;
        }
        if (rule.times > 0)
            --rule.times;
        return rule;
    }
    return std::nullopt;
}

} // namespace velmora::simulator
