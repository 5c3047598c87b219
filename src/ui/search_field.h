// SPDX-License-Identifier: MIT
#pragma once

#include <QLineEdit>

namespace velmora
{

/// A line to type a search into, with a button that clears it.
class SearchField final : public QLineEdit
{
    Q_OBJECT

public:
    /// `placeholder` is its accessible name as well.
    explicit SearchField(const QString &placeholder, QWidget *parent = nullptr);

    /// Takes the focus and the key as if it had been pressed here.
    void typeKey(const QKeyEvent &event);

Q_SIGNALS:
    /// Down was pressed: what was found is below.
    void leftAtBottom();

protected:
    void keyPressEvent(QKeyEvent *event) override;
};

} // namespace velmora
