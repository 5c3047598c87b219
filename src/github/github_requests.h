// SPDX-License-Identifier: MIT
#pragma once

#include "github/github_client_error.h"
#include "http/http_session.h"
#include "support/clock.h"

#include <QString>

namespace velmora
{

/// Appends path components to the address. `path` may have several, such as "user/installations".
[[nodiscard]] QUrl appendingPath(const QUrl &base, const QString &path);

/// Names and values, encoded for a query or a form. Characters that are valid in a query, a colon for instance, stay as
/// they are, unless they would end or alter a value.
[[nodiscard]] QByteArray encodedFields(const QList<std::pair<QString, QString>> &fields);

/// The value of the "Authorization" header.
[[nodiscard]] QByteArray bearer(const QString &accessToken);

/// Throws GitHubClientError unless the status is a success: invalidResponse if the response is not HTTP, else
/// requestFailed.
void requireSuccess(const HTTPResponse &response, const Clock *clock);

} // namespace velmora
