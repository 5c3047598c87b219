// SPDX-License-Identifier: MIT
#pragma once

#include "support/json_document.h"

#include <QByteArray>
#include <QByteArrayView>

namespace velmora
{

/// Decodes a record from JSON; throws DecodingError.
///
/// Each record says in one table which key holds which field and whether it must be there (see
/// json_coding.h); the functions below are instantiated in the source file that holds the table.
/// Unknown keys are ignored; a null counts as a missing key.
template <typename Record>
[[nodiscard]] Record decodeJSON(QByteArrayView json);

/// The same from a document that is parsed already: the only way for records that hold views of it.
template <typename Record>
[[nodiscard]] Record decodeJSON(const JSONDocument &document);

/// Encodes a record as compact JSON in UTF-8, keys in the order of the record's table, absent values
/// left out, instants as seconds since 2001-01-01T00:00:00Z.
template <typename Record>
[[nodiscard]] QByteArray encodeJSON(const Record &record);

} // namespace velmora
