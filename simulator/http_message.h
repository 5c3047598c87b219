// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QPair>
#include <QString>

#include <optional>

namespace velmora::simulator
{

/// A header; the name has the case in which it was sent.
struct Header {
    QByteArray name;
    QByteArray value;
    friend bool operator==(const Header &, const Header &) = default;
};

/// A request as received.
struct Request {
    QByteArray method;
    QByteArray path; ///< still percent-encoded
    QByteArray query; ///< after the question mark, still percent-encoded
    QList<Header> headers; ///< in the order in which they were sent
    QByteArray body;

    /// The value of the first header with this name, ignoring case; nothing without one.
    [[nodiscard]] std::optional<QByteArray> header(const QByteArray &name) const;
    /// The decoded pairs of the query, in order.
    [[nodiscard]] QList<QPair<QString, QString>> queryItems() const;
    /// The first decoded value with this name in the query; empty without one.
    [[nodiscard]] QString queryValue(const QString &name) const;
    /// The access token of the Authorization header, in either scheme that GitHub accepts; empty without one.
    [[nodiscard]] QString token() const;
};

/// An answer. The server adds length, date and request identifier.
struct Response {
    int status = 200;
    QList<Header> headers;
    QByteArray body;

    /// An answer with a JSON body and GitHub's content type.
    [[nodiscard]] static Response json(int status, const QByteArray &body);
    [[nodiscard]] static Response json(int status, const QJsonObject &body);
    /// An HTML page.
    [[nodiscard]] static Response html(int status, const QString &body);
};

/// `text` as a JSON string, in UTF-8 with quotes.
[[nodiscard]] QByteArray jsonText(const QString &text);

/// The decoded pairs of a form or query; a plus sign is a space.
[[nodiscard]] QList<QPair<QString, QString>> decodeForm(const QByteArray &form);

/// The pairs as application/x-www-form-urlencoded.
[[nodiscard]] QByteArray encodeForm(const QList<QPair<QString, QString>> &pairs);

} // namespace velmora::simulator
