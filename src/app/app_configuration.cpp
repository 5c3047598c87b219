// SPDX-License-Identifier: MIT
#include "app/app_configuration.h"

#include "app/github_host.h"
#include "platform/linux/xdg_directories.h"
#include "support/private_file.h"

#include <QDate>
#include <QFile>
#include <QHostAddress>
#include <QProcessEnvironment>
#include <QRegularExpression>

namespace velmora
{

namespace
{

namespace key
{
const QString kClientID = QStringLiteral("GITHUB_CLIENT_ID");
const QString kHost = QStringLiteral("VELMORA_GITHUB_HOST");
const QString kAPI = QStringLiteral("VELMORA_API_URL");
const QString kGraphQL = QStringLiteral("VELMORA_GRAPHQL_URL");
const QString kLogin = QStringLiteral("VELMORA_LOGIN_URL");
const QString kWeb = QStringLiteral("VELMORA_WEB_URL");
const QString kSlug = QStringLiteral("VELMORA_APP_SLUG");
const QString kAPIVersion = QStringLiteral("VELMORA_API_VERSION");
} // namespace key

/// The first value for the key that is not empty.
QString value(const QList<Properties> &sources, const QString &name, const QString &fallback)
{
    for (const Properties &source : sources) {
        const QString text = source.value(name).trimmed();
        if (!text.isEmpty())
            return text;
    }
    return fallback;
}

bool isLoopback(const QString &host)
{
    return host == QLatin1String("localhost") || QHostAddress(host).isLoopback();
}

[[noreturn]] void fail(const QString &name, const QString &reason)
{
    throw ConfigurationError(QStringLiteral("%1 %2").arg(name, reason));
}

QUrl endpoint(const QString &name, const QString &text)
{
    QUrl url(text, QUrl::StrictMode);
    const QString scheme = url.scheme();
    if (!url.isValid() || url.host().isEmpty() || (scheme != QLatin1String("https") && scheme != QLatin1String("http")))
        fail(name, QStringLiteral("must be an https address."));
    if (scheme != QLatin1String("https") && !isLoopback(url.host()))
        fail(name, QStringLiteral("must be an https address, or one of this machine."));
    if (!url.userInfo().isEmpty())
        fail(name, QStringLiteral("must not name a user."));
    if (url.hasQuery() || url.hasFragment())
        fail(name, QStringLiteral("must not have a query or a fragment."));
    QString path = url.path(QUrl::FullyEncoded);
    while (path.endsWith(QLatin1Char('/')))
        path.chop(1);
    url.setPath(path, QUrl::StrictMode);
    return url;
}

GitHubEndpoints endpointsFor(const QString &host)
{
    const auto endpoints = endpointsOfHost(host);
    if (!endpoints)
        fail(key::kHost, QStringLiteral("must be a host such as ghe.example.com."));
    return *endpoints;
}

QString slug(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("\\A[a-z0-9-]+\\z"));
    if (!form.match(text).hasMatch())
        fail(key::kSlug, QStringLiteral("must be made of small letters, digits and hyphens."));
    return text;
}

QByteArray apiVersion(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("\\A[0-9]{4}-[0-9]{2}-[0-9]{2}\\z"));
    if (!form.match(text).hasMatch() || !QDate::fromString(text, Qt::ISODate).isValid())
        fail(key::kAPIVersion, QStringLiteral("must be a date such as 2026-03-10."));
    return text.toLatin1();
}

Properties environment()
{
    const QProcessEnvironment process = QProcessEnvironment::systemEnvironment();
    Properties properties;
    for (const QString &name :
        {key::kClientID, key::kHost, key::kAPI, key::kGraphQL, key::kLogin, key::kWeb, key::kSlug, key::kAPIVersion})
        properties.insert(name, process.value(name));
    return properties;
}

std::optional<Properties> readProperties(const QString &folder)
{
    if (folder.isEmpty())
        return std::nullopt;
    const QString path = folder + QStringLiteral("/velmora.properties");
    const auto content = readFile(path);
    if (!content)
        return std::nullopt;
    return parseProperties(*content, path);
}

Properties builtIn()
{
    QFile file(QStringLiteral(":/velmora/velmora.properties"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return parseProperties(file.readAll(), QStringLiteral("the built-in velmora.properties"));
}

} // namespace

WebAddress AppConfiguration::installationURL() const
{
    return WebAddress(webURL.toString(QUrl::FullyEncoded) + QStringLiteral("/apps/") + appSlug
        + QStringLiteral("/installations/new"));
}

AppConfiguration AppConfiguration::fromProperties(const QList<Properties> &sources)
{
    AppConfiguration configuration;
    if (const QString id = value(sources, key::kClientID, {}); !id.isEmpty())
        configuration.githubClientID = id;
    const GitHubEndpoints host = endpointsFor(value(sources, key::kHost, QStringLiteral("github.com")));
    const auto endpointOf = [&](const QString &name, const QUrl &fallback) {
        const QString text = value(sources, name, {});
        return text.isEmpty() ? fallback : endpoint(name, text);
    };
    configuration.apiURL = endpointOf(key::kAPI, host.api);
    // An API elsewhere brings its GraphQL along, unless that is said to be elsewhere too.
    const bool isOwnAPI = configuration.apiURL != host.api;
    configuration.graphqlURL = endpointOf(key::kGraphQL, isOwnAPI ? QUrl() : host.graphql);
    configuration.loginURL = endpointOf(key::kLogin, host.login);
    configuration.webURL = endpointOf(key::kWeb, host.web);
    configuration.appSlug = slug(value(sources, key::kSlug, QStringLiteral("tarvik-velmora")));
    configuration.apiVersion = velmora::apiVersion(value(sources, key::kAPIVersion, QStringLiteral("2026-03-10")));
    return configuration;
}

AppConfiguration AppConfiguration::load(const XDGDirectories &directories)
{
    QList<Properties> sources{environment()};
    const QStringList folders = QStringList{directories.configuration} + directories.systemConfiguration;
    for (const QString &folder : folders) {
        if (const auto properties = readProperties(folder))
            sources.append(*properties);
    }
    sources.append(builtIn());
    return fromProperties(sources);
}

} // namespace velmora
