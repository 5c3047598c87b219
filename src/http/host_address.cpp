// SPDX-License-Identifier: MIT
#include "http/host_address.h"

#include <algorithm>

#include <arpa/inet.h>

namespace velmora
{

namespace
{

/// The 4 or 16 bytes of an IP address; empty for anything else.
QByteArray bytesOf(const QString &address)
{
    for (const auto &[family, size] : {std::pair(AF_INET, 4), {AF_INET6, 16}}) {
        QByteArray bytes(size, 0);
        if (::inet_pton(family, address.toUtf8().constData(), bytes.data()) == 1)
            return bytes;
    }
    return {};
}

/// The mask of that many bytes, whose text is the number of its bits or an address.
QByteArray maskOf(const QString &text, qsizetype size)
{
    bool isNumber = false;
    const int bits = text.toInt(&isNumber);
    if (!isNumber)
        return bytesOf(text);
    if (bits < 0 || bits > size * 8)
        return {};
    QByteArray mask(size, 0);
    for (int bit = 0; bit < bits; ++bit)
        mask[bit / 8] = static_cast<char>(mask.at(bit / 8) | (0x80 >> bit % 8));
    return mask;
}

} // namespace

int portOf(const QUrl &url)
{
    return url.port(url.scheme() == QLatin1String("https") ? 443 : 80);
}

bool isOnThisMachine(const QUrl &url)
{
    const QString host = url.host();
    const auto isIn = [&host](const char *network) {
        return isInNetwork(host, QString::fromLatin1(network));
    };
    return host == QLatin1String("localhost") || host.endsWith(QLatin1String(".localhost")) || isIn("127.0.0.0/8")
        || isIn("::1") || isIn("::ffff:127.0.0.0/104");
}

bool isIPAddress(const QString &host)
{
    return !bytesOf(host).isEmpty();
}

bool isInNetwork(const QString &host, const QString &network)
{
    const QByteArray address = bytesOf(host);
    const QByteArray base = bytesOf(network.section(QLatin1Char('/'), 0, 0));
    const QString bits
        = network.contains(QLatin1Char('/')) ? network.section(QLatin1Char('/'), 1) : QString::number(base.size() * 8);
    const QByteArray mask = maskOf(bits, base.size());
    if (address.isEmpty() || address.size() != base.size() || mask.size() != base.size())
        return false;
    for (qsizetype at = 0; at < mask.size(); ++at) {
        if (((address.at(at) ^ base.at(at)) & mask.at(at)) != 0)
            return false;
    }
    return true;
}

} // namespace velmora
