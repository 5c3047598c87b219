// SPDX-License-Identifier: MIT
#include "http/proxy_environment.h"

#include "support/error.h"

#include <QHostAddress>
#include <QRegularExpression>

namespace velmora
{

namespace
{

constexpr int kHTTPProxyPort = 80;
constexpr int kSOCKSPort = 1080;

struct Variable {
    QString name;
    QString value;
};

/// The variable in lower case, else in upper case.
std::optional<Variable> variable(const QProcessEnvironment &environment, const QString &name)
{
    for (const QString &spelling : {name, name.toUpper()}) {
        const QString value = environment.value(spelling).trimmed();
        if (!value.isEmpty())
            return Variable{spelling, value};
    }
    return std::nullopt;
}

[[noreturn]] void refuse(const QString &name, const QString &reason)
{
    throw TransportError(TransportError::Kind::Network, QStringLiteral("%1 %2").arg(name, reason));
}

QNetworkProxy::ProxyType typeOf(const QString &scheme, const QString &name)
{
    if (scheme == QLatin1String("http"))
        return QNetworkProxy::HttpProxy;
    if (scheme == QLatin1String("socks5") || scheme == QLatin1String("socks5h") || scheme == QLatin1String("socks"))
        return QNetworkProxy::Socks5Proxy;
    refuse(
        name, QStringLiteral("names a proxy of a kind that cannot be used; it must begin with http:// or socks5://."));
}

QNetworkProxy proxyNamedBy(const Variable &variable)
{
    const bool hasScheme = variable.value.contains(QLatin1String("://"));
    const QUrl url(hasScheme ? variable.value : QStringLiteral("http://") + variable.value, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty())
        refuse(variable.name, QStringLiteral("does not hold the address of a proxy."));
    const auto type = typeOf(url.scheme(), variable.name);
    const int port = url.port(type == QNetworkProxy::HttpProxy ? kHTTPProxyPort : kSOCKSPort);
    return QNetworkProxy(type, url.host(), static_cast<quint16>(port), url.userName(QUrl::FullyDecoded),
        url.password(QUrl::FullyDecoded));
}

QString withoutDotAtEnd(QString host)
{
    if (host.endsWith(QLatin1Char('.')))
        host.chop(1);
    return host;
}

/// A name matches itself and its subdomains.
bool holdsName(QString entry, const QString &host)
{
    if (entry.startsWith(QLatin1String("*.")))
        entry.remove(0, 1);
    if (entry.startsWith(QLatin1Char('.')))
        entry.remove(0, 1);
    entry = withoutDotAtEnd(entry);
    if (entry.isEmpty() || !host.endsWith(entry, Qt::CaseInsensitive))
        return false;
    return host.size() == entry.size() || host.at(host.size() - entry.size() - 1) == QLatin1Char('.');
}

bool holdsAddress(const QString &entry, const QHostAddress &address)
{
    if (!entry.contains(QLatin1Char('/')))
        return QHostAddress(entry) == address;
    const auto network = QHostAddress::parseSubnet(entry);
    return network.second >= 0 && address.isInSubnet(network);
}

/// An entry is a host or an address, perhaps with a port. An IPv6 address with a port needs brackets.
bool holds(const QString &entry, const QString &host, int port)
{
    static const QRegularExpression form(
        QStringLiteral("\\A(?:(?:\\[(?<v6>[^\\]]+)\\]|(?<host>[^:]+))(?::(?<port>[0-9]+))?|(?<bare>.*:.*:.*))\\z"));
    const auto match = form.match(entry);
    const QString entryPort = match.captured(QStringLiteral("port"));
    if (!match.hasMatch() || (!entryPort.isEmpty() && entryPort.toInt() != port))
        return false;
    const QString name = match.captured(QStringLiteral("v6")) + match.captured(QStringLiteral("host"))
        + match.captured(QStringLiteral("bare"));
    const QHostAddress address(host);
    return address.isNull() ? holdsName(name, host) : holdsAddress(name, address);
}

} // namespace

std::optional<QNetworkProxy> environmentProxy(const QUrl &url, const QProcessEnvironment &environment)
{
    if (isOnThisMachine(url))
        return QNetworkProxy(QNetworkProxy::NoProxy);
    const auto exceptions = variable(environment, QStringLiteral("no_proxy"));
    if (exceptions && isWithoutProxy(url, exceptions->value))
        return QNetworkProxy(QNetworkProxy::NoProxy);
    for (const QString &name : {url.scheme() + QStringLiteral("_proxy"), QStringLiteral("all_proxy")}) {
        if (const auto found = variable(environment, name))
            return proxyNamedBy(*found);
    }
    return std::nullopt;
}

bool isWithoutProxy(const QUrl &url, const QString &list)
{
    static const QRegularExpression between(QStringLiteral("[,\\s]+"));
    const QString host = withoutDotAtEnd(url.host());
    const QStringList entries = list.split(between, Qt::SkipEmptyParts);
    return std::ranges::any_of(
        entries, [&](const QString &entry) { return entry == QLatin1String("*") || holds(entry, host, portOf(url)); });
}

int portOf(const QUrl &url)
{
    return url.port(url.scheme() == QLatin1String("https") ? 443 : 80);
}

bool isOnThisMachine(const QUrl &url)
{
    const QString host = withoutDotAtEnd(url.host());
    return host == QLatin1String("localhost") || host.endsWith(QLatin1String(".localhost"))
        || QHostAddress(host).isLoopback();
}

} // namespace velmora
