// SPDX-License-Identifier: MIT
#include "ui/controls/card.h"

#include "ui/controls/tones.h"

#include <QPainter>
#include <QVBoxLayout>

namespace velmora
{

namespace
{

constexpr int kSpacing = 8;
constexpr qreal kCorner = 8;

} // namespace

Card::Card(int padding, QWidget *parent)
    : QFrame(parent)
    , m_rows(new QVBoxLayout(this))
{
    m_rows->setContentsMargins(padding, padding, padding, padding);
    m_rows->setSpacing(kSpacing);
}

void Card::addRow(QWidget *row)
{
    m_rows->addWidget(row);
}

void Card::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    paintCard(&painter, rect(), palette());
}

void paintCard(QPainter *painter, const QRectF &frame, const QPalette &palette)
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(separatorColour(palette));
    painter->setBrush(palette.color(QPalette::Base));
    painter->drawRoundedRect(frame.adjusted(0.5, 0.5, -0.5, -0.5), kCorner, kCorner);
    painter->restore();
}

} // namespace velmora
