// SPDX-License-Identifier: MIT
#include "ui/deployments/deployment_list_view.h"

#include "presentation/relative_time.h"
#include "support/clock.h"
#include "ui/accessibility/accessible_part.h"
#include "ui/controls/age_ticker.h"
#include "ui/controls/motion.h"
#include "ui/controls/search_field.h"
#include "ui/deployments/deployment_actions.h"
#include "ui/deployments/deployment_list_model.h"

#include <QAccessible>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>

namespace velmora
{

namespace
{

void notifyAssistiveTechnology(QAbstractItemView *view, QAccessible::Event kind, const QModelIndex &index)
{
    if (!QAccessible::isActive() || !index.isValid())
        return;
    QAccessibleEvent event(view, kind);
    event.setChild(index.row());
    QAccessible::updateAccessibility(&event);
}

} // namespace

DeploymentListView::DeploymentListView(const DesktopPorts &ports, QWidget *parent)
    : QAbstractItemView(parent)
    , m_clock(ports.clock)
    , m_model(new DeploymentListModel(ports.clock, this))
    , m_actions(new DeploymentActions(ports.urlOpener, ports.pasteboard, this))
    , m_ages(new AgeTicker(ports.clock, this))
{
    installAccessible<DeploymentListView, AccessibleList>();
    setAccessibleName(QStringLiteral("Deployments"));
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(ScrollPerPixel);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setMouseTracking(true);
    adoptFont();
    setModel(m_model);
    // Otherwise the base makes the first row current when focus comes from the mouse or the window.
    setCurrentIndex({});
    connect(m_actions, &DeploymentActions::dismissalChosen, this, &DeploymentListView::dismissalChosen);
    connect(m_ages, &AgeTicker::ticked, this, &DeploymentListView::updateAges);
}

void DeploymentListView::offerMuting(MutedRepositories *muted)
{
    m_actions->offerMuting(muted);
}

void DeploymentListView::offerChoices(Environments *environments)
{
    m_actions->offerChoices(environments);
}

void DeploymentListView::adoptFont()
{
    m_rowView = DeploymentRowView(font(), layoutDirection());
    m_sectionView = DeploymentSectionView(font(), layoutDirection());
}

// Updates

void DeploymentListView::setDeployments(
    const DeploymentList &deployments, const FailureMarks &marks, const MarkedDeployments &hidden)
{
    changeRows([&] { m_model->setDeployments(deployments, marks, hidden); });
}

void DeploymentListView::changeRows(const std::function<void()> &change)
{
    const std::vector<SeenRow> before = seenRows();
    const int current = currentIndex().row();
    const int offset = verticalOffset();
    const std::vector<Anchor> anchored = anchors();
    change();
    updateGeometries();
    if (current >= 0 && !currentIndex().isValid())
        setCurrentIndex(nearestDeployment(std::min(current, m_model->rowCount() - 1), 1));
    verticalScrollBar()->setValue(offset);
    keepPlaces(anchored);
    repaintChanges(before, offset);
    updateHover();
    followTime();
}

std::vector<DeploymentListView::SeenRow> DeploymentListView::seenRows() const
{
    std::vector<SeenRow> rows;
    for (const QModelIndex &index : visibleRows()) {
        const int row = index.row();
        SeenRow seen{visualRect(index), {}, {}, {}, m_places.endsSection(row)};
        if (const auto *shown = m_model->deployment(row)) {
            seen.deployment = *shown;
            seen.mark = m_model->mark(*shown);
        } else {
            seen.header = header(index);
        }
        rows.push_back(std::move(seen));
    }
    return rows;
}

/// The visible rows, unless the list is scrolled to the top: there it stays, and shows what is new.
std::vector<DeploymentListView::Anchor> DeploymentListView::anchors() const
{
    std::vector<Anchor> anchors;
    if (verticalOffset() == 0)
        return anchors;
    for (const QModelIndex &index : visibleRows())
        anchors.push_back({index, visualRect(index).top()});
    return anchors;
}

/// Scrolls so that most of the anchors keep their place on the screen.
void DeploymentListView::keepPlaces(const std::vector<Anchor> &anchors)
{
    std::vector<int> offsets;
    for (const Anchor &anchor : anchors) {
        if (anchor.index.isValid())
            offsets.push_back(m_places.top(anchor.index.row()) - anchor.distance);
    }
    if (offsets.empty())
        return;
    const auto middle = offsets.begin() + static_cast<std::ptrdiff_t>(offsets.size() / 2);
    std::ranges::nth_element(offsets, middle);
    verticalScrollBar()->setValue(*middle);
}

void DeploymentListView::repaintChanges(const std::vector<SeenRow> &before, int previousOffset)
{
    const std::vector<SeenRow> now = seenRows();
    // Scrolling has moved the picture.
    if (verticalOffset() != previousOffset || !std::ranges::equal(before, now, {}, &SeenRow::place, &SeenRow::place))
        return viewport()->update();
    for (std::size_t i = 0; i < now.size(); ++i) {
        if (now[i] != before[i])
            viewport()->update(now[i].place);
    }
}

// Places

const DeploymentSnapshot *DeploymentListView::deployment(const QModelIndex &index) const
{
    return index.isValid() ? m_model->deployment(index.row()) : nullptr;
}

QRect DeploymentListView::visualRect(const QModelIndex &index) const
{
    if (!index.isValid() || index.row() >= m_places.rowCount())
        return {};
    const int row = index.row();
    return {0, m_places.top(row) - verticalOffset(), viewport()->width(), m_places.height(row)};
}

QModelIndex DeploymentListView::indexAt(const QPoint &point) const
{
    return m_model->index(m_places.rowAt(point.y() + verticalOffset()));
}

QModelIndexList DeploymentListView::visibleRows() const
{
    QModelIndexList rows;
    const int end = verticalOffset() + viewport()->height();
    int row = m_places.rowAt(verticalOffset());
    for (; row >= 0 && row < m_places.rowCount() && m_places.top(row) < end; ++row)
        rows.append(m_model->index(row));
    return rows;
}

int DeploymentListView::verticalOffset() const
{
    return verticalScrollBar()->value();
}

void DeploymentListView::scrollTo(const QModelIndex &index, ScrollHint hint)
{
    if (!index.isValid())
        return;
    int top = m_places.top(index.row());
    const int bottom = top + m_places.height(index.row());
    // Scrolling to the first row of a section shows its header, too.
    if (index.row() > 0 && m_places.isHeader(index.row() - 1))
        top = m_places.top(index.row() - 1);
    const int height = viewport()->height();
    const int offset = verticalOffset();
    if (hint == PositionAtTop || (hint == EnsureVisible && top < offset))
        verticalScrollBar()->setValue(top);
    else if (hint == PositionAtBottom || (hint == EnsureVisible && bottom > offset + height))
        verticalScrollBar()->setValue(bottom - height);
    else if (hint == PositionAtCenter)
        verticalScrollBar()->setValue((top + bottom - height) / 2);
}

void DeploymentListView::updateGeometries()
{
    m_places = DeploymentListLayout({m_sectionView.headerHeight(), m_rowView.height(), m_sectionView.sectionEnd()},
        m_model->headerRows(), m_model->rowCount());
    QScrollBar *bar = verticalScrollBar();
    bar->setSingleStep(m_rowView.height() / 2);
    bar->setPageStep(viewport()->height());
    bar->setRange(0, std::max(0, m_places.contentHeight() - viewport()->height()));
}

void DeploymentListView::scrollContentsBy(int dx, int dy)
{
    viewport()->scroll(dx, dy);
    updateHover();
    followTime();
}

void DeploymentListView::resizeEvent(QResizeEvent *event)
{
    QAbstractItemView::resizeEvent(event);
    followTime();
}

void DeploymentListView::changeEvent(QEvent *event)
{
    QAbstractItemView::changeEvent(event);
    switch (event->type()) {
    case QEvent::FontChange:
    case QEvent::ApplicationFontChange:
    case QEvent::LayoutDirectionChange:
    case QEvent::StyleChange:
        adoptFont();
        updateGeometries();
        followTime();
        [[fallthrough]];
    case QEvent::PaletteChange:
        viewport()->update();
        break;
    default:
        break;
    }
}

// Painting

void DeploymentListView::paintEvent(QPaintEvent *event)
{
    QPainter painter(viewport());
    const Instant now = m_clock->now();
    for (const QModelIndex &index : visibleRows()) {
        const QRect frame = visualRect(index);
        const QRect exposed = event->region().intersected(frame).boundingRect();
        if (exposed.isEmpty())
            continue;
        if (const auto *shown = deployment(index)) {
            m_rowView.paint(&painter, frame, exposed, {*shown, m_model->mark(*shown), now}, rowState(index), palette());
        } else {
            m_sectionView.paint(&painter, frame, header(index), palette());
        }
    }
}

DeploymentSectionView::Header DeploymentListView::header(const QModelIndex &index) const
{
    const auto section = m_model->section(index.row());
    DeploymentSectionView::Header header;
    header.title = m_model->title(section);
    header.isActionLit = m_hovered.index == index && m_hovered.isLink;
    header.hasFocus = m_showsCurrentRow && hasFocus() && currentIndex() == index;
    if (section == DeploymentSectionKind::Hidden)
        header.action = hiddenActionText(m_model->showsHidden());
    else
        header.count = m_model->count(section);
    if (section == DeploymentSectionKind::Failed && m_model->hasUndismissed())
        header.action = dismissAllText();
    return header;
}

DeploymentRowView::State DeploymentListView::rowState(const QModelIndex &index) const
{
    DeploymentRowView::State state;
    const bool isHovered = m_hovered.index == index;
    const bool isPressed = m_pressed.index == index && m_hovered == m_pressed;
    state.isHovered = isHovered && !m_hovered.isLink;
    state.isLinkHovered = isHovered && m_hovered.isLink;
    state.isPressed = isPressed && !m_pressed.isLink;
    state.isLinkPressed = isPressed && m_pressed.isLink;
    state.hasFocus = m_showsCurrentRow && hasFocus() && currentIndex() == index;
    state.hasDivider = !m_places.endsSection(index.row());
    state.turnedBy = m_turnedBy;
    return state;
}

// Time

void DeploymentListView::showEvent(QShowEvent *event)
{
    QAbstractItemView::showEvent(event);
    m_isShown = true;
    m_agesShownAt = m_clock->now();
    followTime();
}

void DeploymentListView::hideEvent(QHideEvent *event)
{
    m_isShown = false;
    followTime();
    setHovered({});
    setPressed({});
    QAbstractItemView::hideEvent(event);
}

/// Lets icons turn and waits for ages as the visible rows need it.
void DeploymentListView::followTime()
{
    bool hasMotion = false;
    std::optional<Instant> due;
    for (const QModelIndex &index : visibleRows()) {
        const auto *shown = m_isShown ? deployment(index) : nullptr;
        if (!shown)
            continue;
        hasMotion = hasMotion || shown->state == DeploymentState::InProgress;
        const Instant change = nextDetailsChange(*shown, m_agesShownAt, m_model->mark(*shown));
        due = std::min(due.value_or(change), change);
    }
    m_ages->waitFor(due);
    if (!hasMotion || !wantsMotion(*this))
        m_turning.stop();
    else if (!m_turning.isActive())
        m_turning.start(kTurnInterval, this);
}

void DeploymentListView::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_turning.timerId())
        return QAbstractItemView::timerEvent(event);
    m_turnedBy = (m_turnedBy + kTurnStep) % 360;
    for (const QModelIndex &index : visibleRows()) {
        const auto *shown = deployment(index);
        if (shown && shown->state == DeploymentState::InProgress)
            viewport()->update(m_rowView.parts(visualRect(index), *shown).icon);
    }
}

