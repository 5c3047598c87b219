// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QWidget>

class QVBoxLayout;

namespace velmora
{

/// A short list of widgets on a card, with lines between them. It is as high as its rows and leaves scrolling to its
/// page.
class RowList final : public QWidget
{
    Q_OBJECT

public:
    explicit RowList(const QString &accessibleName, QWidget *parent = nullptr);

    /// Shows the rows in this order and takes ownership. Rows that are left out are deleted later. Rows that stay keep
    /// the focus.
    void setRows(const QList<QWidget *> &rows);

private:
    QWidget *m_body;
    QVBoxLayout *m_layout;
    QList<QWidget *> m_rows;
    QList<QWidget *> m_lines; ///< above each row but the first
};

/// Sets the tab order: the widgets in this order, within each its tab stops in the order of its children.
void setTabSequence(const QList<QWidget *> &widgets);

} // namespace velmora
