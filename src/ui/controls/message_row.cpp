// SPDX-License-Identifier: MIT
#include "ui/controls/message_row.h"

#include "ui/controls/symbol_view.h"

#include <QAccessible>
#include <QEvent>
#include <QHBoxLayout>

namespace velmora
{

namespace
{

constexpr int kGap = 8;

} // namespace

MessageRow::MessageRow(TextSize size, Tone tone, QWidget *parent)
    : QWidget(parent)
    , m_size(size)
    , m_tone(tone)
    , m_label(new QLabel(this))
{
    m_label->setTextFormat(Qt::PlainText);
    m_label->setWordWrap(true);
    m_label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    // A long path cannot wrap and would widen the window.
    m_label->setMinimumWidth(1);
    adoptLook();
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kGap);
    const int side = QFontMetrics(styledFont(font(), size)).height();
    layout->addWidget(
        new SymbolView(QStringLiteral("exclamationmark.triangle.fill"), side, tone, this), 0, Qt::AlignTop);
    layout->addWidget(m_label, 1);
    hide();
}

/// The label has a font and colours of its own, derived from those of the row.
void MessageRow::adoptLook()
{
    m_label->setFont(styledFont(font(), m_size));
    QPalette colours = palette();
    colours.setColor(QPalette::WindowText, toneColour(m_tone, palette()));
    m_label->setPalette(colours);
}

void MessageRow::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    switch (event->type()) {
    case QEvent::FontChange:
    case QEvent::ApplicationFontChange:
    case QEvent::PaletteChange:
    case QEvent::ApplicationPaletteChange:
    case QEvent::StyleChange:
        adoptLook();
        break;
    default:
        break;
    }
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
