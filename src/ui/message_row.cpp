// SPDX-License-Identifier: MIT
#include "ui/message_row.h"

#include "ui/symbol_view.h"

#include <QAccessible>
#include <QHBoxLayout>

namespace velmora
{

namespace
{

constexpr int kGap = 6;

} // namespace

MessageRow::MessageRow(TextSize size, Tone tone, QWidget *parent)
    : QWidget(parent)
    , m_label(new TextLabel(size, TextLabel::Overflow::Wrap, this))
{
    m_label->setTone(tone);
    m_label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kGap);
    const int side = QFontMetrics(styledFont(font(), size)).height();
    layout->addWidget(
        new SymbolView(QStringLiteral("exclamationmark.triangle.fill"), side, tone, this), 0, Qt::AlignTop);
    layout->addWidget(m_label, 1);
    hide();
}

void MessageRow::setMessage(const QString &message)
{
    if (message != m_label->text()) {
        m_label->setText(message);
        setAccessibleName(message);
        if (!message.isEmpty()) {
            QAccessibleEvent event(m_label, QAccessible::Alert);
            QAccessible::updateAccessibility(&event);
        }
    }
    setVisible(!message.isEmpty());
}

} // namespace velmora
