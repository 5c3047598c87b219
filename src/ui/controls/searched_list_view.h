// SPDX-License-Identifier: MIT
#pragma once

#include "ui/accessibility/accessible_list.h"

#include <QListView>

namespace velmora
{

class KeyedListModel;

/// A list below a search field, of rows of one height. Printable keys and Backspace are left to the parent, which gives
/// them to the field. The focused row keeps the focus as long as the search finds it.
class SearchedListView : public QListView, public AccessibleRows
{
    Q_OBJECT

public:
    explicit SearchedListView(KeyedListModel *model, QWidget *parent = nullptr);

    /// Takes the focus, at the row that had it last, or at the first.
    void focusRow();

Q_SIGNALS:
    /// Up was pressed on the first row.
    void leftAtTop();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    /// Treats a double click as two clicks.
    void mouseDoubleClickEvent(QMouseEvent *event) override { mousePressEvent(event); }
    void changeEvent(QEvent *event) override;

private:
    void restoreFocus();
    void focusNeighbour();
    void announce(const QModelIndex &first, const QModelIndex &last);

    KeyedListModel *m_rows;
    QString m_focused; ///< the key of the focused row, during a reset of the model
    int m_focusedRow = -1; ///< the row with the focus, during a change of layout
};

} // namespace velmora
