// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractButton>
#include <QLabel>
#include <QStringList>
#include <QWidget>

namespace velmora::testing
{

/// A label as it is read, without the mark of its mnemonic.
inline QString withoutMnemonic(QString text)
{
    return text.remove(QLatin1Char('&'));
}

/// The button, switch included, that is labelled so and is to be seen; null when there is none.
inline QAbstractButton *shownButton(const QWidget &root, const QString &text)
{
    for (auto *button : root.findChildren<QAbstractButton *>()) {
        if (button->isVisibleTo(&root) && withoutMnemonic(button->text()) == text)
            return button;
    }
    return nullptr;
}

/// The label that shows the text and is to be seen; null when there is none.
inline QLabel *shownLabel(const QWidget &root, const QString &text)
{
    for (auto *label : root.findChildren<QLabel *>()) {
        if (label->isVisibleTo(&root) && label->text() == text)
            return label;
    }
    return nullptr;
}

/// Every text of a label that is to be seen, in the order in which the labels were made.
inline QStringList shownTexts(const QWidget &root)
{
    QStringList texts;
    for (const auto *label : root.findChildren<QLabel *>()) {
        if (label->isVisibleTo(&root) && !label->text().isEmpty())
            texts.append(label->text());
    }
    return texts;
}

} // namespace velmora::testing
