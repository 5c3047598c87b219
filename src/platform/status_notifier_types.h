// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QDBusArgument>
#include <QList>
#include <QString>

class QImage;

namespace velmora
{

/// (iiay): an image in rows from the top, each pixel as alpha, red, green and blue, not premultiplied.
struct StatusNotifierPixmap {
    int width = 0;
    int height = 0;
    QByteArray data;

    friend bool operator==(const StatusNotifierPixmap &, const StatusNotifierPixmap &) = default;
};

/// (sa(iiay)ss)
struct StatusNotifierToolTip {
    QString iconName;
    QList<StatusNotifierPixmap> iconPixmap;
    QString title; ///< plain
    QString text; ///< markup

    friend bool operator==(const StatusNotifierToolTip &, const StatusNotifierToolTip &) = default;
};

QDBusArgument &operator<<(QDBusArgument &argument, const StatusNotifierPixmap &pixmap);
const QDBusArgument &operator>>(const QDBusArgument &argument, StatusNotifierPixmap &pixmap);
QDBusArgument &operator<<(QDBusArgument &argument, const StatusNotifierToolTip &toolTip);
const QDBusArgument &operator>>(const QDBusArgument &argument, StatusNotifierToolTip &toolTip);

/// The images in the form for D-Bus, without empty ones.
[[nodiscard]] QList<StatusNotifierPixmap> statusNotifierPixmaps(const QList<QImage> &images);

/// Registers the types with D-Bus. May be called again.
void registerStatusNotifierTypes();

} // namespace velmora

Q_DECLARE_METATYPE(velmora::StatusNotifierPixmap)
Q_DECLARE_METATYPE(velmora::StatusNotifierToolTip)
