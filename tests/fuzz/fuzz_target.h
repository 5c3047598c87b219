// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"
#include "support/json.h"

#include <QByteArrayView>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Called by libFuzzer with each input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace velmora::fuzz
{

/// Aborts if the condition does not hold, so that libFuzzer saves the input.
inline void require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

inline QByteArrayView bytes(const std::uint8_t *data, std::size_t size)
{
    return QByteArrayView(data, static_cast<qsizetype>(size));
}

/// Decoding must throw nothing but a DecodingError, and an accepted record must survive encoding and decoding.
template <typename Record>
void checkRecord(QByteArrayView json)
{
    Record record;
    try {
        record = decodeJSON<Record>(json);
    } catch (const DecodingError &) {
        return;
    }
    require(decodeJSON<Record>(encodeJSON(record)) == record, "what decodes is the same after a round trip");
}

} // namespace velmora::fuzz
