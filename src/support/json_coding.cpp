// SPDX-License-Identifier: MIT
#include "support/json_coding.h"

namespace velmora::json
{

QString Path::text() const
{
    if (!parent)
        return {};
    const QString before = parent->text();
    if (key.empty())
        return before + QLatin1Char('[') + QString::number(index) + QLatin1Char(']');
    const QString name = QString::fromUtf8(key.data(), static_cast<qsizetype>(key.size()));
    return before.isEmpty() ? name : before + QLatin1Char('.') + name;
}

void failMissing(const Path &path)
{
    throw DecodingError(path.text() + QStringLiteral(" is missing"));
}

void failExpected(const Path &path, const char *expected)
{
    const QString place = path.text();
    const QString subject = place.isEmpty() ? QStringLiteral("The JSON document") : place;
    throw DecodingError(subject + QStringLiteral(" is not ") + QString::fromLatin1(expected));
}

void Codec<bool>::decode(bool &value, Element element, const Path &path)
{
    if (element.get(value) != simdjson::SUCCESS)
        failExpected(path, "a boolean");
}

void Codec<qint64>::decode(qint64 &value, Element element, const Path &path)
{
    std::int64_t number = 0;
    if (element.get(number) != simdjson::SUCCESS)
        failExpected(path, "a whole number of 64 bits");
    value = number;
}

void Codec<QUtf8StringView>::decode(QUtf8StringView &value, Element element, const Path &path)
{
    std::string_view text;
    if (element.get(text) != simdjson::SUCCESS)
        failExpected(path, "a text");
    value = QUtf8StringView(text.data(), static_cast<qsizetype>(text.size()));
}

void Codec<QString>::decode(QString &value, Element element, const Path &path)
{
    QUtf8StringView text;
    Codec<QUtf8StringView>::decode(text, element, path);
    value = text.toString();
}

void Codec<QString>::encode(Writer &writer, const QString &value)
{
    const QByteArray utf8 = value.toUtf8();
    writer.String(utf8.constData(), static_cast<rapidjson::SizeType>(utf8.size()));
}

void Codec<Instant>::decode(Instant &value, Element element, const Path &path)
{
    double seconds = 0;
    if (element.get(seconds) != simdjson::SUCCESS)
        failExpected(path, "a number of seconds");
    const auto instant = instantFromReferenceDate(seconds);
    if (!instant)
        failExpected(path, "a time that can be represented");
    value = *instant;
}

void Codec<Instant>::encode(Writer &writer, Instant value)
{
    if (writer.instants() == InstantForm::ISO8601)
        Codec<QString>::encode(writer, toISO8601(value));
    else
        writer.Double(secondsSinceReferenceDate(value));
}

void Codec<WebAddress>::decode(WebAddress &value, Element element, const Path &path)
{
    QString text;
    Codec<QString>::decode(text, element, path);
    value = WebAddress(std::move(text));
    if (value.isEmpty() || !value.url().isValid())
        failExpected(path, "an address");
}

void Codec<std::optional<WebAddress>>::decode(std::optional<WebAddress> &value, Element element, const Path &path)
{
    if (element.is_null())
        return;
    QString text;
    Codec<QString>::decode(text, element, path);
    if (!text.isEmpty())
        value.emplace(std::move(text));
}

} // namespace velmora::json
