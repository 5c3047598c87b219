// SPDX-License-Identifier: MIT
#include "simulator/api.h"

#include <QDateTime>

namespace velmora::simulator
{

using namespace Qt::Literals::StringLiterals;

std::optional<Response> refuseAnonymousAgent(const Request &request)
{
    if (!request.header("User-Agent").value_or(QByteArray()).trimmed().isEmpty())
        return std::nullopt;
    return Response{403, {{"Content-Type", "text/html"}, {"Connection", "close"}},
        "\r\nRequest forbidden by administrative rules. Please make sure your request has a User-Agent header "
        "(https://docs.github.com/en/rest/overview/resources-in-the-rest-api#user-agent-required). "
        "Check https://developer.github.com for other possible causes.\r\n"};
}

Response apiError(int status, const QString &message, const QString &documentation)
{
    return Response::json(status,
        QJsonObject{
            {u"message"_s, message}, {u"documentation_url"_s, documentation}, {u"status"_s, QString::number(status)}});
}

Response badCredentials(const Request &request, const QString &documentation)
{
    const bool hasToken = request.header("Authorization").has_value();
    Response response = apiError(401, hasToken ? u"Bad credentials"_s : u"Requires authentication"_s, documentation);
    response.headers.append({{"X-RateLimit-Limit", "0"}, {"X-RateLimit-Remaining", "0"}, {"X-RateLimit-Used", "0"}});
    return response;
}

QString isoTime(Milliseconds time)
{
    return QDateTime::fromMSecsSinceEpoch(time, Qt::UTC).toString(u"yyyy-MM-dd'T'HH:mm:ss'Z'"_s);
}

} // namespace velmora::simulator
