// SPDX-License-Identifier: MIT
#pragma once

#include "raw_http_server.h"

#include <QFile>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>

namespace velmora::testing
{

/// The host name in all certificates but "elsewhere".
inline const auto kSecureHost = QStringLiteral("ghe.example.test");

/// A server on the loopback address with a certificate from tests/github/with-trust-store.
inline std::unique_ptr<RawHTTPServer> httpsServer(const QString &certificate)
{
    const auto read = [&](const QString &ending) {
        QFile file(qEnvironmentVariable("VELMORA_TEST_CERTIFICATES") + QLatin1Char('/') + certificate + ending);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(QSslCertificate(read(QStringLiteral(".pem"))));
    configuration.setPrivateKey(QSslKey(read(QStringLiteral(".key")), QSsl::Ec));
    auto server = std::make_unique<QSslServer>();
    server->setSslConfiguration(configuration);
    return std::make_unique<RawHTTPServer>(std::move(server));
}

} // namespace velmora::testing
