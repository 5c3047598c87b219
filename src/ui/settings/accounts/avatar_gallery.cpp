// SPDX-License-Identifier: MIT
#include "ui/settings/accounts/avatar_gallery.h"

#include "support/background.h"

#include <QBuffer>
#include <QImageReader>
#include <QThreadPool>

namespace velmora
{

namespace
{

/// In pixels. A small file can unpack into a picture that fills the memory.
constexpr int kLargestSide = 4096;

} // namespace

QImage decodedAvatar(const QByteArray &content, int side)
{
    QBuffer buffer;
    buffer.setData(content);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    // Qt has plugins for more formats, vector graphics among them, which must not decode foreign bytes.
    const QByteArray format = reader.format();
    if (format != "png" && format != "jpeg" && format != "gif" && format != "webp")
        return {};
    const QSize size = reader.size();
    if (size.isEmpty() || size.width() > kLargestSide || size.height() > kLargestSide)
        return {};
    if (size.width() > side || size.height() > side)
        reader.setScaledSize(size.scaled(side, side, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    reader.setAutoTransform(true);
    return reader.read().convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

AvatarGallery::AvatarGallery(AvatarLoading *loader, QObject *parent)
    : QObject(parent)
    , m_loader(loader)
{
}

void AvatarGallery::setShown(const QSet<QString> &addresses)
{
    m_shown = addresses;
    m_failed.intersect(addresses);
    m_pictures.removeIf([&addresses](const auto &entry) { return !addresses.contains(entry.key()); });
    if (!m_loader)
        return;
    for (const QString &address : addresses) {
        if (m_pictures.contains(address) || m_loading.contains(address) || m_failed.contains(address))
            continue;
        m_loading.insert(address);
        m_scope.launch(load(this, m_loader, WebAddress(address), m_scope.stopToken()), "Loading a picture");
    }
}

QCoro::Task<> AvatarGallery::load(
    QPointer<AvatarGallery> gallery, AvatarLoading *loader, WebAddress address, std::stop_token stop)
{
    const auto content = co_await loader->load(address, stop);
    if (!gallery)
        co_return;
    QImage picture;
    if (content) {
        auto decode = [bytes = *content] {
            return decodedAvatar(bytes, kSide);
        };
        picture = co_await runInBackground(QThreadPool::globalInstance(), std::move(decode));
    }
    if (gallery)
        gallery->settle(address.text(), picture);
}

void AvatarGallery::settle(const QString &address, const QImage &picture)
{
    m_loading.remove(address);
    if (!m_shown.contains(address))
        return;
    if (picture.isNull()) {
        m_failed.insert(address);
        return;
    }
    m_pictures.insert(address, picture);
    Q_EMIT changed();
}

} // namespace velmora
