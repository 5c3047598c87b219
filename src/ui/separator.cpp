// SPDX-License-Identifier: MIT
#include "ui/separator.h"

#include "ui/tones.h"

#include <QPainter>

namespace velmora
{

Separator::Separator(QWidget *parent)
    : QWidget(parent)
{
    setFixedHeight(1);
}

void Separator::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    painter.fillRect(rect(), separatorColour(palette()));
}

} // namespace velmora
