// SPDX-License-Identifier: MIT
#include "simulator/pages.h"

#include <QtEndian>

namespace velmora::simulator
{

using namespace Qt::Literals::StringLiterals;

namespace
{

Response page(const QString &title, const QString &text)
{
    return Response::html(200,
        u"<!doctype html><html lang=\"en\"><meta charset=\"utf-8\"><title>Demo: %1</title>"
        "<body style=\"font-family:sans-serif;max-width:40em;margin:4em auto\"><p><strong>Demo</strong></p>"
        "<h1>%1</h1><p>%2</p></body></html>\n"_s.arg(title.toHtmlEscaped(), text.toHtmlEscaped()));
}

quint32 checksum(const QByteArray &data)
{
    quint32 sum = 0xffffffffU;
    for (const char c : data) {
        sum ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum >> 1) ^ ((sum & 1) != 0 ? 0xedb88320U : 0U);
    }
    return ~sum;
}

QByteArray bigEndian(quint32 number)
{
    const quint32 swapped = qToBigEndian(number);
    return {reinterpret_cast<const char *>(&swapped), sizeof swapped};
}

QByteArray chunk(const QByteArray &name, const QByteArray &data)
{
    return bigEndian(quint32(data.size())) + name + data + bigEndian(checksum(name + data));
}

} // namespace

QByteArray avatarPNG(quint32 number)
{
    constexpr quint32 kSize = 40;
    const quint32 mixed = number * 2'654'435'761U;
    const auto part = [&](int shift) {
        return char(0x40 + ((mixed >> shift) & 0x7f));
    };
    QByteArray row(1, '\0'); // filter type: none
    for (quint32 x = 0; x < kSize; ++x)
        row.append(part(3)).append(part(11)).append(part(19));
    const QByteArray header = bigEndian(kSize) + bigEndian(kSize) + QByteArray("\x08\x02\x00\x00\x00", 5);
    // qCompress() puts four bytes of length before the zlib stream.
    const QByteArray pixels = qCompress(row.repeated(kSize), 9).mid(4);
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + chunk("IHDR", header) + chunk("IDAT", pixels) + chunk("IEND", {});
}

std::optional<Response> answerPage(const World &world, const Request &request)
{
    if (request.method != "GET" && request.method != "HEAD")
        return std::nullopt;
    const QString path = QString::fromUtf8(request.path);
    if (path == "/login/device"_L1)
        return page(
            u"Connect a device"_s, u"Here a person would enter the code. In the demo it is approved by itself."_s);
    if (path.startsWith("/avatars/"_L1)) {
        const quint32 number = path.section(u'/', -1).toUInt();
        return Response{200, {{"Content-Type", "image/png"}}, avatarPNG(number)};
    }
    const QString first = path.section(u'/', 1, 1);
    if (first == "apps"_L1 || first == "settings"_L1 || first == "organizations"_L1)
        return page(u"Installations"_s, u"Here a person would choose what the App may see."_s);
    if (world.ownerWithLogin(first))
        return page(path.mid(1), u"This is invented. On GitHub the page itself would be here."_s);
    return std::nullopt;
}

} // namespace velmora::simulator
