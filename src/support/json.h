// SPDX-License-Identifier: MIT
#pragma once

#include "support/json_document.h"

#include <QByteArray>
#include <QByteArrayView>

namespace velmora
{

/// Decodes a record from JSON. Throws DecodingError.
///
/// The table of a record maps keys to fields and says which are required (see json_coding.h). These functions are
/// instantiated in the source file that holds the table. Unknown keys are ignored. A null counts as a missing key.
template <typename Record>
[[nodiscard]] Record decodeJSON(QByteArrayView json);

/// Decodes a record from a parsed document. Records that hold views of the document need this form.
template <typename Record>
[[nodiscard]] Record decodeJSON(const JSONDocument &document);

/// How instants are written.
enum class InstantForm {
    Seconds, ///< since 2001-01-01T00:00:00Z: for Velmora itself
    ISO8601, ///< texts in UTC: for other programs
};

/// Encodes a record as compact JSON in UTF-8: keys in the order of the table, absent values left out.
template <typename Record>
[[nodiscard]] QByteArray encodeJSON(const Record &record, InstantForm instants);

/// The same, with instants in seconds, as decodeJSON() reads them.
template <typename Record>
[[nodiscard]] QByteArray encodeJSON(const Record &record);

} // namespace velmora
