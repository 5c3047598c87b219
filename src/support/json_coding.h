// SPDX-License-Identifier: MIT
#pragma once

// For source files that hold the table of a record only. Keeps simdjson and RapidJSON out of all others.

#include "support/error.h"
#include "support/instant.h"
#include "support/json.h"
#include "support/web_address.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>

#include <QList>
#include <QString>

#include <array>
#include <functional>
#include <optional>
#include <string_view>
#include <tuple>

namespace velmora
{

/// The table of a record, specialised once for each: `static constexpr auto fields = std::tuple {…}` of required(),
/// nullable() and optional() entries.
template <typename Record>
struct JSONTable;

namespace json
{

/// What the document must hold for a field.
enum class Presence {
    Required, ///< the key, and a value
    Nullable, ///< the key
    Optional, ///< nothing
};

template <typename Record, typename Member>
struct Field {
    std::string_view key;
    Member Record::*member;
    Presence presence;
};

/// The key must be present and not null.
template <typename Record, typename Member>
constexpr Field<Record, Member> required(std::string_view key, Member Record::*member)
{
    return {key, member, Presence::Required};
}

/// The key must be present; a null leaves the field absent.
template <typename Record, typename Value>
constexpr Field<Record, std::optional<Value>> nullable(std::string_view key, std::optional<Value> Record::*member)
{
    return {key, member, Presence::Nullable};
}

/// A missing key and a null leave the field absent.
template <typename Record, typename Value>
constexpr Field<Record, std::optional<Value>> optional(std::string_view key, std::optional<Value> Record::*member)
{
    return {key, member, Presence::Optional};
}

/// A field that is only written. Its value is computed from the record.
template <typename Compute>
struct ComputedField {
    std::string_view key;
    Compute compute;
};

/// `compute` is called with the record; an optional result may be absent. Records with such a field cannot be decoded.
template <typename Compute>
constexpr ComputedField<Compute> computed(std::string_view key, Compute compute)
{
    return {key, compute};
}

/// The decoder's place in the document. Lives on the stack and is put into words only on failure.
struct Path {
    const Path *parent = nullptr;
    std::string_view key;
    std::size_t index = 0;

    [[nodiscard]] QString text() const;
};

[[noreturn]] void failMissing(const Path &path);
[[noreturn]] void failExpected(const Path &path, const char *expected);

using Element = simdjson::dom::element;

/// Writes one document.
class Writer final : public rapidjson::Writer<rapidjson::StringBuffer>
{
public:
    Writer(rapidjson::StringBuffer &buffer, InstantForm instants)
        : rapidjson::Writer<rapidjson::StringBuffer>(buffer)
        , m_instants(instants)
    {
    }

    [[nodiscard]] InstantForm instants() const { return m_instants; }

private:
    InstantForm m_instants;
};

/// Reads and writes one type. Specialised for the scalar types below, for optionals and for lists; records use their
/// table. A source file may add its own, for an enumeration for instance.
template <typename T>
struct Codec {
    static void decode(T &value, Element element, const Path &path)
    {
        simdjson::dom::object object;
        if (element.get(object) != simdjson::SUCCESS)
            failExpected(path, "an object");
        decodeFields(value, object, path, JSONTable<T>::fields);
    }

    static void encode(Writer &writer, const T &value)
    {
        writer.StartObject();
        std::apply([&](const auto &...field) { (encodeField(writer, value, field), ...); }, JSONTable<T>::fields);
        writer.EndObject();
    }

private:
    struct Decoder {
        std::string_view key;
        bool (*decode)(T &value, Element element, const Path &path); ///< false for a null that counts as missing
    };

    // One pass over the object. The first occurrence of a key counts. Keys mostly come in the order of the table, so
    // the search for each starts behind the last match.
    template <typename... Fields>
    static void decodeFields(
        T &value, simdjson::dom::object object, const Path &path, const std::tuple<Fields...> &fields)
    {
        constexpr std::size_t count = sizeof...(Fields);
        static constexpr auto decoders = decodersOf(std::make_index_sequence<count>{});
        bool found[count] = {};
        std::size_t next = 0;
        for (const auto member : object) {
            for (std::size_t tried = 0; tried < count; ++tried) {
                const std::size_t index = next;
                next = index + 1 == count ? 0 : index + 1;
                if (decoders[index].key != member.key)
                    continue;
                found[index] = found[index] || decoders[index].decode(value, member.value, path);
                break;
            }
        }
        requireAll(path, fields, found, std::make_index_sequence<count>{});
    }

    template <std::size_t... Indices>
    static constexpr std::array<Decoder, sizeof...(Indices)> decodersOf(std::index_sequence<Indices...>)
    {
        return {Decoder{std::get<Indices>(JSONTable<T>::fields).key, &decodeField<Indices>}...};
    }

