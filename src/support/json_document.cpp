// SPDX-License-Identifier: MIT
#include "support/json_document.h"

#include "support/json_coding.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>

namespace velmora
{

struct JSONDocument::Parser {
    simdjson::dom::parser parser;
    std::string text; ///< a copy, since the parser reads a little beyond the end of its input

    Parser() = default;
    Parser(const Parser &) = delete;
    Parser &operator=(const Parser &) = delete;
    ~Parser() { wipe(); }

    /// Clears the previous document, which may have held a token.
    void wipe();
};

namespace
{

/// In bytes. A batch of deployments is smaller. The parser's memory is a small multiple of this.
constexpr std::size_t kMostKept = 512 * 1024;

/// The parser takes up to 24 bytes for a value, however short its text: a large document of one digit after the other
/// would take 12 times its size.
constexpr qsizetype kLeastBytesForAValue = 8;

/// Whether parsing takes more than a few times the size of the document. Small ones may be as dense as they like.
bool isTooDense(QByteArrayView json)
{
    if (json.size() <= static_cast<qsizetype>(kMostKept))
        return false;
    const auto marks
        = std::count_if(json.begin(), json.end(), [](char c) { return c == ',' || c == ':' || c == '[' || c == '{'; });
    return marks > json.size() / kLeastBytesForAValue;
}

struct Spare {
    int users = 0;
    std::unique_ptr<JSONDocument::Parser> parser; ///< null while a document uses it
};

/// This thread's.
Spare &spare()
{
    thread_local Spare spare;
    return spare;
}

/// Parses with room for a larger document, since the next one rarely has the same size. The room never exceeds
/// kMostKept, unless the document itself does.
simdjson::error_code parse(JSONDocument::Parser &with, QByteArrayView json)
{
    const auto size = static_cast<std::size_t>(json.size());
    const std::size_t capacity = size > kMostKept ? size : std::bit_ceil(size);
    with.text.reserve(capacity + simdjson::SIMDJSON_PADDING);
    with.text.assign(json.begin(), json.end());
    auto error = simdjson::SUCCESS;
    if (with.parser.capacity() < size)
        error = with.parser.allocate(capacity);
    if (error == simdjson::SUCCESS && with.parser.doc.capacity() < size)
        error = with.parser.doc.allocate(capacity);
    return error == simdjson::SUCCESS ? with.parser.parse(with.text).error() : error;
}

} // namespace

JSONDocument::JSONDocument(QByteArrayView json)
    : m_parser(std::move(spare().parser))
{
    if (isTooDense(json))
        throw DecodingError(QStringLiteral("The data has too many values."));
    if (!m_parser)
        m_parser = std::make_unique<Parser>();
    const auto error = parse(*m_parser, json);
    if (error != simdjson::SUCCESS)
        throw DecodingError(
            QStringLiteral("The data is not valid JSON: ") + QString::fromLatin1(simdjson::error_message(error)));
}

void JSONDocument::Parser::wipe()
{
    explicit_bzero(text.data(), text.size());
    if (parser.doc.string_buf) {
        // Clears only what the document can have touched: clearing the whole buffer would cost small documents more
        // than their parsing. The buffer holds the length of a text plus five bytes; the JSON needs that length plus at
        // least three bytes.
        const std::size_t written = std::min(text.size(), parser.doc.capacity()) * 5 / 3;
        explicit_bzero(parser.doc.string_buf.get(), written + simdjson::SIMDJSON_PADDING);
    }
    text.clear();
}

JSONDocument::~JSONDocument()
{
    m_parser->wipe();
    if (spare().users > 0 && m_parser->parser.capacity() <= kMostKept)
        spare().parser = std::move(m_parser);
}

JSONParserReuse::JSONParserReuse()
{
    ++spare().users;
}

JSONParserReuse::~JSONParserReuse()
{
    if (--spare().users == 0)
        spare().parser.reset();
}

json::Element json::rootOf(const JSONDocument &document)
{
    return document.parser().parser.doc.root();
}

} // namespace velmora
