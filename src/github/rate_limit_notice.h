// SPDX-License-Identifier: MIT
#pragma once

#include "github/http_session.h"
#include "support/instant.h"

#include <optional>

namespace velmora
{

/// GitHub refused a request because the identity has asked too much.
struct RateLimitNotice {
    /// When GitHub wants to be asked again; absent when it did not say.
    std::optional<Instant> resumeAt;

    friend bool operator==(const RateLimitNotice &, const RateLimitNotice &) = default;
};

/// "Sun, 06 Nov 1994 08:49:37 GMT", the one form of a date that servers still send.
[[nodiscard]] std::optional<Instant> parseHTTPDate(const QByteArray &text);

/// What the headers say of the time to wait: "retry-after" (seconds, or a date), else "x-ratelimit-reset" where
/// "x-ratelimit-remaining" is 0, else nothing.
[[nodiscard]] std::optional<Instant> resumeInstant(const HTTPResponse &response, Instant now);

/// Whether a response of status 403 or 429 is a rate limit, primary or secondary, rather than a plain refusal.
/// Never for another status: a 401 carries "x-ratelimit-remaining: 0" as well.
[[nodiscard]] std::optional<RateLimitNotice> rateLimitNotice(const HTTPResponse &response, Instant now);

} // namespace velmora
