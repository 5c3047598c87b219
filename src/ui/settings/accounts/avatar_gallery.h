// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/avatar_loading.h"
#include "support/task_scope.h"

#include <QHash>
#include <QImage>
#include <QObject>
#include <QPointer>
#include <QSet>

namespace velmora
{

/// The pictures of the accounts on show, decoded and scaled on another thread.
///
/// A picture that failed to load is requested again by the first setShown() after retry().
class AvatarGallery final : public QObject
{
    Q_OBJECT

public:
    /// The longer side of a picture, in pixels: enough for a row on a fine screen.
    static constexpr int kSide = 144;

    /// The loader is not owned and outlives the gallery. Without a loader (null) there are no pictures.
    explicit AvatarGallery(AvatarLoading *loader, QObject *parent = nullptr);

    /// Loads the pictures that are not known yet; forgets those of all other addresses.
    void setShown(const QSet<QString> &addresses);
    /// Lets the next setShown() request failed pictures again.
    void retry() { m_failed.clear(); }
    /// The picture of the address; null until it is loaded.
    [[nodiscard]] QImage picture(const QString &address) const { return m_pictures.value(address); }

Q_SIGNALS:
    /// A picture was loaded.
    void changed();

private:
    static QCoro::Task<> load(
        QPointer<AvatarGallery> gallery, AvatarLoading *loader, WebAddress address, std::stop_token stop);
    void settle(const QString &address, const QImage &picture);

    AvatarLoading *m_loader;
    QSet<QString> m_shown;
    QSet<QString> m_loading;
    QSet<QString> m_failed;
    QHash<QString, QImage> m_pictures;
    TaskScope m_scope;
};

/// Decodes a PNG, JPEG, GIF or WebP picture and scales it down to fit a square of `side` pixels. Null for any other
/// format, for broken bytes, and for more than 4096 pixels a side. May run on any thread.
[[nodiscard]] QImage decodedAvatar(const QByteArray &content, int side);

} // namespace velmora
