// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace velmora
{

/// The addresses of a GitHub, without slashes at the ends.
struct GitHubEndpoints {
    QUrl api; ///< of the REST endpoints
    QUrl graphql;
    QUrl login; ///< of the OAuth endpoints
    QUrl web; ///< of the pages

    friend bool operator==(const GitHubEndpoints &, const GitHubEndpoints &) = default;
};

/// The endpoints of github.com, of a tenant with data residency (NAME.ghe.com), or of an Enterprise Server on any other
/// host, with or without a port. Nothing when the text is not a host.
[[nodiscard]] std::optional<GitHubEndpoints> endpointsOfHost(const QString &host);

/// Whether the pages are those of an Enterprise Server. An address of this machine counts as github.com.
[[nodiscard]] bool isEnterpriseServer(const QUrl &web);

} // namespace velmora
