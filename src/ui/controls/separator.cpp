// SPDX-License-Identifier: MIT
#include "ui/controls/separator.h"

#include "ui/controls/tones.h"

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
