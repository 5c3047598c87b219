// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSslError>
#include <QString>

namespace velmora
{

/// The messages to the user about a failed connection. They name a proxy by host and port, never with its credentials.

/// Says that the certificate of the host cannot be verified, why, and what helps. `errors` is not empty.
[[nodiscard]] QString certificateFailureText(const QString &host, const QList<QSslError> &errors);

[[nodiscard]] QString closedEarlyText(const QString &host);

/// `qtText` is Qt's error text. The result contains it unless it quotes the request or the server.
[[nodiscard]] QString connectionFailureText(
    const QString &host, QNetworkReply::NetworkError error, const QString &qtText, const QNetworkProxy &proxy);

[[nodiscard]] QString timeoutText(const QString &host, const QNetworkProxy &proxy);

} // namespace velmora
