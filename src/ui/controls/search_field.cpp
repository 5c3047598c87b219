// SPDX-License-Identifier: MIT
#include "ui/controls/search_field.h"

#include "ui/controls/symbols.h"

#include <QAction>
#include <QKeyEvent>

namespace velmora
{

SearchField::SearchField(const QString &placeholder, QWidget *parent)
    : QLineEdit(parent)
{
    setPlaceholderText(placeholder);
    setAccessibleName(placeholder);
    addAction(symbolIcon(u"magnifyingglass"), QLineEdit::LeadingPosition);
    // Qt's own button has the same dark symbol on a dark ground.
    QAction *const clear = addAction(symbolIcon(u"xmark.circle.fill"), QLineEdit::TrailingPosition);
    clear->setText(QStringLiteral("Clear"));
    clear->setVisible(false);
    connect(clear, &QAction::triggered, this, &QLineEdit::clear);
    connect(this, &QLineEdit::textChanged, clear, [clear](const QString &text) { clear->setVisible(!text.isEmpty()); });
}

bool SearchField::isTyping(const QKeyEvent &event)
{
    const bool isCommand = event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    const bool isText = !event.text().isEmpty() && event.text().at(0).isPrint();
    return !isCommand && (isText || event.key() == Qt::Key_Backspace);
}

void SearchField::typeKey(const QKeyEvent &event)
{
    setFocus(Qt::OtherFocusReason);
    // setFocus() selects the whole text, which the key must not replace.
    end(false);
    QKeyEvent copy(event.type(), event.key(), event.modifiers(), event.text(), event.isAutoRepeat());
    keyPressEvent(&copy);
}

void SearchField::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Down && event->modifiers() == Qt::NoModifier) {
        Q_EMIT leftAtBottom();
        return;
    }
    QLineEdit::keyPressEvent(event);
}

} // namespace velmora
