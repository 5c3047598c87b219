// SPDX-License-Identifier: MIT
#include "http/proxy.h"

namespace velmora
{

namespace
{

constexpr int kHTTPProxyPort = 80;
constexpr int kSOCKSPort = 1080;

Proxy::Kind kindOf(const QString &scheme)
{
    if (scheme == QLatin1String("http"))
        return Proxy::Kind::HTTP;
    if (scheme == QLatin1String("socks5") || scheme == QLatin1String("socks5h") || scheme == QLatin1String("socks"))
        return Proxy::Kind::SOCKS5;
    return Proxy::Kind::None;
}

} // namespace

std::optional<Proxy> proxyAt(const QUrl &url)
{
    const Proxy::Kind kind = kindOf(url.scheme());
    if (kind == Proxy::Kind::None || url.host().isEmpty())
        return std::nullopt;
    const int port = url.port(kind == Proxy::Kind::HTTP ? kHTTPProxyPort : kSOCKSPort);
    return Proxy{kind, url.host(), port, url.userName(QUrl::FullyDecoded), url.password(QUrl::FullyDecoded)};
}

} // namespace velmora
