// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractButton>
#include <QLabel>
#include <QStringList>
#include <QWidget>

namespace velmora::testing
{

/// A label without the ampersand of its mnemonic.
inline QString withoutMnemonic(QString text)
{
    return text.remove(QLatin1Char('&'));
}

/// The visible button or switch with this label; null for none.
inline QAbstractButton *shownButton(const QWidget &root, const QString &text)
{
    for (auto *button : root.findChildren<QAbstractButton *>()) {
        if (button->isVisibleTo(&root) && withoutMnemonic(button->text()) == text)
            return button;
    }
    return nullptr;
}

/// The visible label with this text; null for none.
inline QLabel *shownLabel(const QWidget &root, const QString &text)
{
    for (auto *label : root.findChildren<QLabel *>()) {
        if (label->isVisibleTo(&root) && label->text() == text)
            return label;
    }
    return nullptr;
}

/// The texts of all visible labels, in the order of their creation.
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
