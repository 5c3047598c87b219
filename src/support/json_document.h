// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayView>

#include <memory>

namespace velmora
{

/// A parsed JSON document. Records that hold views of its texts say so; the document must outlive them.
///
/// Its memory costs more than the parsing: see JSONParserReuse for many documents.
class JSONDocument
{
public:
    /// Parses the whole document. Throws DecodingError, also for a large document with a value for fewer than eight of
    /// its bytes. The text is not needed afterwards.
    explicit JSONDocument(QByteArrayView json);
    ~JSONDocument();
    Q_DISABLE_COPY_MOVE(JSONDocument)

    /// Keeps the JSON library out of this header; see json_coding.h.
    struct Parser;
    [[nodiscard]] const Parser &parser() const { return *m_parser; }

private:
    std::unique_ptr<Parser> m_parser;
};

/// While one exists, its thread keeps the parser of a document for the next, unless a large document has enlarged it.
class JSONParserReuse
{
public:
    JSONParserReuse();
    /// Releases the parser with the last one of its thread, which must be the one that created it.
    ~JSONParserReuse();
    Q_DISABLE_COPY_MOVE(JSONParserReuse)
};

} // namespace velmora