void DeploymentListView::updateAges()
{
    const Instant now = m_clock->now();
    for (const QModelIndex &index : visibleRows()) {
        const auto *shown = deployment(index);
        // After the clock was set back every age may be wrong.
        if (shown && (now < m_agesShownAt || nextDetailsChange(*shown, m_agesShownAt, m_model->mark(*shown)) <= now))
            update(index);
    }
    m_agesShownAt = now;
    followTime();
}

// Mouse

DeploymentListView::Target DeploymentListView::targetAt(const QPoint &point) const
{
    const QModelIndex index = indexAt(point);
    const QRect frame = visualRect(index);
    const auto *shown = deployment(index);
    // indexAt() counts the padding below a section to its last row; here it belongs to none.
    if (!viewport()->rect().contains(point) || !frame.contains(point))
        return {};
    if (!shown) {
        const bool isAction = isHiddenLine(index) || m_sectionView.actionPlace(frame, header(index)).contains(point);
        return isAction ? Target{index, true} : Target();
    }
    return {index, m_rowView.parts(frame, *shown).link.contains(point)};
}

void DeploymentListView::setHovered(const Target &target)
{
    if (m_hovered == target)
        return;
    update(m_hovered.index);
    m_hovered = target;
    update(m_hovered.index);
    viewport()->setCursor(target.isLink ? Qt::PointingHandCursor : Qt::ArrowCursor);
}

