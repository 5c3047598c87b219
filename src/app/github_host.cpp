// SPDX-License-Identifier: MIT
#include "app/github_host.h"

#include "http/host_address.h"

namespace velmora
{

namespace
{

constexpr int kDefaultPort = 443;

GitHubEndpoints endpoints(const QString &api, const QString &graphql, const QString &web)
{
    const QString scheme = QStringLiteral("https://");
    return GitHubEndpoints{
        QUrl(scheme + api), QUrl(scheme + graphql), QUrl(scheme + web + QStringLiteral("/login")), QUrl(scheme + web)};
}

/// The host and its port as an address writes them, without the default port; empty when the text is not exactly that.
QString authority(const QString &text)
{
    QUrl url(QStringLiteral("https://") + text, QUrl::StrictMode);
    const bool isHost = url.isValid() && !url.host().isEmpty() && url.path().isEmpty() && url.userInfo().isEmpty()
        && !url.hasQuery() && !url.hasFragment();
    if (url.port() == kDefaultPort)
        url.setPort(-1);
    return isHost ? url.authority(QUrl::FullyEncoded) : QString();
}

/// github.com, or a tenant with data residency.
bool isOfGitHub(const QString &host)
{
    return host == QLatin1String("github.com") || host.endsWith(QLatin1String(".ghe.com"));
}

} // namespace

std::optional<GitHubEndpoints> endpointsOfHost(const QString &host)
{
    const QString name = authority(host);
    if (name.isEmpty())
        return std::nullopt;
    // Both have their API on a separate host; an Enterprise Server has one host for everything.
    if (isOfGitHub(name)) {
        const QString api = QStringLiteral("api.") + name;
        return endpoints(api, api + QStringLiteral("/graphql"), name);
    }
    return endpoints(name + QStringLiteral("/api/v3"), name + QStringLiteral("/api/graphql"), name);
}

bool isEnterpriseServer(const QUrl &web)
{
    return !isOfGitHub(web.host()) && !isOnThisMachine(web);
}

} // namespace velmora
