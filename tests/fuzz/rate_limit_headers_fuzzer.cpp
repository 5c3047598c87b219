// SPDX-License-Identifier: MIT
#include "fuzz/fuzz_target.h"
#include "github/rate_limit_notice.h"

#include <QList>

using namespace velmora;

/// Input: a header on each line, with a colon between name and value.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const Instant now = *instantFromReferenceDate(800'000'000);
    HTTPResponse response;
    response.statusCode = 403;
    const auto lines = fuzz::bytes(data, size).toByteArray().split('\n');
    for (const auto &line : lines) {
        const auto colon = line.indexOf(':');
        if (colon > 0)
            response.headers.emplaceBack(line.left(colon), line.mid(colon + 1));
    }
    const auto resume = resumeInstant(response, now);
    const auto notice = rateLimitNotice(response, now);
    fuzz::require(!resume || notice, "headers that say when to go on are those of a rate limit");
    response.statusCode = 401;
    fuzz::require(!rateLimitNotice(response, now), "a refused token is no rate limit");
    return 0;
}
