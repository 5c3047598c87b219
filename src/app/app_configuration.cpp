// SPDX-License-Identifier: MIT
#include "app/app_configuration.h"

#include "app/github_host.h"
#include "http/host_address.h"
#include "platform/xdg_directories.h"
#include "support/private_file.h"

#include <QDate>
#include <QFile>
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

/// A value and where it was read.
struct Setting {
    QString name;
    QString text; ///< empty: no source has a value
    qsizetype source = -1; ///< index of the source; -1 for none
};

/// The first value for the key that is not empty.
Setting setting(const QList<Properties> &sources, const QString &name)
{
    for (qsizetype source = 0; source < sources.size(); ++source) {
        const QString text = sources.at(source).value(name).trimmed();
        if (!text.isEmpty())
            return {name, text, source};
    }
    return {name, QString(), -1};
}

QString value(const QList<Properties> &sources, const QString &name, const QString &fallback)
{
    const Setting found = setting(sources, name);
    return found.text.isEmpty() ? fallback : found.text;
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
    if (scheme != QLatin1String("https") && !isOnThisMachine(url))
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

/// An endpoint, and the setting that decided it.
struct SetEndpoint {
    QUrl url;
    Setting origin;
};

SetEndpoint setEndpoint(const QList<Properties> &sources, const QString &name, const QUrl &ofHost, const Setting &host)
{
    const Setting own = setting(sources, name);
    if (own.text.isEmpty())
        return {ofHost, host};
    return {endpoint(name, own.text), own};
}

GitHubEndpoints endpointsFor(const QString &host)
{
    const auto endpoints = endpointsOfHost(host.isEmpty() ? QStringLiteral("github.com") : host);
    if (!endpoints)
        fail(key::kHost, QStringLiteral("must be a host such as ghe.example.com."));
    return *endpoints;
}

SetEndpoint loginEndpoint(const QList<Properties> &sources)
{
    const Setting host = setting(sources, key::kHost);
    return setEndpoint(sources, key::kLogin, endpointsFor(host.text).login, host);
}

/// Whether the endpoint may be given the tokens that are issued at the login endpoint.
bool isOfSameGitHub(const QUrl &url, const QUrl &login)
{
    QUrl apiOfLogin = login;
    apiOfLogin.setHost(QStringLiteral("api.") + login.host());
    const LoginOrigin origin(url);
    return origin == LoginOrigin(login) || origin == LoginOrigin(apiOfLogin);
}

/// Whether one file sets both endpoints, and so declares that they belong together. Environment variables declare
/// nothing of the kind: each may come from another place.
bool isWrittenTogether(const SetEndpoint &one, const SetEndpoint &other)
{
    constexpr qsizetype kEnvironment = 0;
    return one.origin.source == other.origin.source && one.origin.source != kEnvironment;
}

/// The endpoint to which the tokens of the login endpoint may not be sent; nothing when they may be sent to all.
std::optional<EndpointProblem> endpointProblemOf(
    const SetEndpoint &api, const SetEndpoint &graphql, const SetEndpoint &login)
{
    for (const auto &[what, used] : {std::pair(QStringLiteral("the API"), api), {QStringLiteral("GraphQL"), graphql}}) {
        if (used.url.isEmpty() || isWrittenTogether(used, login) || isOfSameGitHub(used.url, login.url))
            continue;
        return EndpointProblem{what, used.url, used.origin.name, login.url, login.origin.name};
    }
    return std::nullopt;
}

/// The login endpoint that the files set; nothing when their values cannot be used, which the environment may override.
std::optional<LoginOrigin> originIn(const QList<Properties> &files)
{
    try {
        return LoginOrigin(loginEndpoint(files).url);
    } catch (const ConfigurationError &) {
        return std::nullopt;
    }
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
    std::optional<QByteArray> content;
    try {
        content = readFile(path);
    } catch (const FileError &error) {
        throw ConfigurationError(error.description().replace(path, QLatin1String("%1")), path);
    }
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

QString EndpointProblem::descriptionNaming(const QString &host, const QString &loginHost) const
{
    return QStringLiteral("No account is used: %1 is at %2 (%3), but accounts are connected at %4 (%5), and a token is "
                          "sent to no other host than its own. Remove one of the two settings, or write both into the "
                          "same velmora.properties if they belong together.")
        .arg(what, host, setting, loginHost, loginSetting);
}

WebAddress AppConfiguration::installationURL() const
{
    const QString apps = isEnterpriseServer(webURL) ? QStringLiteral("github-apps") : QStringLiteral("apps");
    return WebAddress(
        QStringLiteral("%1/%2/%3/installations/new").arg(webURL.toString(QUrl::FullyEncoded), apps, appSlug));
}

AppConfiguration AppConfiguration::fromProperties(const QList<Properties> &sources)
{
    return fromProperties({}, sources);
}

AppConfiguration AppConfiguration::fromProperties(const Properties &environment, const QList<Properties> &files)
{
    const QList<Properties> sources = QList{environment} + files;
    AppConfiguration configuration;
    if (const QString id = value(sources, key::kClientID, {}); !id.isEmpty())
        configuration.githubClientID = id;
    const Setting hostSetting = setting(sources, key::kHost);
    const GitHubEndpoints host = endpointsFor(hostSetting.text);
    const SetEndpoint api = setEndpoint(sources, key::kAPI, host.api, hostSetting);
    // An API of its own has its GraphQL endpoint below it, unless that one is set too.
    const bool isOwnAPI = api.url != host.api;
    const SetEndpoint graphql = setEndpoint(sources, key::kGraphQL, isOwnAPI ? QUrl() : host.graphql, api.origin);
    const SetEndpoint login = loginEndpoint(sources);
    configuration.apiURL = api.url;
    configuration.graphqlURL = graphql.url;
    configuration.loginURL = login.url;
    configuration.webURL = setEndpoint(sources, key::kWeb, host.web, hostSetting).url;
    configuration.appSlug = slug(value(sources, key::kSlug, QStringLiteral("tarvik-velmora")));
    configuration.apiVersion = velmora::apiVersion(value(sources, key::kAPIVersion, QStringLiteral("2026-03-10")));
    configuration.endpointProblem = endpointProblemOf(api, graphql, login);
    configuration.originInFiles = originIn(files);
    return configuration;
}

AppConfiguration AppConfiguration::load(const XDGDirectories &directories)
{
    QList<Properties> files;
    const QStringList folders = QStringList{directories.configuration} + directories.systemConfiguration;
    for (const QString &folder : folders) {
        if (const auto properties = readProperties(folder))
            files.append(*properties);
    }
    files.append(builtIn());
    return fromProperties(environment(), files);
}

} // namespace velmora
