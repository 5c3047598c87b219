// SPDX-License-Identifier: MIT
#include "ui/settings/repositories/repository_list_view.h"

#include "presentation/muting_texts.h"
#include "ui/accessibility/accessible_part.h"
#include "ui/controls/switch_painting.h"
#include "ui/controls/symbols.h"
#include "ui/controls/text_label.h"
#include "ui/settings/repositories/repository_list_model.h"

#include <QAccessible>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QToolTip>

namespace velmora
{

namespace
{

constexpr int kPadding = 3; ///< above and below the text
constexpr int kInset = 2; ///< above and below the row
constexpr int kSide = 8; ///< before the text and after the switch
constexpr int kGap = 12;
constexpr int kBellMargin = 1;
constexpr qreal kCorner = 6;

/// The positions of the parts of a row.
struct RowGeometry {
    QRect name;
    QRect login;
    QRect bell;
    QRect knob;
};

QFont nameFont(const QStyleOptionViewItem &option)
{
    return styledFont(option.font, TextSize::Body, QFont::Medium);
}

QFont loginFont(const QStyleOptionViewItem &option)
{
    return styledFont(option.font, TextSize::Caption);
}

RowGeometry geometryOf(const QStyleOptionViewItem &option)
{
    const QRect content = option.rect.adjusted(kSide, kInset + kPadding, -kSide, -kInset - kPadding);
    const QSize knob = switchSize(option.fontMetrics);
    const QSize bell(knob.height(), knob.height());
    const int width = content.width() - knob.width() - bell.width() - 2 * kGap;
    const int nameHeight = QFontMetrics(nameFont(option)).height();
    const int loginHeight = QFontMetrics(loginFont(option)).height();
    const int top = content.top() + (content.height() - nameHeight - loginHeight) / 2;
    RowGeometry geometry;
    geometry.name = QRect(content.left(), top, width, nameHeight);
    geometry.login = QRect(content.left(), top + nameHeight, width, loginHeight);
    geometry.knob = QStyle::alignedRect(Qt::LeftToRight, Qt::AlignRight | Qt::AlignVCenter, knob, content);
    geometry.bell = QStyle::alignedRect(
        Qt::LeftToRight, Qt::AlignRight | Qt::AlignVCenter, bell, content.adjusted(0, 0, -knob.width() - kGap, 0));
    for (QRect *part : {&geometry.name, &geometry.login, &geometry.bell, &geometry.knob})
        *part = QStyle::visualRect(option.direction, option.rect, *part);
    return geometry;
}

void paintText(QPainter *painter, const QStyleOptionViewItem &option, const QRect &frame, const QString &text,
    Qt::TextElideMode elision)
{
    const auto start = QStyle::visualAlignment(option.direction, Qt::AlignLeft | Qt::AlignVCenter);
    painter->drawText(frame, static_cast<int>(start) | Qt::TextSingleLine,
        painter->fontMetrics().elidedText(text, elision, frame.width()));
}

} // namespace

void RepositoryRowDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const bool isHovered = option.state.testFlag(QStyle::State_MouseOver);
    const bool hasFocus = option.state.testFlag(QStyle::State_HasFocus);
    const RowGeometry geometry = geometryOf(option);
    painter->save();
    if (isHovered || hasFocus) {
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        painter->setBrush(hoverColour(option.palette));
        painter->drawRoundedRect(option.rect.adjusted(0, kInset / 2, 0, -kInset / 2), kCorner, kCorner);
    }
    painter->setFont(nameFont(option));
    painter->setPen(toneColour(Tone::Primary, option.palette));
    paintText(painter, option, geometry.name, index.data(Qt::DisplayRole).toString(), Qt::ElideMiddle);
    painter->setFont(loginFont(option));
    painter->setPen(toneColour(Tone::Secondary, option.palette));
    paintText(painter, option, geometry.login, index.data(RepositoryListModel::LoginRole).toString(), Qt::ElideRight);

    const bool isMuted = index.data(RepositoryListModel::MutedRole).toBool();
    paintSymbol(painter, isMuted ? u"bell.slash" : u"bell",
        QRectF(geometry.bell).adjusted(kBellMargin, kBellMargin, -kBellMargin, -kBellMargin),
        toneColour(isMuted ? Tone::Orange : Tone::Secondary, option.palette));

    SwitchLook look;
    look.isOn = index.data(Qt::CheckStateRole).value<Qt::CheckState>() == Qt::Checked;
    look.isHovered = isHovered;
    look.hasFocus = hasFocus;
    look.direction = option.direction;
    paintSwitch(painter, geometry.knob, look, option.palette);
    painter->restore();
}

