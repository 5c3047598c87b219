// SPDX-License-Identifier: MIT
#include "http/connection_failure.h"

namespace velmora
{

namespace
{

struct CertificateProblem {
    QList<QSslError::SslError> errors;
    QString reason;
    QString advice;
};

/// In order of importance: only the first that applies is reported, since an untrusted certificate may also be expired.
const QList<CertificateProblem> &certificateProblems()
{
    const QString install = QStringLiteral("If your company signs certificates itself, install the certificate of its "
                                           "authority in the system's trust store.");
    static const QList<CertificateProblem> problems{
        {{QSslError::CertificateRevoked, QSslError::CertificateBlacklisted}, QStringLiteral("it was revoked"),
            QStringLiteral("Tell the host's administrator.")},
        {{QSslError::SelfSignedCertificate}, QStringLiteral("it is self-signed"), install},
        {{QSslError::SelfSignedCertificateInChain, QSslError::UnableToGetIssuerCertificate,
             QSslError::UnableToGetLocalIssuerCertificate, QSslError::UnableToVerifyFirstCertificate,
             QSslError::CertificateUntrusted},
            QStringLiteral("this system does not know its issuer"), install},
        {{QSslError::HostNameMismatch}, QStringLiteral("it is for another host name"),
            QStringLiteral("Check the address, or tell the host's administrator.")},
        {{QSslError::CertificateExpired}, QStringLiteral("it has expired"),
            QStringLiteral("Check this computer's clock, or tell the host's administrator.")},
        {{QSslError::CertificateNotYetValid}, QStringLiteral("it is not valid yet"),
            QStringLiteral("Check this computer's clock, or tell the host's administrator.")},
        {{}, QStringLiteral("it is not a valid certificate for this use"),
            QStringLiteral("Tell the host's administrator.")},
    };
    return problems;
}

bool applies(const CertificateProblem &problem, const QList<QSslError> &errors)
{
    return problem.errors.isEmpty()
        || std::ranges::any_of(errors, [&](const QSslError &error) { return problem.errors.contains(error.error()); });
}

bool isUsed(const QNetworkProxy &proxy)
{
    return proxy.type() != QNetworkProxy::NoProxy && proxy.type() != QNetworkProxy::DefaultProxy;
}

/// "proxy HOST:PORT".
QString nameOf(const QNetworkProxy &proxy)
{
    if (proxy.hostName().isEmpty())
        return QStringLiteral("proxy");
    const bool isIPv6 = proxy.hostName().contains(QLatin1Char(':'));
    const QString host = isIPv6 ? QStringLiteral("[%1]").arg(proxy.hostName()) : proxy.hostName();
    return QStringLiteral("proxy %1:%2").arg(host).arg(proxy.port());
}

/// Whether Qt's text quotes an address or the server.
bool isQuoting(QNetworkReply::NetworkError error, const QString &qtText)
{
    return error >= QNetworkReply::ContentAccessDenied || qtText.contains(QLatin1String("://"));
}

QString authenticationText(const QNetworkProxy &proxy)
{
    if (proxy.user().isEmpty())
        return QStringLiteral("The %1 asks for a user name and a password, and none are set in its address.")
            .arg(nameOf(proxy));
    return QStringLiteral("The %1 does not accept the user name and the password that are set in its address.")
        .arg(nameOf(proxy));
}

QString proxyFailureText(
    const QString &host, QNetworkReply::NetworkError error, const QString &qtText, const QNetworkProxy &proxy)
{
    const QString name = nameOf(proxy);
    if (error == QNetworkReply::ProxyAuthenticationRequiredError)
        return authenticationText(proxy);
    // Qt's text names the host. But Qt resolves only the proxy, and the proxy resolves the host.
    if (error == QNetworkReply::HostNotFoundError || error == QNetworkReply::ProxyNotFoundError)
        return QStringLiteral("The %1 was not found, or does not find %2.").arg(name, host);
    const QString failed = QStringLiteral("%1 cannot be reached through the %2").arg(host, name);
    return isQuoting(error, qtText) ? failed + QLatin1Char('.') : failed + QStringLiteral(": ") + qtText;
}

} // namespace

QString certificateFailureText(const QString &host, const QList<QSslError> &errors)
{
    const auto &problems = certificateProblems();
    const auto found
        = std::ranges::find_if(problems, [&](const CertificateProblem &problem) { return applies(problem, errors); });
    return QStringLiteral("The certificate of %1 could not be verified: %2. %3")
        .arg(host, found->reason, found->advice);
}

QString closedEarlyText(const QString &host)
{
    return QStringLiteral("%1 closed the connection before the answer was complete.").arg(host);
}

QString connectionFailureText(
    const QString &host, QNetworkReply::NetworkError error, const QString &qtText, const QNetworkProxy &proxy)
{
    // ContentReSendError: the connection was closed, and Qt cannot send the request again.
    const bool isClosed = error == QNetworkReply::RemoteHostClosedError || error == QNetworkReply::ContentReSendError;
    if (isClosed)
        return closedEarlyText(host);
    if (error == QNetworkReply::SslHandshakeFailedError)
        return QStringLiteral("No encrypted connection to %1 could be made.").arg(host);
    if (isUsed(proxy) && error < QNetworkReply::ContentAccessDenied)
        return proxyFailureText(host, error, qtText, proxy);
    if (isQuoting(error, qtText))
        return QStringLiteral("The answer of %1 cannot be read.").arg(host);
    return qtText;
}

QString connectionFailureKind(QNetworkReply::NetworkError error, const QString &qtText)
{
    static const QStringList nameless{QStringLiteral("Connection refused"), QStringLiteral("Connection timed out"),
        QStringLiteral("Network operation timed out"), QStringLiteral("Socket operation timed out"),
        QStringLiteral("Network unreachable"), QStringLiteral("Host unreachable"),
        QStringLiteral("Temporary network failure."), QStringLiteral("Connection to proxy refused"),
        QStringLiteral("Connection to proxy timed out"), QStringLiteral("Connection to proxy closed prematurely"),
        QStringLiteral("Proxy connection refused"), QStringLiteral("Proxy connection closed prematurely"),
        QStringLiteral("Proxy denied connection"), QStringLiteral("Proxy server connection timed out")};
    if (nameless.contains(qtText))
        return qtText;
    if (error == QNetworkReply::HostNotFoundError)
        return QStringLiteral("Host not found");
    return QStringLiteral("Qt's network error %1").arg(static_cast<int>(error));
}

QString timeoutText(const QString &host, const QNetworkProxy &proxy)
{
    if (isUsed(proxy))
        return QStringLiteral("The connection to %1 through the %2 timed out.").arg(host, nameOf(proxy));
    return QStringLiteral("The connection to %1 timed out.").arg(host);
}

} // namespace velmora
