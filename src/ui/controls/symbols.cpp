// SPDX-License-Identifier: MIT
#include "ui/controls/symbols.h"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>

#include <array>
#include <cmath>

namespace velmora
{

namespace
{

/// The side of the square on which the icons are drawn.
constexpr qreal kGrid = 24;

/// One icon file as part of a symbol.
struct Layer {
    enum class Use {
        Draw, ///< its lines keep the width of all other icons, whatever the size of its frame
        CutOut, ///< erases its shape from the layers below
    };

    const char *file = nullptr;
    QRectF frame = QRectF(0, 0, kGrid, kGrid); ///< its place on the grid
    Use use = Use::Draw;
};

struct Symbol {
    QStringView name;
    std::array<Layer, 3> layers; ///< layers without a file are unused
};

constexpr QRectF square(qreal x, qreal y, qreal side)
{
    return {x, y, side, side};
}

using enum Layer::Use;

const std::array kSymbols{
    Symbol{u"arrow.clockwise", {{{"outline/reload"}}}},
    Symbol{u"arrow.triangle.2.circlepath", {{{"outline/refresh"}}}},
    Symbol{u"arrow.up.circle.dotted", {{{"outline/circle-dotted"}, {"outline/arrow-up", square(5, 5, 14)}}}},
    Symbol{u"arrow.up.circle.fill", {{{"filled/circle-arrow-up"}}}},
    Symbol{u"arrow.up.right", {{{"outline/arrow-up-right"}}}},
    Symbol{u"bell", {{{"outline/bell"}}}},
    Symbol{u"bell.slash", {{{"outline/bell-off"}}}},
    Symbol{u"checkmark.circle", {{{"outline/circle-check"}}}},
    Symbol{u"checkmark.circle.fill", {{{"filled/circle-check"}}}},
    Symbol{u"clock", {{{"outline/clock"}}}},
    Symbol{u"clock.badge.exclamationmark", {{{"outline/clock-exclamation"}}}},
    Symbol{u"exclamationmark.circle", {{{"outline/alert-circle"}}}},
    Symbol{u"exclamationmark.triangle.fill", {{{"filled/alert-triangle"}}}},
    Symbol{u"folder", {{{"outline/folder"}}}},
    Symbol{u"gearshape", {{{"outline/settings"}}}},
    Symbol{u"magnifyingglass", {{{"outline/search"}}}},
    Symbol{u"minus.circle", {{{"outline/circle-minus"}}}},
    // Enlarged so that the circle around the bars lies outside the disc; only the bars are cut out.
    Symbol{u"pause.circle.fill", {{{"filled/circle"}, {"outline/circle-pause", square(-4, -4, 32), CutOut}}}},
    Symbol{u"person.2", {{{"outline/users"}}}},
    Symbol{u"person.crop.circle.badge.plus",
        {{{"outline/user-circle"}, {"filled/circle", square(11.5, 11.5, 15), CutOut},
            {"outline/plus", square(13, 13, 12)}}}},
    Symbol{u"person.crop.circle.fill", {{{"filled/circle"}, {"filled/user", square(4.5, 3.5, 15), CutOut}}}},
    Symbol{u"plus", {{{"outline/plus"}}}},
    Symbol{u"questionmark.circle", {{{"outline/help-circle"}}}},
    Symbol{u"square.stack", {{{"outline/stack-2"}}}},
    Symbol{u"xmark", {{{"outline/x"}}}},
    Symbol{u"xmark.circle.fill", {{{"filled/circle-x"}}}},
};

const Symbol *find(QStringView name)
{
    const auto found = std::ranges::find(kSymbols, name, &Symbol::name);
    return found == kSymbols.end() ? nullptr : &*found;
}

QByteArray content(const Layer &layer)
{
    QFile file(QLatin1String(":/velmora/icons/") + QLatin1String(layer.file) + QLatin1String(".svg"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray svg = file.readAll();
    if (layer.use == Layer::Use::Draw)
        svg.replace(
            "stroke-width=\"2\"", "stroke-width=\"" + QByteArray::number(2 * kGrid / layer.frame.width()) + '"');
    return svg;
}

/// Renders the symbol in a square of `side` pixels.
QPixmap drawn(const Symbol &symbol, int side, const QColor &colour, int degrees)
{
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(side / kGrid, side / kGrid);
    painter.translate(kGrid / 2, kGrid / 2);
    painter.rotate(degrees);
    painter.translate(-kGrid / 2, -kGrid / 2);
    for (const Layer &layer : symbol.layers) {
        if (!layer.file)
            continue;
        QSvgRenderer renderer(content(layer));
        painter.setCompositionMode(layer.use == Layer::Use::CutOut ? QPainter::CompositionMode_DestinationOut
                                                                   : QPainter::CompositionMode_SourceOver);
        renderer.render(&painter, layer.frame);
    }
    painter.resetTransform();
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), colour);
    painter.end();
    return QPixmap::fromImage(image);
}

QPixmap cached(const Symbol &symbol, int side, const QColor &colour, int degrees)
{
    const QString key = QStringLiteral("velmora/%1/%2/%3/%4")
                            .arg(symbol.name)
                            .arg(side)
                            .arg(colour.rgba(), 8, 16, QLatin1Char('0'))
                            .arg(degrees);
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = drawn(symbol, side, colour, degrees);
        QPixmapCache::insert(key, pixmap);
    }
    return pixmap;
}

QColor iconColour(QIcon::Mode mode)
{
    const QPalette palette = QGuiApplication::palette();
    switch (mode) {
    case QIcon::Disabled:
        return palette.color(QPalette::Disabled, QPalette::ButtonText);
    case QIcon::Selected:
        return palette.color(QPalette::Active, QPalette::HighlightedText);
    default:
        return palette.color(QPalette::Active, QPalette::ButtonText);
    }
}

class SymbolIconEngine final : public QIconEngine
{
public:
    explicit SymbolIconEngine(QString name)
        : m_name(std::move(name))
    {
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        Q_UNUSED(state)
        paintSymbol(painter, m_name, rect, iconColour(mode));
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap result(size);
        result.fill(Qt::transparent);
        QPainter painter(&result);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return result;
    }

    [[nodiscard]] QIconEngine *clone() const override { return new SymbolIconEngine(m_name); }
    QString key() const override { return QStringLiteral("velmora"); }
    bool isNull() override { return false; }

private:
    QString m_name;
};

} // namespace

QStringList symbolNames()
{
    QStringList names;
    for (const Symbol &symbol : kSymbols)
        names.append(symbol.name.toString());
    return names;
}

void paintSymbol(QPainter *painter, QStringView name, const QRectF &frame, const QColor &colour, int degrees)
{
    const Symbol *symbol = find(name);
    const qreal side = std::min(frame.width(), frame.height());
    if (!symbol || side <= 0)
        return;
    const qreal ratio = painter->device()->devicePixelRatioF();
    QPixmap pixmap = cached(*symbol, qRound(side * ratio), colour, degrees % 360);
    pixmap.setDevicePixelRatio(ratio);
    const QSizeF size = pixmap.deviceIndependentSize();
    const QPointF corner = frame.center() - QPointF(size.width() / 2, size.height() / 2);
    // Aligned to whole pixels to keep lines sharp.
    painter->drawPixmap(
        QPointF(std::round(corner.x() * ratio) / ratio, std::round(corner.y() * ratio) / ratio), pixmap);
}

QIcon symbolIcon(QStringView name)
{
    const Symbol *symbol = find(name);
    return symbol ? QIcon(new SymbolIconEngine(symbol->name.toString())) : QIcon();
}

} // namespace velmora