void DeploymentListView::setPressed(const Target &target)
{
    update(m_pressed.index);
    m_pressed = target;
    update(m_pressed.index);
}

/// Scrolling and updates move the rows below a mouse that rests.
void DeploymentListView::updateHover()
{
    if (m_isShown && viewport()->underMouse())
        setHovered(targetAt(viewport()->mapFromGlobal(QCursor::pos())));
}

void DeploymentListView::mouseMoveEvent(QMouseEvent *event)
{
    setHovered(targetAt(event->position().toPoint()));
}

void DeploymentListView::mousePressEvent(QMouseEvent *event)
{
    showsCurrentRow(false);
    const Target target = targetAt(event->position().toPoint());
    setHovered(target);
    if (event->button() != Qt::LeftButton || !target.index.isValid())
        return;
    if (deployment(target.index) || isHiddenLine(target.index))
        setCurrentIndex(target.index);
    setPressed(target);
}

/// Treats the second press of a double click as an ordinary press.
void DeploymentListView::mouseDoubleClickEvent(QMouseEvent *event)
{
    mousePressEvent(event);
}

void DeploymentListView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const Target pressed = m_pressed;
    setPressed({});
    if (!pressed.index.isValid() || targetAt(event->position().toPoint()) != pressed)
        return;
    const auto *shown = deployment(pressed.index);
    if (isHiddenLine(pressed.index))
        toggleHidden();
    else if (!shown)
        dismissAll();
    else
        m_actions->perform(pressed.isLink ? RowActionKind::OpenEnvironment : RowActionKind::OpenDetails, *shown);
}

