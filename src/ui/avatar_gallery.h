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

/// The pictures of the accounts that are shown, decoded and scaled away from the main thread.
///
/// A picture that could not be had is asked for again with the next setShown() that follows a retry().
class AvatarGallery final : public QObject
{
    Q_OBJECT

public:
    /// The longer side of a picture, in pixels: enough for a row on a fine screen.
    static constexpr int kSide = 144;

    /// The loader is not owned and outlives the gallery; null when there is none, and then there are no pictures.
    explicit AvatarGallery(AvatarLoading *loader, QObject *parent = nullptr);

    /// Loads what is not known of these and forgets all others.
    void setShown(const QSet<QString> &addresses);
    /// Gives those that failed another chance.
    void retry() { m_failed.clear(); }
    /// Null while it is not there.
    [[nodiscard]] QImage picture(const QString &address) const { return m_pictures.value(address); }

Q_SIGNALS:
    /// A picture has come.
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

/// The picture in the bytes, scaled down to fit a square of `side` pixels; null for anything but a PNG, JPEG, GIF or
/// WebP picture of a sensible size. May run on any thread.
[[nodiscard]] QImage decodedAvatar(const QByteArray &content, int side);

} // namespace velmora
