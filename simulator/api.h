// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/http_message.h"
#include "simulator/oauth.h"
#include "simulator/rate_limits.h"
#include "simulator/world.h"

#include <QUrl>

namespace velmora::simulator
{

/// The state that the API needs to answer one request.
struct APIContext {
    World &world;
    OAuth &oauth;
    RateLimits &limits;
    QUrl web; ///< the address at which the stand-in listens
    Milliseconds now = 0;
};

/// GET /user, the paths below it, and GET /rate_limit.
[[nodiscard]] Response answerREST(const APIContext &context, const Request &request);

/// POST /graphql.
[[nodiscard]] Response answerGraphQL(const APIContext &context, const Request &request);

/// GitHub's refusal of a request without a user agent; nothing for one that has it.
[[nodiscard]] std::optional<Response> refuseAnonymousAgent(const Request &request);

/// An error as GitHub's REST API reports it.
[[nodiscard]] Response apiError(int status, const QString &message, const QString &documentation);

/// A 401 error with an empty rate limit.
[[nodiscard]] Response badCredentials(const Request &request, const QString &documentation);

/// "2026-05-01T12:00:00Z".
[[nodiscard]] QString isoTime(Milliseconds time);

} // namespace velmora::simulator
