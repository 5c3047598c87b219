// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSslError>
#include <QString>

namespace velmora
{

/// The messages to the user about a failed connection. They name a proxy by host and port, never with its credentials;
/// a proxy without a host name is "the proxy".

/// Says that the certificate of the host cannot be verified, why, and what helps. `errors` is not empty.
[[nodiscard]] QString certificateFailureText(const QString &host, const QList<QSslError> &errors);

[[nodiscard]] QString closedEarlyText(const QString &host);

/// `qtText` is Qt's error text. The result contains it unless it quotes the request or the server.
[[nodiscard]] QString connectionFailureText(
    const QString &host, QNetworkReply::NetworkError error, const QString &qtText, const QNetworkProxy &proxy);

/// Qt's text if it is one that names nothing, else words for the error: for a report that is made public.
[[nodiscard]] QString connectionFailureKind(QNetworkReply::NetworkError error, const QString &qtText);

[[nodiscard]] QString timeoutText(const QString &host, const QNetworkProxy &proxy);

} // namespace velmora
