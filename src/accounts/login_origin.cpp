// SPDX-License-Identifier: MIT
#include "accounts/login_origin.h"

namespace velmora
{

namespace
{

/// The port, or -1 if it is absent or the default of the scheme.
int ownPort(const QUrl &url)
{
    const bool isSecure = url.scheme() == QLatin1String("https");
    constexpr int kSecure = 443;
    constexpr int kPlain = 80;
    return url.port() == (isSecure ? kSecure : kPlain) ? -1 : url.port();
}

} // namespace

LoginOrigin LoginOrigin::gitHub()
{
    return LoginOrigin(QUrl(QStringLiteral("https://github.com")));
}

LoginOrigin::LoginOrigin(const QUrl &login)
{
    QUrl origin;
    origin.setScheme(login.scheme());
    origin.setHost(login.host());
    origin.setPort(ownPort(login));
    m_text = origin.toString(QUrl::FullyEncoded);
    // Schemes and hosts here contain no '+', so the names of two origins differ.
    m_folderName = origin.scheme() + QLatin1Char('+') + origin.host(QUrl::FullyEncoded);
    if (origin.port() >= 0)
        m_folderName += QStringLiteral("+%1").arg(origin.port());
}

QString LoginOrigin::keychainService() const
{
    const QString service = QStringLiteral("com.tarvik.velmora.github");
    return isGitHub() ? service : service + QLatin1Char('@') + m_text;
}

QString LoginOrigin::preferenceKey(const QString &key) const
{
    return isGitHub() ? key : key + QLatin1Char('@') + m_text;
}

QString LoginOrigin::folderIn(const QString &folder) const
{
    return isGitHub() || folder.isEmpty() ? folder : folder + QLatin1Char('/') + m_folderName;
}

} // namespace velmora