bool DeploymentListView::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto *help = static_cast<QHelpEvent *>(event);
        showToolTip(help->pos(), help->globalPos());
        return true;
    }
    if (event->type() == QEvent::Leave)
        setHovered({});
    return QAbstractItemView::viewportEvent(event);
}

void DeploymentListView::showToolTip(const QPoint &point, const QPoint &globalPoint)
{
    const Target target = targetAt(point);
    const auto *shown = deployment(target.index);
    if (!shown)
        return QToolTip::hideText();
    const QRect frame = visualRect(target.index);
    const QRect place = target.isLink ? m_rowView.parts(frame, *shown).link : frame;
    const QString text
        = target.isLink ? linkToolTip(*shown) : rowToolTip(*shown, m_clock->now(), m_model->mark(*shown));
    QToolTip::showText(globalPoint, text, viewport(), place);
}

void DeploymentListView::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->reason() == QContextMenuEvent::Mouse) {
        showMenu(targetAt(event->pos()).index, event->globalPos());
    } else if (const QModelIndex current = currentIndex(); current.isValid()) {
        scrollTo(current);
        showMenu(current, viewport()->mapToGlobal(visualRect(current).center()));
    }
    event->accept();
}

void DeploymentListView::showMenu(const QModelIndex &index, const QPoint &globalPoint)
{
    const auto *shown = deployment(index);
    if (!shown)
        return;
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    m_actions->addTo(menu, *shown, m_model->mark(*shown));
    menu->popup(globalPoint);
}

// Keys, focus and assistive technology

bool DeploymentListView::isHiddenLine(const QModelIndex &index) const
{
    return index.isValid() && m_model->isHeader(index.row())
        && m_model->section(index.row()) == DeploymentSectionKind::Hidden;
}

void DeploymentListView::toggleHidden()
{
    changeRows([this] { m_model->setShowsHidden(!m_model->showsHidden()); });
    // What the user has asked for is below, perhaps out of sight.
    if (m_model->showsHidden())
        scrollTo(m_model->index(m_model->headerRows().back()), PositionAtTop);
}

/// The first row from `row` on, in steps of 1 or -1, that is no header. The line of what is hidden is as good.
QModelIndex DeploymentListView::nearestDeployment(int row, int step) const
{
    while (row >= 0 && row < m_model->rowCount() && m_model->isHeader(row) && !isHiddenLine(m_model->index(row)))
        row += step;
    return m_model->index(row);
}

