// SPDX-License-Identifier: MIT
#include "ui/settings/repositories/repository_list_view.h"

#include "presentation/muting_texts.h"
#include "ui/controls/switch_painting.h"
#include "ui/controls/symbols.h"
#include "ui/controls/tones.h"
#include "ui/controls/two_line_row.h"
#include "ui/settings/repositories/repository_list_model.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>

namespace velmora
{

namespace
{

constexpr int kGap = 12;
constexpr int kBellMargin = 1;

/// The bell and the switch at the end of a row.
struct Controls {
    QRect bell;
    QRect knob;
};

QSize controlsSize(const QStyleOptionViewItem &option)
{
    const QSize knob = switchSize(option.fontMetrics);
    return {knob.height() + kGap + knob.width(), knob.height()};
}

TwoLineRow rowOf(const QStyleOptionViewItem &option)
{
    return TwoLineRow(option, controlsSize(option));
}

Controls controlsOf(const QStyleOptionViewItem &option)
{
    const QRect place = rowOf(option).control();
    const QRect bell(place.topLeft(), QSize(place.height(), place.height()));
    const QRect knob = place.adjusted(place.height() + kGap, 0, 0, 0);
    return {QStyle::visualRect(option.direction, place, bell), QStyle::visualRect(option.direction, place, knob)};
}

} // namespace

void RepositoryRowDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const Controls controls = controlsOf(option);
    painter->save();
    rowOf(option).paint(
        painter, index.data(Qt::DisplayRole).toString(), index.data(RepositoryListModel::LoginRole).toString());

    const bool isMuted = index.data(RepositoryListModel::MutedRole).toBool();
    paintSymbol(painter, isMuted ? u"bell.slash" : u"bell",
        QRectF(controls.bell).adjusted(kBellMargin, kBellMargin, -kBellMargin, -kBellMargin),
        toneColour(isMuted ? Tone::Orange : Tone::Secondary, option.palette));

    SwitchLook look;
    look.isOn = index.data(Qt::CheckStateRole).value<Qt::CheckState>() == Qt::Checked;
    look.isHovered = option.state.testFlag(QStyle::State_MouseOver);
    look.hasFocus = option.state.testFlag(QStyle::State_HasFocus);
    look.direction = option.direction;
    paintSwitch(painter, controls.knob, look, option.palette);
    painter->restore();
}

QRect RepositoryRowDelegate::bellPlace(const QStyleOptionViewItem &option)
{
    return controlsOf(option).bell.adjusted(-kGap / 2, 0, kGap / 2, 0);
}

QSize RepositoryRowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    Q_UNUSED(index)
    return TwoLineRow::size(option, controlsSize(option));
}

bool RepositoryRowDelegate::helpEvent(
    QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option, const QModelIndex &index)
{
    if (event->type() != QEvent::ToolTip)
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    if (bellPlace(option).contains(event->pos()))
        showPlainToolTip(*event, view, index.data(RepositoryListModel::MutingRole).toString());
    else
        rowOf(option).showToolTip(*event, view, index.data(Qt::DisplayRole).toString());
    return true;
}

bool RepositoryRowDelegate::editorEvent(
    QEvent *event, QAbstractItemModel *model, const QStyleOptionViewItem &option, const QModelIndex &index)
{
    Q_UNUSED(option)
    if (event->type() != QEvent::KeyPress)
        return false;
    const auto *key = static_cast<const QKeyEvent *>(event);
    if (key->key() != Qt::Key_Space && key->key() != Qt::Key_Select)
        return false;
    const bool isOn = index.data(Qt::CheckStateRole).value<Qt::CheckState>() == Qt::Checked;
    // Holding the key down must not switch repeatedly.
    return key->isAutoRepeat() || model->setData(index, isOn ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
}

RepositoryListView::RepositoryListView(RepositoryListModel *model, QWidget *parent)
    : SearchedListView(model, parent)
    , m_model(model)
{
    setItemDelegate(new RepositoryRowDelegate(this));
    connect(this, &QListView::clicked, this, &RepositoryListView::click);
}

void RepositoryListView::click(const QModelIndex &index)
{
    if (isOnBell(index, m_pressed) != isOnBell(index, m_released))
        return;
    if (isOnBell(index, m_released))
        toggleMuted(index);
    else
        toggle(index);
}

bool RepositoryListView::isOnBell(const QModelIndex &index, const QPoint &point) const
{
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    option.rect = visualRect(index);
    return RepositoryRowDelegate::bellPlace(option).contains(point);
}

void RepositoryListView::toggleMuted(const QModelIndex &index)
{
    if (index.isValid())
        m_model->setData(index, !index.data(RepositoryListModel::MutedRole).toBool(), RepositoryListModel::MutedRole);
}

void RepositoryListView::mousePressEvent(QMouseEvent *event)
{
    m_pressed = event->position().toPoint();
    SearchedListView::mousePressEvent(event);
}

void RepositoryListView::mouseReleaseEvent(QMouseEvent *event)
{
    m_released = event->position().toPoint();
    SearchedListView::mouseReleaseEvent(event);
}

void RepositoryListView::toggle(const QModelIndex &index)
{
    const bool isOn = index.data(Qt::CheckStateRole).value<Qt::CheckState>() == Qt::Checked;
    m_model->setData(index, isOn ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
}

QList<AccessibleAction> RepositoryListView::accessibleActions(const QModelIndex &index)
{
    const auto perform = [this, row = QPersistentModelIndex(index)] {
        toggle(row);
    };
    const auto mute = [this, row = QPersistentModelIndex(index)] {
        toggleMuted(row);
    };
    const QString muting
        = mutingAction(index.data(Qt::DisplayRole).toString(), index.data(RepositoryListModel::MutedRole).toBool());
    return {{QAccessibleActionInterface::toggleAction(), {}, perform}, {muting, muting, mute}};
}

void RepositoryListView::keyPressEvent(QKeyEvent *event)
{
    if (event->modifiers() != Qt::ControlModifier || event->key() != Qt::Key_M)
        return SearchedListView::keyPressEvent(event);
    // Holding the keys down must not switch repeatedly.
    if (!event->isAutoRepeat())
        toggleMuted(currentIndex());
}

} // namespace velmora
