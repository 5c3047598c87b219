// SPDX-License-Identifier: MIT
#pragma once

#include "http/proxy.h"
#include "support/instant.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <chrono>
#include <optional>

namespace velmora
{

/// The home folder that the environment names, as set and with links resolved, without a slash at the end. Never "/".
[[nodiscard]] QStringList homesOfPerson();

/// The kind of GitHub at the address of its API. Never contains the name of a company's host.
[[nodiscard]] QString gitHubKind(const QUrl &api);

/// "a proxy (http)", without its address.
[[nodiscard]] QString proxyText(const Proxy &proxy);

/// "HTTP 200 in 120 ms".
[[nodiscard]] QString answerText(std::optional<int> status, std::chrono::milliseconds duration);

/// The difference between this machine's clock and GitHub's, with a warning if the expiry of tokens is misjudged.
[[nodiscard]] QString clockText(std::optional<Instant> gitHubTime, Instant now);

/// "Enterprise Server 3.19.2" from the version header, with advice if the server does not support the API version.
/// Empty without the header: only Enterprise Servers send it.
[[nodiscard]] QString serverText(const std::optional<QByteArray> &version, const QByteArray &apiVersion);

/// "graphql 4,312 of 5,000 left, resets in 31 min" and the same for REST, from the answer to GET /rate_limit. Empty if
/// the answer has no limits.
[[nodiscard]] QString rateLimitsText(const QByteArray &answer, Instant now);

/// "12.3 kB".
[[nodiscard]] QString sizeText(qint64 bytes);

/// The status of the identities. The status of those in neither count is unknown.
struct IdentityCounts {
    int all = 0;
    int connected = 0;
    int toReconnect = 0;
};

/// "5 (3 connected, 1 to be connected again, 1 unknown)", without zero counts; "none" without identities.
[[nodiscard]] QString identityCountsText(const IdentityCounts &counts);

/// A name from another program, if it is plain: at most 40 letters, digits and blanks, or ".", "_", "+" and "-". Empty
/// for any other text.
[[nodiscard]] QString plainName(const QString &text);

/// The first word of a version from another program, such as "1.9.0", if it is plain and at most 20 characters long.
[[nodiscard]] QString plainVersion(const QString &text);

/// The path with "~" for one of the home folders; of a path elsewhere only the last two components, because the folders
/// above may be named after the user or a company.
[[nodiscard]] QString pathFromHome(const QString &path, const QStringList &homes = homesOfPerson());

} // namespace velmora
