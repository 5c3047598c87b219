// SPDX-License-Identifier: MIT
#include "ui/controls/symbol_view.h"

#include "ui/controls/symbols.h"

#include <QPainter>

namespace velmora
{

SymbolView::SymbolView(QString name, int side, Tone tone, QWidget *parent)
    : QWidget(parent)
    , m_name(std::move(name))
    , m_side(side)
    , m_tone(tone)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void SymbolView::paintEvent(QPaintEvent *event)
{
    Q_UNUSED(event)
    QPainter painter(this);
    paintSymbol(&painter, m_name, rect(), toneColour(m_tone, palette()));
}

} // namespace velmora
