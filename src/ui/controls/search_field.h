// SPDX-License-Identifier: MIT
#pragma once

#include <QLineEdit>

namespace velmora
{

/// A line edit for a search, with a button that clears it.
class SearchField final : public QLineEdit
{
    Q_OBJECT

public:
    /// `placeholder` also becomes the accessible name.
    explicit SearchField(const QString &placeholder, QWidget *parent = nullptr);

    /// Whether the key is text, or Backspace, and no command: it belongs to a search when no other control uses it.
    [[nodiscard]] static bool isTyping(const QKeyEvent &event);
    /// Takes the focus and handles the key as its own.
    void typeKey(const QKeyEvent &event);

Q_SIGNALS:
    /// Down was pressed; the results are below.
    void leftAtBottom();

protected:
    void keyPressEvent(QKeyEvent *event) override;
};

} // namespace velmora
