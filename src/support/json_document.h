// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayView>

#include <memory>

namespace velmora
{

/// A parsed JSON document. Some records (they say so) hold views of its texts and live no longer than it does.
///
/// Each thread keeps one parser ready, since its memory costs more than the parsing. A parser that a large document
/// has bloated is let go of.
class JSONDocument
{
public:
    /// Parses the whole document; throws DecodingError. The text is not needed afterwards.
    explicit JSONDocument(QByteArrayView json);
    ~JSONDocument();
    Q_DISABLE_COPY_MOVE(JSONDocument)

    /// Keeps the JSON library out of this header; see json_coding.h.
    struct Parser;
    [[nodiscard]] const Parser &parser() const { return *m_parser; }

private:
    std::unique_ptr<Parser> m_parser;
};

} // namespace velmora
