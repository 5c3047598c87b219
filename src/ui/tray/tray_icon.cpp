// SPDX-License-Identifier: MIT
#include "ui/tray/tray_icon.h"

#include "ui/controls/symbols.h"
#include "ui/tray/pixel_digits.h"

#include <QPainter>
#include <QPainterPath>

#include <array>
#include <cmath>
#include <numbers>

namespace velmora
{

namespace
{

constexpr std::array kSizes{16, 22, 24, 32, 48, 64};
constexpr int kLargestPaleSize = 24;
/// Enough for the values that usually alternate.
constexpr int kKeptValues = 16;
constexpr qsizetype kHighestCount = 99;

/// Symbols leave a twelfth of their frame empty on each side; an icon of 16 pixels needs that space.
constexpr qreal kFrameOfArtwork = 24.0 / 20.0;

constexpr QColor kGround(0xff, 0xff, 0xff);
constexpr QColor kBadge(0x16, 0x1b, 0x22);
constexpr QColor kDigits(0xff, 0xff, 0xff);

QColor colourOf(const DeploymentMonitorPresentation &presentation)
{
    switch (presentation.state) {
    case DeploymentMonitorState::Case::Ready:
        if (presentation.activeCount > 0)
            return {0x0b, 0x5c, 0xc9};
        return presentation.failedCount > 0 ? QColor(0xc3, 0x21, 0x29) : QColor(0x14, 0x70, 0x2f);
    case DeploymentMonitorState::Case::Stale:
    case DeploymentMonitorState::Case::RateLimited:
        return {0xa8, 0x4f, 0x00};
    case DeploymentMonitorState::Case::Loading:
    case DeploymentMonitorState::Case::Disconnected:
        break;
    }
    return {0x3d, 0x46, 0x50};
}

QImage emptyImage(int side)
{
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

int rimOf(int side)
{
    return std::max(1, side / 16);
}

QImage symbolImage(const QString &name, int side, const QColor &colour)
{
    QImage image = emptyImage(side);
    const qreal frame = std::round((side - 2 * rimOf(side)) * kFrameOfArtwork / 2) * 2;
    const qreal corner = (side - frame) / 2;
    QPainter painter(&image);
    paintSymbol(&painter, name, QRectF(corner, corner, frame, frame), colour);
    return image;
}

/// The shape, grown by `rim` on all sides, so that gaps narrower than two rims close.
QImage widened(const QImage &shape, qreal rim)
{
    constexpr int kDirections = 24;
    QImage image = emptyImage(shape.width());
    QPainter painter(&image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    for (int i = 0; i < kDirections; ++i) {
        const qreal angle = 2 * std::numbers::pi * i / kDirections;
        painter.drawImage(QPointF(rim * std::cos(angle), rim * std::sin(angle)), shape);
    }
    painter.drawImage(0, 0, shape);
    return image;
}

bool isRound(const QString &symbol)
{
    return symbol != QLatin1String("exclamationmark.triangle.fill");
}

/// The white shape behind the symbol.
QImage groundFor(const QString &symbol, int side)
{
    const qreal rim = rimOf(side);
    QImage ground = widened(symbolImage(symbol, side, kGround), rim);
    if (isRound(symbol)) {
        QPainter painter(&ground);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(kGround);
        painter.drawEllipse(QRectF(rim, rim, side - 2 * rim, side - 2 * rim));
    }
    return ground;
}

PixelDigits::Measures measuresFor(int side)
{
    switch (side) {
    case 16:
        return {1, 4, 7, 1};
    case 22:
    case 24:
        return {2, 6, 10, 1};
    case 32:
        return {3, 9, 15, 1};
    case 48:
        return {3, 11, 17, 2};
    default:
        return {4, 14, 22, 3};
    }
}

/// Paints the badge into the lower right corner, with a margin of the ground colour around it.
void paintBadge(QPainter *painter, const QString &text, int side)
{
    const PixelDigits digits(measuresFor(side));
    const int rim = rimOf(side);
    const QSize size = digits.size(text);
    const QSize wanted = size + QSize(4 * rim, 2 * rim);
    const int width = std::clamp(wanted.width(), wanted.height(), side);
    const QRect badge(side - width, side - wanted.height(), width, wanted.height());
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(kGround);
    painter->drawRoundedRect(badge.adjusted(-rim, -rim, 0, 0), 2 * rim, 2 * rim);
    painter->setBrush(kBadge);
    painter->drawRoundedRect(badge, 2 * rim, 2 * rim);
    const QPoint corner(badge.x() + (badge.width() - size.width()) / 2, badge.y() + rim);
    digits.paint(painter, text, corner, kDigits);
}

QImage iconImage(const DeploymentMonitorPresentation &presentation, int side)
{
    const QString symbol = presentation.symbol();
    QImage image = groundFor(symbol, side);
    QPainter painter(&image);
    const QImage drawing = symbolImage(symbol, side, colourOf(presentation));
    painter.drawImage(0, 0, drawing);
    // At small sizes lines are little wider than a pixel and look pale; painting twice makes them firm. Not for filled
    // symbols, whose lines are gaps, which would close.
    if (side <= kLargestPaleSize && !symbol.endsWith(QLatin1String(".fill")))
        painter.drawImage(0, 0, drawing);
    if (const QString count = TrayIcon::countText(presentation); !count.isEmpty())
        paintBadge(&painter, count, side);
    return image;
}

} // namespace

TrayIcon::TrayIcon()
    : m_drawn(kKeptValues)
{
}

QString TrayIcon::countText(const DeploymentMonitorPresentation &presentation)
{
    if (presentation.state != DeploymentMonitorState::Case::Ready || presentation.activeCount == 0)
        return {};
    if (presentation.activeCount > kHighestCount)
        return QStringLiteral("%1+").arg(kHighestCount);
    return QString::number(presentation.activeCount);
}

QList<QImage> TrayIcon::images(const DeploymentMonitorPresentation &presentation)
{
    const QString key = presentation.symbol() + QLatin1Char(' ') + countText(presentation);
    if (const auto *const known = m_drawn.object(key))
        return *known;
    QList<QImage> images;
    for (const int side : kSizes)
        images.append(iconImage(presentation, side));
    m_drawn.insert(key, new QList<QImage>(images));
    return images;
}

} // namespace velmora
