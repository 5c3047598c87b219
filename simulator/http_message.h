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

/// One header line, its name as it was written.
struct Header {
    QByteArray name;
    QByteArray value;
    friend bool operator==(const Header &, const Header &) = default;
};

/// One request as it arrived.
struct Request {
    QByteArray method;
    QByteArray path; ///< still percent-encoded
    QByteArray query; ///< what stands after the question mark, still percent-encoded
    QList<Header> headers; ///< in the order of the wire
    QByteArray body;

    /// The value of the first header of that name, whatever its case; nothing when there is none.
    [[nodiscard]] std::optional<QByteArray> header(const QByteArray &name) const;
    /// The decoded pairs of the query, in order.
    [[nodiscard]] QList<QPair<QString, QString>> queryItems() const;
    /// The first decoded value of that name in the query; empty when there is none.
    [[nodiscard]] QString queryValue(const QString &name) const;
    /// The access token of the Authorization header, of either scheme that GitHub takes; empty without one.
    [[nodiscard]] QString token() const;
};

/// One answer; the server adds the length, the date and the request's identifier.
struct Response {
    int status = 200;
    QList<Header> headers;
    QByteArray body;

    /// An answer with a JSON body of GitHub's content type.
    [[nodiscard]] static Response json(int status, const QByteArray &body);
    [[nodiscard]] static Response json(int status, const QJsonObject &body);
    /// A page for a person.
    [[nodiscard]] static Response html(int status, const QString &body);
};

/// A JSON text literal for `text`, in UTF-8 and with its quotes.
[[nodiscard]] QByteArray jsonText(const QString &text);

/// The pairs of a form or of a query, decoded; a plus sign is a blank.
[[nodiscard]] QList<QPair<QString, QString>> decodeForm(const QByteArray &form);

/// The pairs as application/x-www-form-urlencoded.
[[nodiscard]] QByteArray encodeForm(const QList<QPair<QString, QString>> &pairs);

} // namespace velmora::simulator
