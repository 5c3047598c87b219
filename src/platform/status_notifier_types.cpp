// SPDX-License-Identifier: MIT
#include "platform/status_notifier_types.h"

#include <QDBusMetaType>
#include <QImage>
#include <QtEndian>

namespace velmora
{

namespace
{

StatusNotifierPixmap pixmapOf(const QImage &image)
{
    const QImage points = image.convertToFormat(QImage::Format_ARGB32);
    StatusNotifierPixmap pixmap{points.width(), points.height(), {}};
    const qsizetype rowLength = qsizetype(points.width()) * qsizetype(sizeof(quint32));
    pixmap.data.resize(rowLength * points.height());
    for (int row = 0; row < points.height(); ++row)
        qToBigEndian<quint32>(points.constScanLine(row), points.width(), pixmap.data.data() + row * rowLength);
    return pixmap;
}

} // namespace

QDBusArgument &operator<<(QDBusArgument &argument, const StatusNotifierPixmap &pixmap)
{
    argument.beginStructure();
    argument << pixmap.width << pixmap.height << pixmap.data;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, StatusNotifierPixmap &pixmap)
{
    argument.beginStructure();
    argument >> pixmap.width >> pixmap.height >> pixmap.data;
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const StatusNotifierToolTip &toolTip)
{
    argument.beginStructure();
    argument << toolTip.iconName << toolTip.iconPixmap << toolTip.title << toolTip.text;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, StatusNotifierToolTip &toolTip)
{
    argument.beginStructure();
    argument >> toolTip.iconName >> toolTip.iconPixmap >> toolTip.title >> toolTip.text;
    argument.endStructure();
    return argument;
}

QList<StatusNotifierPixmap> statusNotifierPixmaps(const QList<QImage> &images)
{
    QList<StatusNotifierPixmap> pixmaps;
    for (const QImage &image : images) {
        if (!image.isNull())
            pixmaps.append(pixmapOf(image));
    }
    return pixmaps;
}

void registerStatusNotifierTypes()
{
    qDBusRegisterMetaType<StatusNotifierPixmap>();
    qDBusRegisterMetaType<QList<StatusNotifierPixmap>>();
    qDBusRegisterMetaType<StatusNotifierToolTip>();
}

} // namespace velmora
