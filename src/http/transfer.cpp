// SPDX-License-Identifier: MIT
#include "http/transfer.h"

#include <QDir>
#include <QFile>
#include <QUrl>

#include <sys/socket.h>

namespace velmora
{

namespace
{

constexpr long kBufferSize = 64 * 1024;

void setAddress(CURL *transfer, const QUrl &url)
{
    const QByteArray address = url.toEncoded(QUrl::RemoveFragment | QUrl::RemoveUserInfo);
    ::curl_easy_setopt(transfer, CURLOPT_URL, address.constData());
    ::curl_easy_setopt(transfer, CURLOPT_PROTOCOLS_STR, "http,https");
    ::curl_easy_setopt(transfer, CURLOPT_PATH_AS_IS, 1L);
    ::curl_easy_setopt(transfer, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1);
}

void setContent(CURL *transfer, const HTTPRequest &request, const HeaderLines &headers)
{
    ::curl_easy_setopt(transfer, CURLOPT_HTTPHEADER, headers.get());
    ::curl_easy_setopt(transfer, CURLOPT_ACCEPT_ENCODING, ""); // all that are known
    // GitHub refuses requests without it.
    static const QByteArray agent = QByteArray("libcurl/") + ::curl_version_info(CURLVERSION_NOW)->version;
    ::curl_easy_setopt(transfer, CURLOPT_USERAGENT, agent.constData());
    if (request.method == "GET" && !request.body)
        return;
    ::curl_easy_setopt(transfer, CURLOPT_POSTFIELDSIZE, static_cast<long>(request.body ? request.body->size() : 0));
    // Not copied, so that it can be erased.
    ::curl_easy_setopt(transfer, CURLOPT_POSTFIELDS, request.body ? request.body->constData() : "");
    if (request.method != "POST")
        ::curl_easy_setopt(transfer, CURLOPT_CUSTOMREQUEST, request.method.constData());
}

/// Keeps the connection from programs that this one starts, such as the browser.
curl_socket_t openSocket(void *, curlsocktype, curl_sockaddr *address)
{
    return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

/// curl repeats a request only if the connection had been used before.
void setConnection(CURL *transfer, bool isUnrepeatable)
{
    ::curl_easy_setopt(transfer, CURLOPT_FRESH_CONNECT, isUnrepeatable ? 1L : 0L);
    ::curl_easy_setopt(transfer, CURLOPT_FORBID_REUSE, isUnrepeatable ? 1L : 0L);
    ::curl_easy_setopt(transfer, CURLOPT_OPENSOCKETFUNCTION, &openSocket);
    ::curl_easy_setopt(transfer, CURLOPT_NOSIGNAL, 1L);
    // Otherwise the end of a transfer waits for a lookup of its host.
    ::curl_easy_setopt(transfer, CURLOPT_QUICK_EXIT, 1L);
}

void setProxy(CURL *transfer, const Proxy &proxy)
{
    // Empty texts keep curl from asking the environment.
    ::curl_easy_setopt(transfer, CURLOPT_NOPROXY, "");
    if (proxy.kind == Proxy::Kind::None) {
        ::curl_easy_setopt(transfer, CURLOPT_PROXY, "");
        return;
    }
    QUrl address;
    address.setScheme(QStringLiteral("http"));
    address.setHost(proxy.host);
    address.setPort(proxy.port);
    ::curl_easy_setopt(transfer, CURLOPT_PROXY, address.toEncoded().constData());
    ::curl_easy_setopt(
        transfer, CURLOPT_PROXYTYPE, proxy.kind == Proxy::Kind::SOCKS5 ? CURLPROXY_SOCKS5_HOSTNAME : CURLPROXY_HTTP);
    ::curl_easy_setopt(transfer, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    if (proxy.user.isEmpty())
        return;
    ::curl_easy_setopt(transfer, CURLOPT_PROXYUSERNAME, proxy.user.toUtf8().constData());
    ::curl_easy_setopt(transfer, CURLOPT_PROXYPASSWORD, proxy.password.toUtf8().constData());
    ::curl_easy_setopt(transfer, CURLOPT_PROXYAUTH, CURLAUTH_BASIC | CURLAUTH_DIGEST | CURLAUTH_NTLM);
}

/// The system's trust store, or what stands for it in the environment of all programs that use OpenSSL. Where the store
/// has a file for each authority, only those that are needed are read.
void setTrust(CURL *transfer)
{
    constexpr const char *kFolder = "/etc/ssl/certs";
    static const bool hasFiles
        = !QDir(QString::fromLatin1(kFolder)).entryList({QStringLiteral("????????.0")}).isEmpty();
    const QByteArray named = qgetenv("SSL_CERT_FILE");
    if (QFile::exists(QFile::decodeName(named))) {
        ::curl_easy_setopt(transfer, CURLOPT_CAINFO, named.constData());
    } else if (hasFiles) {
        ::curl_easy_setopt(transfer, CURLOPT_CAINFO, nullptr);
        ::curl_easy_setopt(transfer, CURLOPT_CAPATH, kFolder);
    }
}

} // namespace

HeaderLines headerLines(const HTTPRequest &request)
{
    HeaderLines lines;
    const auto append = [&lines](const QByteArray &line) {
        lines.reset(::curl_slist_append(lines.release(), line.constData()));
    };
    for (const auto &[name, value] : request.headers) {
        if (!value.isEmpty())
            append(name + ": " + value);
    }
    // No waiting for a permission to send a body.
    append("Expect:");
    return lines;
}

Transfer makeTransfer(const HTTPRequest &request, const HeaderLines &headers, const Proxy &proxy, qint64 bodyLimit)
{
    Transfer transfer(::curl_easy_init());
    setAddress(transfer.get(), request.url);
    setContent(transfer.get(), request, headers);
    setConnection(transfer.get(), request.isUnrepeatable);
    setProxy(transfer.get(), proxy);
    setTrust(transfer.get());
    ::curl_easy_setopt(transfer.get(), CURLOPT_BUFFERSIZE, kBufferSize);
    ::curl_easy_setopt(transfer.get(), CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(bodyLimit));
    return transfer;
}

} // namespace velmora
