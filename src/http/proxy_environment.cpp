// SPDX-License-Identifier: MIT
#include "http/proxy_environment.h"

#include "http/host_address.h"
#include "support/error.h"

#include <QRegularExpression>

namespace velmora
{

namespace
{

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

Proxy proxyNamedBy(const Variable &variable)
{
    const bool hasScheme = variable.value.contains(QLatin1String("://"));
    const QUrl url(hasScheme ? variable.value : QStringLiteral("http://") + variable.value, QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty())
        refuse(variable.name, QStringLiteral("does not hold the address of a proxy."));
    const auto proxy = proxyAt(url);
    if (!proxy) {
        refuse(variable.name,
            QStringLiteral("names a proxy of a kind that cannot be used; it must begin with http:// or socks5://."));
    }
    return *proxy;
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
    return isIPAddress(host) ? isInNetwork(host, name) : holdsName(name, host);
}

} // namespace

std::optional<Proxy> environmentProxy(const QUrl &url, const QProcessEnvironment &environment)
{
    if (isOnThisMachine(url))
        return Proxy();
    const auto exceptions = variable(environment, QStringLiteral("no_proxy"));
    if (exceptions && isWithoutProxy(url, exceptions->value))
        return Proxy();
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

} // namespace velmora
