// SPDX-License-Identifier: MIT
#include "simulator/http_message.h"

#include <QJsonDocument>
#include <QUrl>

namespace velmora::simulator
{

std::optional<QByteArray> Request::header(const QByteArray &name) const
{
    for (const Header &header : headers) {
        if (header.name.compare(name, Qt::CaseInsensitive) == 0)
            return header.value;
    }
    return std::nullopt;
}

QList<QPair<QString, QString>> Request::queryItems() const
{
    return decodeForm(query);
}

QString Request::queryValue(const QString &name) const
{
    const auto items = queryItems();
    for (const auto &[key, value] : items) {
        if (key == name)
            return value;
    }
    return {};
}

QString Request::token() const
{
    const QByteArray value = header("Authorization").value_or(QByteArray());
    const qsizetype blank = value.indexOf(' ');
    const QByteArray scheme = value.left(blank).toLower();
    if (blank < 0 || (scheme != "bearer" && scheme != "token"))
        return {};
    return QString::fromUtf8(value.mid(blank + 1).trimmed());
}

Response Response::json(int status, const QByteArray &body)
{
    return {status, {{"Content-Type", "application/json; charset=utf-8"}}, body};
}

Response Response::json(int status, const QJsonObject &body)
{
    return json(status, QJsonDocument(body).toJson(QJsonDocument::Compact));
}

Response Response::html(int status, const QString &body)
{
    return {status, {{"Content-Type", "text/html; charset=utf-8"}}, body.toUtf8()};
}

QByteArray jsonText(const QString &text)
{
    QByteArray literal;
    const QByteArray utf8 = text.toUtf8();
    literal.reserve(utf8.size() + 2);
    literal += '"';
    for (const char c : utf8) {
        if (c == '"' || c == '\\') {
            literal += '\\';
            literal += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            literal += "\\u00" + QByteArray(1, c).toHex();
        } else {
            literal += c;
        }
    }
    literal += '"';
    return literal;
}

QList<QPair<QString, QString>> decodeForm(const QByteArray &form)
{
    const auto decode = [](QByteArray part) {
        return QString::fromUtf8(QByteArray::fromPercentEncoding(part.replace('+', ' ')));
    };
    QList<QPair<QString, QString>> pairs;
    const auto parts = form.split('&');
    for (const QByteArray &part : parts) {
        if (part.isEmpty())
            continue;
        const qsizetype equals = part.indexOf('=');
        const QByteArray name = equals < 0 ? part : part.left(equals);
        const QByteArray value = equals < 0 ? QByteArray() : part.mid(equals + 1);
        pairs.append({decode(name), decode(value)});
    }
    return pairs;
}

QByteArray encodeForm(const QList<QPair<QString, QString>> &pairs)
{
    QByteArray form;
    for (const auto &[name, value] : pairs) {
        if (!form.isEmpty())
            form += '&';
        form += QUrl::toPercentEncoding(name) + '=' + QUrl::toPercentEncoding(value);
    }
    return form;
}

} // namespace velmora::simulator
