// SPDX-License-Identifier: MIT
#pragma once

#include <QStyleOptionViewItem>

class QHelpEvent;
class QPainter;
class QWidget;

namespace velmora
{

/// A row of a list in a tab of the settings: a name above its details, and a control at the end.
class TwoLineRow
{
public:
    /// The row in the rectangle of the option. `control` is the size of what stands at the end.
    TwoLineRow(const QStyleOptionViewItem &option, const QSize &control);

    /// The least size of such a row.
    [[nodiscard]] static QSize size(const QStyleOptionViewItem &option, const QSize &control);

    [[nodiscard]] const QRect &control() const { return m_control; }
    /// Paints the light behind a row under the mouse or with the focus, and both texts. The details may be empty.
    void paint(QPainter *painter, const QString &name, const QString &details) const;
    /// Shows the name as a tooltip where the row cuts it, and none where it does not.
    void showToolTip(const QHelpEvent &event, QWidget *view, const QString &name) const;

private:
    QStyleOptionViewItem m_option;
    QRect m_name;
    QRect m_details;
    QRect m_control;
};

/// Shows the text as a tooltip, and none if it is empty. Markup in it is not interpreted.
void showPlainToolTip(const QHelpEvent &event, QWidget *view, const QString &text);

} // namespace velmora
