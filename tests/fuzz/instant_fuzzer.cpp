// SPDX-License-Identifier: MIT
#include "fuzz/fuzz_target.h"
#include "support/instant.h"

using namespace velmora;

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (const auto instant = parseISO8601(QString::fromUtf8(fuzz::bytes(data, size)))) {
        fuzz::require(parseISO8601(toISO8601(*instant)) == instant, "the text of an instant means that instant");
        const auto seconds = secondsSinceReferenceDate(*instant);
        fuzz::require(instantFromReferenceDate(seconds).has_value(), "every instant that is read can be kept");
    }
    return 0;
}
