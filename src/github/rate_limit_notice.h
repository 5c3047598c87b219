// SPDX-License-Identifier: MIT
#pragma once

#include "http/http_session.h"
#include "support/instant.h"

#include <optional>

namespace velmora
{

/// GitHub refused a request because the identity sent too many.
struct RateLimitNotice {
    /// When GitHub accepts requests again; absent if it did not say.
    std::optional<Instant> resumeAt;

    friend bool operator==(const RateLimitNotice &, const RateLimitNotice &) = default;
};

/// Reads "Sun, 06 Nov 1994 08:49:37 GMT", the only form of a date that servers still send; nullopt for other texts.
[[nodiscard]] std::optional<Instant> parseHTTPDate(const QByteArray &text);

/// The end of the wait according to the headers: "retry-after" (seconds, or a date), else "x-ratelimit-reset" if
/// "x-ratelimit-remaining" is 0, else nullopt.
[[nodiscard]] std::optional<Instant> resumeInstant(const HTTPResponse &response, Instant now);

/// The rate limit, primary or secondary, behind a status of 403 or 429; nullopt for a plain refusal. Ignores other
/// statuses, since a 401 also carries "x-ratelimit-remaining: 0".
[[nodiscard]] std::optional<RateLimitNotice> rateLimitNotice(const HTTPResponse &response, Instant now);

} // namespace velmora
