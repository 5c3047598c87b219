// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSslError>
#include <QString>

namespace velmora
{

/// What the person is told about a connection that failed. A proxy is named by its host and port, never with the
/// credentials that it wants.

/// That the certificate of the host does not verify, why, and what helps. `errors` is not empty.
[[nodiscard]] QString certificateFailureText(const QString &host, const QList<QSslError> &errors);

[[nodiscard]] QString closedEarlyText(const QString &host);

/// `qtText` is what Qt says about the error; it is passed on unless it quotes the request or the server.
[[nodiscard]] QString connectionFailureText(
    const QString &host, QNetworkReply::NetworkError error, const QString &qtText, const QNetworkProxy &proxy);

[[nodiscard]] QString timeoutText(const QString &host, const QNetworkProxy &proxy);

} // namespace velmora
