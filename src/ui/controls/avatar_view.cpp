// SPDX-License-Identifier: MIT
#include "ui/controls/avatar_view.h"

#include "ui/controls/symbols.h"
#include "ui/controls/tones.h"

#include <QPainter>
#include <QPainterPath>

namespace velmora
{

namespace
{

constexpr qreal kSymbolMargin = 0.09;

} // namespace

AvatarView::AvatarView(int side, QWidget *parent)
    : QWidget(parent)
    , m_side(side)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void AvatarView::setPicture(const QImage &picture)
{
    if (picture.cacheKey() == m_picture.cacheKey())
        return;
    m_picture = picture;
    update();
}

void AvatarView::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    const QRectF frame = rect();
    if (m_picture.isNull()) {
        // The circle of the symbol has a margin inside its frame; a picture has none.
        const qreal margin = m_side * kSymbolMargin;
        return paintSymbol(&painter, u"person.crop.circle.fill", frame.adjusted(-margin, -margin, margin, margin),
            toneColour(Tone::Secondary, palette()));
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    // Scaled to fit; a picture that is not square is centred in the circle.
    const QSizeF size = QSizeF(m_picture.size()).scaled(frame.size(), Qt::KeepAspectRatio);
    const QRectF target(frame.center() - QPointF(size.width() / 2, size.height() / 2), size);
    QBrush brush(m_picture);
    QTransform place = QTransform::fromTranslate(target.left(), target.top());
    place.scale(size.width() / m_picture.width(), size.height() / m_picture.height());
    brush.setTransform(place);
    // Filling a path with a brush is antialiased; clipping is not.
    QPainterPath circle;
    circle.addEllipse(frame);
    QPainterPath picture;
    picture.addRect(target);
    painter.fillPath(target == frame ? circle : circle.intersected(picture), brush);
    painter.setPen(separatorColour(palette()));
    painter.drawEllipse(frame.adjusted(0.5, 0.5, -0.5, -0.5));
}

} // namespace velmora