QRect RepositoryRowDelegate::bellPlace(const QStyleOptionViewItem &option)
{
    return geometryOf(option).bell.adjusted(-kGap / 2, 0, kGap / 2, 0);
}

QSize RepositoryRowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    Q_UNUSED(index)
    const int text = QFontMetrics(nameFont(option)).height() + QFontMetrics(loginFont(option)).height();
    const QSize knob = switchSize(option.fontMetrics);
    return {knob.width() + knob.height() + 2 * (kGap + kSide), std::max(text, knob.height()) + 2 * (kPadding + kInset)};
}

bool RepositoryRowDelegate::helpEvent(
    QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option, const QModelIndex &index)
{
    if (event->type() != QEvent::ToolTip)
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    const QString name = index.data(Qt::DisplayRole).toString();
    const QFontMetrics metrics(nameFont(option));
    const bool isCut = metrics.horizontalAdvance(name) > geometryOf(option).name.width();
    const QString help = bellPlace(option).contains(event->pos())
        ? index.data(RepositoryListModel::MutingRole).toString()
        : isCut ? name
                : QString();
    // Converted to rich text, so that markup in the name is not interpreted.
    QToolTip::showText(
        event->globalPos(), help.isEmpty() ? QString() : Qt::convertFromPlainText(help, Qt::WhiteSpaceNormal), view);
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
    : QListView(parent)
    , m_model(model)
{
    installAccessible<RepositoryListView, AccessibleList>();
    setModel(model);
    setItemDelegate(new RepositoryRowDelegate(this));
    // All rows have the same size, so that of 10,000 rows Qt measures only one.
    setUniformItemSizes(true);
    setMouseTracking(true);
    setFrameShape(QFrame::NoFrame);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    viewport()->setAutoFillBackground(false);
    connect(this, &QListView::clicked, this, &RepositoryListView::click);
    connect(model, &QAbstractItemModel::modelAboutToBeReset, this,
        [this] { m_focused = currentIndex().data(RepositoryListModel::NodeIDRole).toString(); });
    connect(model, &QAbstractItemModel::modelReset, this, &RepositoryListView::restoreFocus);
    connect(model, &QAbstractItemModel::layoutAboutToBeChanged, this, [this] { m_focusedRow = currentIndex().row(); });
    connect(model, &QAbstractItemModel::layoutChanged, this, &RepositoryListView::focusNeighbour);
    connect(model, &QAbstractItemModel::dataChanged, this, &RepositoryListView::announce);
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
    QListView::mousePressEvent(event);
}

void RepositoryListView::mouseReleaseEvent(QMouseEvent *event)
{
    m_released = event->position().toPoint();
    QListView::mouseReleaseEvent(event);
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

void RepositoryListView::restoreFocus()
{
    const int row = m_focused.isEmpty() ? -1 : m_model->rowOf(m_focused);
    m_focused.clear();
    if (row < 0)
        return scrollToTop();
    setCurrentIndex(m_model->index(row));
}

/// Gives the focus of a row that has gone to the one in its place.
void RepositoryListView::focusNeighbour()
{
    if (m_focusedRow >= 0 && !currentIndex().isValid())
        setCurrentIndex(m_model->index(std::min(m_focusedRow, m_model->rowCount() - 1)));
}

void RepositoryListView::announce(const QModelIndex &first, const QModelIndex &last)
{
    const QModelIndex current = currentIndex();
    if (!current.isValid() || current.row() < first.row() || current.row() > last.row() || !hasFocus())
        return;
    QAccessibleEvent event(this, QAccessible::NameChanged);
    event.setChild(current.row());
    QAccessible::updateAccessibility(&event);
}

void RepositoryListView::focusRow()
{
    if (m_model->rowCount() == 0)
        return;
    if (!currentIndex().isValid())
        setCurrentIndex(m_model->index(0));
    setFocus(Qt::OtherFocusReason);
}

void RepositoryListView::keyPressEvent(QKeyEvent *event)
{
    const bool isCommand = event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    if (event->modifiers() == Qt::ControlModifier && event->key() == Qt::Key_M) {
        // Holding the keys down must not switch repeatedly.
        if (!event->isAutoRepeat())
            toggleMuted(currentIndex());
        return;
    }
    const bool isText
        = !isCommand && !event->text().isEmpty() && event->text().at(0).isPrint() && event->key() != Qt::Key_Space;
    if (isText || event->key() == Qt::Key_Backspace)
        return event->ignore();
    if (event->key() == Qt::Key_Up && !isCommand && currentIndex().row() <= 0) {
        Q_EMIT leftAtTop();
        return;
    }
    QListView::keyPressEvent(event);
}

void RepositoryListView::changeEvent(QEvent *event)
{
    QListView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        scheduleDelayedItemsLayout();
}

} // namespace velmora
