// SPDX-License-Identifier: MIT
#include "ui/controls/row_list.h"

#include "ui/controls/card.h"
#include "ui/controls/separator.h"

#include <QVBoxLayout>

namespace velmora
{

namespace
{

constexpr int kCardPadding = 4;
constexpr int kRowSide = 8; ///< left and right of a row
constexpr int kGap = 4; ///< above and below a row

QList<QWidget *> tabStopsOf(QWidget *widget)
{
    QList<QWidget *> stops;
    const auto visit = [&stops](QWidget *candidate) {
        if (candidate->focusPolicy() & Qt::TabFocus)
            stops.append(candidate);
    };
    visit(widget);
    const auto children = widget->findChildren<QWidget *>();
    std::ranges::for_each(children, visit);
    return stops;
}

} // namespace

RowList::RowList(const QString &accessibleName, QWidget *parent)
    : QWidget(parent)
    , m_body(new QWidget)
    , m_layout(new QVBoxLayout(m_body))
{
    m_layout->setContentsMargins(kRowSide, kGap, kRowSide, kGap);
    m_layout->setSpacing(kGap);
    m_layout->addStretch();
    m_body->setAccessibleName(accessibleName);
    auto *card = new Card(kCardPadding);
    card->addRow(m_body);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(card);
}

void RowList::setRows(const QList<QWidget *> &rows)
{
    if (rows == m_rows)
        return;
    for (QWidget *row : std::as_const(m_rows)) {
        m_layout->removeWidget(row);
        if (!rows.contains(row)) {
            // Deleted later, because the call may come from a button of this row.
            row->hide();
            row->deleteLater();
        }
    }
    qDeleteAll(m_lines);
    m_lines.clear();
    m_rows = rows;
    int place = 0;
    for (QWidget *row : std::as_const(m_rows)) {
        if (place > 0) {
            m_lines.append(new Separator(m_body));
            m_layout->insertWidget(place++, m_lines.last());
        }
        m_layout->insertWidget(place++, row);
        row->show();
    }
    // Assistive technology reads children in stacking order.
    for (QWidget *row : std::as_const(m_rows))
        row->raise();
}

void setTabSequence(const QList<QWidget *> &widgets)
{
    QWidget *previous = nullptr;
    for (QWidget *widget : widgets) {
        for (QWidget *stop : tabStopsOf(widget)) {
            if (previous)
                QWidget::setTabOrder(previous, stop);
            previous = stop;
        }
    }
}

} // namespace velmora
