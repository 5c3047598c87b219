// SPDX-License-Identifier: MIT
#include "ui/settings/environments/environment_list_view.h"

#include "ui/controls/choice_painting.h"
#include "ui/controls/text_label.h"
#include "ui/controls/two_line_row.h"
#include "ui/settings/environments/environment_list_model.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>

#include <array>

namespace velmora
{

namespace
{

using enum EnvironmentChoice;
/// In the order in which they stand.
constexpr std::array kChoices{Notify, Show, Hide};

QStringList choiceNames()
{
    QStringList names;
    for (const EnvironmentChoice choice : kChoices)
        names.append(choiceText(choice));
    return names;
}

QFont choiceFont(const QStyleOptionViewItem &option)
{
    return styledFont(option.font, TextSize::Caption);
}

TwoLineRow rowOf(const QStyleOptionViewItem &option)
{
    return TwoLineRow(option, choiceSize(choiceFont(option), choiceNames()));
}

} // namespace

void EnvironmentRowDelegate::paint(
    QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const TwoLineRow row = rowOf(option);
    painter->save();
    row.paint(painter, index.data(Qt::DisplayRole).toString(), index.data(Qt::AccessibleDescriptionRole).toString());
    ChoiceLook look;
    look.names = choiceNames();
    look.chosen = index.data(EnvironmentListModel::ChoiceRole).toInt();
    look.hasFocus = option.state.testFlag(QStyle::State_HasFocus);
    look.direction = option.direction;
    paintChoice(painter, row.control(), choiceFont(option), look, option.palette);
    painter->restore();
}

QSize EnvironmentRowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    Q_UNUSED(index)
    return TwoLineRow::size(option, choiceSize(choiceFont(option), choiceNames()));
}

bool EnvironmentRowDelegate::helpEvent(
    QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option, const QModelIndex &index)
{
    if (event->type() != QEvent::ToolTip)
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    rowOf(option).showToolTip(*event, view, index.data(Qt::DisplayRole).toString());
    return true;
}

int EnvironmentRowDelegate::choiceAt(const QStyleOptionViewItem &option, const QPoint &point)
{
    return velmora::choiceAt(rowOf(option).control(), std::ssize(kChoices), point, option.direction);
}

EnvironmentListView::EnvironmentListView(EnvironmentListModel *model, QWidget *parent)
    : SearchedListView(model, parent)
    , m_model(model)
{
    setItemDelegate(new EnvironmentRowDelegate(this));
}

EnvironmentListView::Target EnvironmentListView::targetAt(const QPoint &point) const
{
    const QModelIndex index = indexAt(point);
    if (!index.isValid())
        return {};
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    option.rect = visualRect(index);
    return {index, EnvironmentRowDelegate::choiceAt(option, point)};
}

void EnvironmentListView::choose(const QModelIndex &index, int choice)
{
    if (index.isValid() && choice >= 0 && choice < std::ssize(kChoices))
        m_model->setData(index, choice, EnvironmentListModel::ChoiceRole);
}

void EnvironmentListView::mousePressEvent(QMouseEvent *event)
{
    m_pressed = event->button() == Qt::LeftButton ? targetAt(event->position().toPoint()) : Target();
    SearchedListView::mousePressEvent(event);
}

void EnvironmentListView::mouseReleaseEvent(QMouseEvent *event)
{
    SearchedListView::mouseReleaseEvent(event);
    const Target released = targetAt(event->position().toPoint());
    if (event->button() == Qt::LeftButton && std::exchange(m_pressed, Target()) == released)
        choose(released.index, released.choice);
}

void EnvironmentListView::keyPressEvent(QKeyEvent *event)
{
    const auto modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const bool isNext = event->key() == Qt::Key_Space || event->key() == Qt::Key_Select;
    const bool isBeside = event->key() == Qt::Key_Left || event->key() == Qt::Key_Right;
    if (modifiers != Qt::NoModifier || !(isNext || isBeside) || !currentIndex().isValid())
        return SearchedListView::keyPressEvent(event);
    // Holding the key down must not choose repeatedly.
    if (event->isAutoRepeat())
        return;
    const int chosen = currentIndex().data(EnvironmentListModel::ChoiceRole).toInt();
    const bool isForward = (event->key() == Qt::Key_Right) == (layoutDirection() == Qt::LeftToRight);
    choose(currentIndex(), isNext ? (chosen + 1) % static_cast<int>(kChoices.size()) : chosen + (isForward ? 1 : -1));
}

QList<AccessibleAction> EnvironmentListView::accessibleActions(const QModelIndex &index)
{
    const int chosen = index.data(EnvironmentListModel::ChoiceRole).toInt();
    QList<AccessibleAction> actions;
    for (int next = 1; next < static_cast<int>(kChoices.size()); ++next) {
        const int choice = (chosen + next) % static_cast<int>(kChoices.size());
        const QString name = choiceText(kChoices.at(static_cast<std::size_t>(choice)));
        const auto perform = [this, row = QPersistentModelIndex(index), choice] {
            choose(row, choice);
        };
        actions.append({actions.isEmpty() ? QAccessibleActionInterface::pressAction() : name, name, perform});
    }
    return actions;
}

} // namespace velmora
