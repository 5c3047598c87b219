// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QWidget>

class QVBoxLayout;

namespace velmora
{

/// A short list whose rows are widgets, on a card, with lines between them. It is as high as its rows, and leaves
/// scrolling to the page that it is on.
class RowList final : public QWidget
{
    Q_OBJECT

public:
    explicit RowList(const QString &accessibleName, QWidget *parent = nullptr);

    /// Shows the rows in their order. They belong to the list; those that are not among them any more are deleted when
    /// it is safe. Rows that stay keep the focus.
    void setRows(const QList<QWidget *> &rows);

private:
    QWidget *m_body;
    QVBoxLayout *m_layout;
    QList<QWidget *> m_rows;
    QList<QWidget *> m_lines; ///< above each row but the first
};

/// Lets Tab visit what accepts it inside of the widgets, in their order and in that of their children.
void setTabSequence(const QList<QWidget *> &widgets);

} // namespace velmora
