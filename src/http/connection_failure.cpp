// SPDX-License-Identifier: MIT
#include "http/connection_failure.h"

#include <cstring>

namespace velmora
{

namespace
{

/// OpenSSL's results of verifying a certificate, which never change.
enum Verification : long {
    NotAsked = 1,
    IssuerMissing = 2,
    NotYetValid = 9,
    Expired = 10,
    SelfSigned = 18,
    SelfSignedInChain = 19,
    LocalIssuerMissing = 20,
    LeafUnverifiable = 21,
    Revoked = 23,
    Untrusted = 27,
};

struct CertificateProblem {
    QString reason;
    QString advice;
};

CertificateProblem certificateProblem(long verification)
{
    const QString install = QStringLiteral("If your company signs certificates itself, install the certificate of its "
                                           "authority in the system's trust store.");
    const QString clock = QStringLiteral("Check this computer's clock, or tell the host's administrator.");
    switch (verification) {
    case NotAsked: // curl compares the name before it asks for the result, which is good.
        return {QStringLiteral("it is for another host name"),
            QStringLiteral("Check the address, or tell the host's administrator.")};
    case Revoked:
        return {QStringLiteral("it was revoked"), QStringLiteral("Tell the host's administrator.")};
    case SelfSigned:
        return {QStringLiteral("it is self-signed"), install};
    case SelfSignedInChain:
    case IssuerMissing:
    case LocalIssuerMissing:
    case LeafUnverifiable:
    case Untrusted:
        return {QStringLiteral("this system does not know its issuer"), install};
    case Expired:
        return {QStringLiteral("it has expired"), clock};
    case NotYetValid:
        return {QStringLiteral("it is not valid yet"), clock};
    default:
        return {QStringLiteral("it is not a valid certificate for this use"),
            QStringLiteral("Tell the host's administrator.")};
    }
}

QString certificateFailureText(const QString &host, long verification)
{
    const CertificateProblem problem = certificateProblem(verification);
    return QStringLiteral("The certificate of %1 could not be verified: %2. %3")
        .arg(host, problem.reason, problem.advice);
}

bool isUsed(const Proxy &proxy)
{
    return proxy.kind != Proxy::Kind::None;
}

/// "proxy HOST:PORT".
QString nameOf(const Proxy &proxy)
{
    if (proxy.host.isEmpty())
        return QStringLiteral("proxy");
    const bool isIPv6 = proxy.host.contains(QLatin1Char(':'));
    const QString host = isIPv6 ? QStringLiteral("[%1]").arg(proxy.host) : proxy.host;
    return QStringLiteral("proxy %1:%2").arg(host).arg(proxy.port);
}

QString authenticationText(const Proxy &proxy)
{
    if (proxy.user.isEmpty())
        return QStringLiteral("The %1 asks for a user name and a password, and none are set in its address.")
            .arg(nameOf(proxy));
    return QStringLiteral("The %1 does not accept the user name and the password that are set in its address.")
        .arg(nameOf(proxy));
}

/// What the system says of a connection that could not be made.
QString systemText(const ConnectionFailure &failure)
{
    return failure.systemError == 0 ? QStringLiteral("No connection could be made")
                                    : QString::fromLocal8Bit(std::strerror(static_cast<int>(failure.systemError)));
}

QString proxyFailureText(const QString &host, const ConnectionFailure &failure, const Proxy &proxy)
{
    constexpr long kAuthenticationRequired = 407;
    const QString name = nameOf(proxy);
    if (failure.proxyStatus == kAuthenticationRequired)
        return authenticationText(proxy);
    if (failure.code == CURLE_COULDNT_RESOLVE_PROXY)
        return QStringLiteral("The %1 was not found, or does not find %2.").arg(name, host);
    const QString failed = QStringLiteral("%1 cannot be reached through the %2").arg(host, name);
    if (failure.proxyStatus != 0)
        return QStringLiteral("%1, which answered with status %2.").arg(failed).arg(failure.proxyStatus);
    if (failure.code == CURLE_COULDNT_CONNECT)
        return QStringLiteral("%1: %2").arg(failed, systemText(failure));
    return failed + QLatin1Char('.');
}

bool isFailureOfProxy(const ConnectionFailure &failure)
{
    return failure.proxyStatus != 0 || failure.code == CURLE_COULDNT_CONNECT || failure.code == CURLE_PROXY
        || failure.code == CURLE_COULDNT_RESOLVE_PROXY || failure.code == CURLE_COULDNT_RESOLVE_HOST;
}

} // namespace

QString connectionFailureText(const QString &host, const ConnectionFailure &failure, const Proxy &proxy)
{
    if (isUsed(proxy) && isFailureOfProxy(failure))
        return proxyFailureText(host, failure, proxy);
    if (failure.isDamaged)
        return QStringLiteral("The answer of %1 cannot be read.").arg(host);
    switch (failure.code) {
    case CURLE_PEER_FAILED_VERIFICATION:
        return certificateFailureText(host, failure.verification);
    case CURLE_SSL_CONNECT_ERROR:
        return QStringLiteral("No encrypted connection to %1 could be made.").arg(host);
    case CURLE_COULDNT_RESOLVE_HOST:
        return QStringLiteral("Host %1 not found").arg(host);
    case CURLE_COULDNT_CONNECT:
        return systemText(failure);
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
        return closedEarlyText(host);
    default:
        return QStringLiteral("The answer of %1 cannot be read.").arg(host);
    }
}

QString closedEarlyText(const QString &host)
{
    return QStringLiteral("%1 closed the connection before the answer was complete.").arg(host);
}

QString timeoutText(const QString &host, const Proxy &proxy)
{
    if (isUsed(proxy))
        return QStringLiteral("The connection to %1 through the %2 timed out.").arg(host, nameOf(proxy));
    return QStringLiteral("The connection to %1 timed out.").arg(host);
}

} // namespace velmora