QModelIndex DeploymentListView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    Q_UNUSED(modifiers)
    const int last = m_model->rowCount() - 1;
    const int row = currentIndex().row();
    const int page = std::max(1, viewport()->height() / m_rowView.height() - 1);
    const auto target = [&]() -> QModelIndex {
        switch (row < 0 && action != MoveEnd ? MoveHome : action) {
        case MoveDown:
        case MoveNext:
            return nearestDeployment(row + 1, 1);
        case MoveUp:
        case MovePrevious:
            return nearestDeployment(row - 1, -1);
        case MoveHome:
            return nearestDeployment(0, 1);
        case MoveEnd:
            return nearestDeployment(last, -1);
        case MovePageDown:
            return nearestDeployment(std::min(last, row + page), -1);
        case MovePageUp:
            return nearestDeployment(std::max(0, row - page), 1);
        default:
            return {};
        }
    }();
    return target.isValid() ? target : currentIndex();
}

void DeploymentListView::keyPressEvent(QKeyEvent *event)
{
    const auto *shown = deployment(currentIndex());
    const auto modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const bool isPress = (isReturn || event->key() == Qt::Key_Space) && modifiers == Qt::NoModifier;
    if (shown && (isPress || (isReturn && modifiers == Qt::ControlModifier))) {
        // Holding the key down must not open the page repeatedly.
        if (!event->isAutoRepeat())
            m_actions->perform(isPress ? RowActionKind::OpenDetails : RowActionKind::OpenEnvironment, *shown);
    } else if (isPress && isHiddenLine(currentIndex())) {
        if (!event->isAutoRepeat())
            toggleHidden();
    } else if (shown && event->matches(QKeySequence::Copy)) {
        m_actions->perform(RowActionKind::CopyCommit, *shown);
    } else if (event->key() == Qt::Key_Delete && modifiers == Qt::ShiftModifier) {
        dismissAll();
    } else if (shown && event->key() == Qt::Key_Delete && modifiers == Qt::NoModifier) {
        m_actions->perform(RowActionKind::Dismiss, *shown);
    } else if (SearchField::isTyping(*event)) {
        event->ignore();
    } else {
        if (event->key() == Qt::Key_Up && currentIndex().isValid() && currentIndex() == nearestDeployment(0, 1))
            Q_EMIT leftAtTop();
        showsCurrentRow(true);
        QAbstractItemView::keyPressEvent(event);
    }
}

void DeploymentListView::dismissAll()
{
    if (m_model->hasUndismissed())
        Q_EMIT dismissalChosen(m_model->undismissed(), true);
}

void DeploymentListView::showsCurrentRow(bool shows)
{
    if (m_showsCurrentRow == shows)
        return;
    m_showsCurrentRow = shows;
    update(currentIndex());
}

void DeploymentListView::focusInEvent(QFocusEvent *event)
{
    const bool cameByKey = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    showsCurrentRow(cameByKey);
    // With focus from the mouse or the window there is no current row yet; the first key selects the first row.
    if (cameByKey && !currentIndex().isValid())
        setCurrentIndex(nearestDeployment(0, 1));
    QAbstractItemView::focusInEvent(event);
}

void DeploymentListView::focusFirstRow()
{
    setFocus(Qt::TabFocusReason);
    setCurrentIndex(nearestDeployment(0, 1));
}

void DeploymentListView::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QAbstractItemView::currentChanged(current, previous);
    if (hasFocus())
        notifyAssistiveTechnology(this, QAccessible::Focus, current);
}

void DeploymentListView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QAbstractItemView::selectionChanged(selected, deselected);
    const QModelIndexList indexes = selected.indexes();
    for (const QModelIndex &index : indexes)
        notifyAssistiveTechnology(this, QAccessible::Selection, index);
}

QList<AccessibleAction> DeploymentListView::accessibleActions(const QModelIndex &index)
{
    if (const auto *shown = deployment(index))
        return m_actions->accessible(*shown, m_model->mark(*shown));
    if (!index.isValid() || header(index).action.isEmpty())
        return {};
    const bool isHidden = isHiddenLine(index);
    const auto perform = [this, isHidden] {
        const auto action = isHidden ? &DeploymentListView::toggleHidden : &DeploymentListView::dismissAll;
        QMetaObject::invokeMethod(this, action, Qt::QueuedConnection);
    };
    const QString name = header(index).action;
    return {{isHidden ? QAccessibleActionInterface::pressAction() : name, name, perform}};
}

} // namespace velmora
