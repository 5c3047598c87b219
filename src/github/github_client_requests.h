// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_client_error.h"
#include "github/http_session.h"
#include "support/clock.h"

#include <QString>

namespace velmora
{

/// The address with more path components; a path of more than one, such as "user/installations", is fine.
[[nodiscard]] QUrl appendingPath(const QUrl &base, const QString &path);

/// Names and values as they stand in a query or a form. What may stand in a query stays as it is, a colon
/// for instance, except for what would end or change the value itself.
[[nodiscard]] QByteArray encodedFields(const QList<std::pair<QString, QString>> &fields);

/// The value of the "Authorization" header.
[[nodiscard]] QByteArray bearer(const QString &accessToken);

/// Throws GitHubClientError for an answer that is not a success: invalidResponse where it is not HTTP.
void requireSuccess(const HTTPResponse &response, const Clock *clock);

} // namespace velmora
