// SPDX-License-Identifier: MIT
#include "github/github_requests.h"

namespace velmora
{

QUrl appendingPath(const QUrl &base, const QString &path)
{
    QString joined = base.path(QUrl::FullyEncoded);
    if (!joined.endsWith(QLatin1Char('/')))
        joined += QLatin1Char('/');
    joined += QString::fromLatin1(QUrl::toPercentEncoding(path, "/"));
    QUrl url = base;
    url.setPath(joined, QUrl::TolerantMode);
    if (!base.isValid() || !url.isValid())
        throw GitHubClientError::invalidResponse();
    return url;
}

QByteArray encodedFields(const QList<std::pair<QString, QString>> &fields)
{
    static const QByteArray kKept = "!$'()*,:@/?";
    QByteArray encoded;
    for (const auto &[name, value] : fields) {
        if (!encoded.isEmpty())
            encoded += '&';
        encoded += QUrl::toPercentEncoding(name, kKept) + '=' + QUrl::toPercentEncoding(value, kKept);
    }
    return encoded;
}

QByteArray bearer(const QString &accessToken)
{
    return "Bearer " + accessToken.toUtf8();
}

void requireSuccess(const HTTPResponse &response, const Clock *clock)
{
    if (!response.statusCode)
        throw GitHubClientError::invalidResponse();
    const int status = *response.statusCode;
    if (status < 200 || status > 299)
        throw GitHubClientError::requestFailed(status, rateLimitNotice(response, clock->now()));
}

} // namespace velmora
