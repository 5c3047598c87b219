// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/http_message.h"
#include "simulator/oauth.h"
#include "simulator/rate_limits.h"
#include "simulator/world.h"

#include <QUrl>

namespace velmora::simulator
{

/// What every part of the API needs to answer one request.
struct APIContext {
    World &world;
    OAuth &oauth;
    RateLimits &limits;
    QUrl web; ///< where the stand-in listens
    Milliseconds now = 0;
};

/// GET /user and what lies below it.
[[nodiscard]] Response answerREST(const APIContext &context, const Request &request);

/// POST /graphql.
[[nodiscard]] Response answerGraphQL(const APIContext &context, const Request &request);

/// What is wrong with a request before it is looked at: no user agent; nothing when all is well.
[[nodiscard]] std::optional<Response> refuseAnonymousAgent(const Request &request);

/// GitHub's error with a message, as REST gives it.
[[nodiscard]] Response apiError(int status, const QString &message, const QString &documentation);

/// 401, with the headers of a budget that is nobody's.
[[nodiscard]] Response badCredentials(const Request &request, const QString &documentation);

/// "2026-05-01T12:00:00Z".
[[nodiscard]] QString isoTime(Milliseconds time);

} // namespace velmora::simulator
