// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"

#include <QByteArray>
#include <QNetworkProxy>
#include <QString>
#include <QUrl>

#include <chrono>
#include <optional>

namespace velmora
{

/// The kind of GitHub behind the address of its API; the name of a company's own host is never told.
[[nodiscard]] QString gitHubKind(const QUrl &api);

/// Whether the host is nobody's secret: GitHub's own or this machine.
[[nodiscard]] bool isPublicHost(const QString &host);

/// "a proxy (http)", without its name.
[[nodiscard]] QString proxyText(const QNetworkProxy &proxy);

/// "HTTP 200 in 120 ms".
[[nodiscard]] QString answerText(std::optional<int> status, std::chrono::milliseconds duration);

/// How far the clock of this machine is from GitHub's, where the difference endangers the expiry of tokens.
[[nodiscard]] QString clockText(std::optional<Instant> gitHubTime, Instant now);

/// "Enterprise Server 3.19.2" from the header in which one tells its version, and what follows from that for the
/// version of the API. Empty without the header, which nothing else sends.
[[nodiscard]] QString serverText(const std::optional<QByteArray> &version, const QByteArray &apiVersion);

/// "graphql 4,312 of 5,000 left, resets in 31 min" and the same for REST, from the answer to GET /rate_limit. Empty
/// where the answer tells nothing of the kind.
[[nodiscard]] QString rateLimitsText(const QByteArray &answer, Instant now);

/// "12.3 kB".
[[nodiscard]] QString sizeText(qint64 bytes);

/// How the identities stand; those that are in neither number could not be asked.
struct IdentityCounts {
    int all = 0;
    int connected = 0;
    int toReconnect = 0;
};

/// "5 (3 connected, 1 to be connected again, 1 unknown)", without the parts that count nobody; "none" for no identity.
[[nodiscard]] QString identityCountsText(const IdentityCounts &counts);

} // namespace velmora