    template <std::size_t Index>
    static bool decodeField(T &value, Element element, const Path &path)
    {
        constexpr auto field = std::get<Index>(JSONTable<T>::fields);
        if (element.is_null())
            return field.presence == Presence::Nullable;
        auto &member = value.*field.member;
        Codec<std::remove_cvref_t<decltype(member)>>::decode(member, element, Path{&path, field.key, 0});
        return true;
    }

    template <typename Fields, std::size_t... Indices>
    static void requireAll(const Path &path, const Fields &fields, const bool *found, std::index_sequence<Indices...>)
    {
        const auto check = [&](const auto &field, bool isFound) {
            if (field.presence != Presence::Optional && !isFound)
                failMissing(Path{&path, field.key, 0});
        };
        (check(std::get<Indices>(fields), found[Indices]), ...);
    }

    template <typename Member>
    static void encodeField(Writer &writer, const T &value, const Field<T, Member> &field)
    {
        encodeValue(writer, field.key, value.*field.member);
    }

    template <typename Compute>
    static void encodeField(Writer &writer, const T &value, const ComputedField<Compute> &field)
    {
        encodeValue(writer, field.key, std::invoke(field.compute, value));
    }

    template <typename Value>
    static void encodeValue(Writer &writer, std::string_view key, const Value &value)
    {
        if constexpr (requires { value.has_value(); }) {
            if (!value.has_value())
                return;
        }
        writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
        Codec<Value>::encode(writer, value);
    }
};

template <>
struct Codec<bool> {
    static void decode(bool &value, Element element, const Path &path);
    static void encode(Writer &writer, bool value) { writer.Bool(value); }
};

template <>
struct Codec<qint64> {
    static void decode(qint64 &value, Element element, const Path &path);
    static void encode(Writer &writer, qint64 value) { writer.Int64(value); }
};

/// A view of the document's text. The document must outlive the record.
template <>
struct Codec<QUtf8StringView> {
    static void decode(QUtf8StringView &value, Element element, const Path &path);
};

template <>
struct Codec<QString> {
    static void decode(QString &value, Element element, const Path &path);
    static void encode(Writer &writer, const QString &value);
};

template <>
struct Codec<Instant> {
    static void decode(Instant &value, Element element, const Path &path);
    static void encode(Writer &writer, Instant value);
};

/// A required address must be valid. An empty optional address counts as absent, since GitHub writes "" for an address
/// that is not set.
template <>
struct Codec<WebAddress> {
    static void decode(WebAddress &value, Element element, const Path &path);
    static void encode(Writer &writer, const WebAddress &value) { Codec<QString>::encode(writer, value.text()); }
};

template <>
struct Codec<std::optional<WebAddress>> {
    static void decode(std::optional<WebAddress> &value, Element element, const Path &path);
    static void encode(Writer &writer, const std::optional<WebAddress> &value)
    {
        Codec<WebAddress>::encode(writer, *value);
    }
};

template <typename T>
struct Codec<std::optional<T>> {
    static void decode(std::optional<T> &value, Element element, const Path &path)
    {
        if (element.is_null())
            return;
        Codec<T>::decode(value.emplace(), element, path);
    }
    static void encode(Writer &writer, const std::optional<T> &value) { Codec<T>::encode(writer, *value); }
};

template <typename T>
struct Codec<QList<T>> {
    static void decode(QList<T> &value, Element element, const Path &path)
    {
        simdjson::dom::array array;
        if (element.get(array) != simdjson::SUCCESS)
            failExpected(path, "an array");
        value.reserve(static_cast<qsizetype>(array.size()));
        std::size_t index = 0;
        for (const auto item : array) {
            Codec<T>::decode(value.emplaceBack(), item, Path{&path, {}, index});
            ++index;
        }
    }
    static void encode(Writer &writer, const QList<T> &value)
    {
        writer.StartArray();
        for (const auto &item : value)
            Codec<T>::encode(writer, item);
        writer.EndArray();
    }
};

/// The root of the document. Valid as long as the document lives.
[[nodiscard]] Element rootOf(const JSONDocument &document);

} // namespace json

template <typename Record>
Record decodeJSON(const JSONDocument &document)
{
    Record record{};
    json::Codec<Record>::decode(record, json::rootOf(document), json::Path{});
    return record;
}

template <typename Record>
Record decodeJSON(QByteArrayView text)
{
    const JSONDocument document(text);
    return decodeJSON<Record>(document);
}

template <typename Record>
QByteArray encodeJSON(const Record &record, InstantForm instants)
{
    rapidjson::StringBuffer buffer;
    json::Writer writer(buffer, instants);
    json::Codec<Record>::encode(writer, record);
    return QByteArray(buffer.GetString(), static_cast<qsizetype>(buffer.GetSize()));
}

template <typename Record>
QByteArray encodeJSON(const Record &record)
{
    return encodeJSON(record, InstantForm::Seconds);
}

} // namespace velmora
