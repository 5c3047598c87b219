// SPDX-License-Identifier: MIT
// Layout and painting. Mouse and keyboard are in deployment_list_view_input.cpp, timers in
// deployment_list_view_time.cpp.
#include "ui/deployments/deployment_list_view.h"

#include "support/clock.h"
#include "ui/accessibility/accessible_part.h"
#include "ui/deployments/deployment_list_model.h"

#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>

namespace velmora
{

// QListView stores the position of each row and updates them in these functions. This view computes positions instead,
// so it skips QListView and calls QAbstractItemView.
// NOLINTBEGIN(bugprone-parent-virtual-call)

DeploymentListView::DeploymentListView(const DesktopPorts &ports, QWidget *parent)
    : QListView(parent)
    , m_ports(ports)
    , m_model(new DeploymentListModel(ports.clock, this))
{
    describeBy<DeploymentListView, AccessibleList>();
    setAccessibleName(QStringLiteral("Deployments"));
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(ScrollPerPixel);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    // An update of the model must not scroll; currentChanged() scrolls at all other times.
    setAutoScroll(false);
    setMouseTracking(true);
    adoptFont();
    setModel(m_model);
    connect(m_model, &DeploymentListModel::updateStarted, this, &DeploymentListView::beginUpdate);
    connect(m_model, &DeploymentListModel::updateFinished, this, &DeploymentListView::endUpdate);
    connect(m_model, &DeploymentListModel::rowsMoved, this, [this] { m_haveRowsMoved = true; });
}

void DeploymentListView::setDeployments(const QList<DeploymentSnapshot> &deployments)
{
    const auto [first, last] = visibleRows();
    m_model->setWatchedRows(first, last);
    m_model->setDeployments(deployments);
}

void DeploymentListView::adoptFont()
{
    m_rowView = DeploymentRowView(font(), layoutDirection());
    m_sectionView = DeploymentSectionView(font(), layoutDirection());
    m_hasPlaces = false;
}

const DeploymentListLayout &DeploymentListView::places() const
{
    if (!m_hasPlaces || m_isUpdating) {
        const DeploymentListLayout::Heights heights{
            m_sectionView.headerHeight(), m_rowView.height(), m_sectionView.sectionEnd()};
        m_places = DeploymentListLayout(heights, m_model->headerRows(), m_model->rowCount());
        m_hasPlaces = true;
    }
    return m_places;
}

QRect DeploymentListView::visualRect(const QModelIndex &index) const
{
    if (!index.isValid() || index.row() >= places().rowCount())
        return {};
    const int row = index.row();
    return {0, places().top(row) - verticalOffset(), viewport()->width(), places().height(row)};
}

QModelIndex DeploymentListView::indexAt(const QPoint &point) const
{
    const int row = places().rowAt(point.y() + verticalOffset());
    return row < 0 ? QModelIndex() : m_model->index(row);
}

std::pair<int, int> DeploymentListView::visibleRows() const
{
    const int first = places().rowAt(verticalOffset());
    if (first < 0)
        return {0, -1};
    const int last = places().rowAt(verticalOffset() + viewport()->height() - 1);
    return {first, last < 0 ? places().rowCount() - 1 : last};
}

int DeploymentListView::verticalOffset() const
{
    return verticalScrollBar()->value();
}

QRegion DeploymentListView::visualRegionForSelection(const QItemSelection &selection) const
{
    QRegion region;
    const QModelIndexList indexes = selection.indexes();
    for (const QModelIndex &index : indexes)
        region += visualRect(index);
    return region;
}

void DeploymentListView::scrollTo(const QModelIndex &index, ScrollHint hint)
{
    if (!index.isValid())
        return;
    int top = places().top(index.row());
    const int bottom = top + places().height(index.row());
    // Scrolling to the first row of a section shows its header, too.
    if (index.row() > 0 && places().isHeader(index.row() - 1))
        top = places().top(index.row() - 1);
    const int height = viewport()->height();
    const int offset = verticalOffset();
    if (hint == PositionAtTop || (hint == EnsureVisible && top < offset))
        verticalScrollBar()->setValue(top);
    else if (hint == PositionAtBottom || (hint == EnsureVisible && bottom > offset + height))
        verticalScrollBar()->setValue(bottom - height);
    else if (hint == PositionAtCenter)
        verticalScrollBar()->setValue((top + bottom - height) / 2);
}

void DeploymentListView::doItemsLayout()
{
    QAbstractItemView::doItemsLayout();
}

void DeploymentListView::reset()
{
    m_hasPlaces = false;
    QAbstractItemView::reset();
}

QSize DeploymentListView::viewportSizeHint() const
{
    return {QFontMetrics(font()).averageCharWidth() * 40, places().contentHeight()};
}

void DeploymentListView::updateGeometries()
{
    QScrollBar *bar = verticalScrollBar();
    bar->setSingleStep(m_rowView.height() / 2);
    bar->setPageStep(viewport()->height());
    bar->setRange(0, std::max(0, places().contentHeight() - viewport()->height()));
}

void DeploymentListView::beginUpdate()
{
    m_isUpdating = true;
    m_haveRowsMoved = false;
    m_anchors.clear();
    // A list that is scrolled to the top stays there and shows what is new.
    if (verticalOffset() == 0)
        return;
    const auto [first, last] = visibleRows();
    for (int row = first; row <= last; ++row)
        m_anchors.push_back({m_model->index(row), places().top(row) - verticalOffset()});
}

void DeploymentListView::endUpdate()
{
    m_isUpdating = false;
    if (m_haveRowsMoved) {
        m_hasPlaces = false;
        updateGeometries();
        restoreScrolling();
        if (currentIndex().isValid() && m_model->isHeader(currentIndex().row()))
            setCurrentIndex(moveCursor(MoveDown, Qt::NoModifier));
        viewport()->update();
        updateHover();
    }
    updateMotion();
    scheduleAges();
}

/// Scrolls so that most of the rows that were visible keep their position on the screen.
void DeploymentListView::restoreScrolling()
{
    std::vector<int> offsets;
    for (const Anchor &anchor : m_anchors) {
        if (anchor.index.isValid())
            offsets.push_back(places().top(anchor.index.row()) - anchor.offset);
    }
    m_anchors.clear();
    if (offsets.empty())
        return;
    const auto middle = offsets.begin() + static_cast<std::ptrdiff_t>(offsets.size() / 2);
    std::ranges::nth_element(offsets, middle);
    verticalScrollBar()->setValue(*middle);
}

void DeploymentListView::rowsInserted(const QModelIndex &parent, int first, int last)
{
    m_haveRowsMoved = true;
    m_hasPlaces = false;
    QAbstractItemView::rowsInserted(parent, first, last);
}

void DeploymentListView::rowsAboutToBeRemoved(const QModelIndex &parent, int first, int last)
{
    m_haveRowsMoved = true;
    QAbstractItemView::rowsAboutToBeRemoved(parent, first, last);
    m_hasPlaces = false;
}

void DeploymentListView::dataChanged(const QModelIndex &first, const QModelIndex &last, const QList<int> &roles)
{
    // After a move, endUpdate() repaints the whole viewport.
    if (!m_haveRowsMoved) {
        const auto [firstVisible, lastVisible] = visibleRows();
        for (int row = std::max(first.row(), firstVisible); row <= std::min(last.row(), lastVisible); ++row)
            viewport()->update(visualRect(m_model->index(row)));
    }
    QAbstractItemView::dataChanged(first, last, roles);
}

void DeploymentListView::scrollContentsBy(int dx, int dy)
{
    viewport()->scroll(dx, dy);
    updateHover();
    updateMotion();
    scheduleAges();
}

void DeploymentListView::resizeEvent(QResizeEvent *event)
{
    QAbstractItemView::resizeEvent(event);
    updateGeometries();
    updateMotion();
    scheduleAges();
}

void DeploymentListView::changeEvent(QEvent *event)
{
    QListView::changeEvent(event);
    switch (event->type()) {
    case QEvent::FontChange:
    case QEvent::ApplicationFontChange:
    case QEvent::LayoutDirectionChange:
    case QEvent::StyleChange:
        adoptFont();
        updateGeometries();
        viewport()->update();
        updateMotion();
        break;
    case QEvent::PaletteChange:
        viewport()->update();
        break;
    default:
        break;
    }
}

void DeploymentListView::paintEvent(QPaintEvent *event)
{
    QPainter painter(viewport());
    const Instant now = m_ports.clock->now();
    const auto [first, last] = visibleRows();
    for (int row = first; row <= last; ++row) {
        const QRect exposed = event->region().intersected(visualRect(m_model->index(row))).boundingRect();
        if (!exposed.isEmpty())
            paintRow(&painter, row, exposed, now);
    }
}

void DeploymentListView::paintRow(QPainter *painter, int row, const QRect &exposed, Instant now)
{
    const QModelIndex index = m_model->index(row);
    const QRect frame = visualRect(index);
    if (const auto *deployment = m_model->deployment(row)) {
        m_rowView.paint(painter, frame, exposed, *deployment, rowState(index), now, palette());
    } else {
        const auto section = m_model->section(row);
        m_sectionView.paint(painter, frame, sectionTitle(section), m_model->count(section), palette());
    }
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
    state.hasDivider = !places().endsSection(index.row());
    state.turnedBy = m_turnedBy;
    return state;
}

void DeploymentListView::showEvent(QShowEvent *event)
{
    QListView::showEvent(event);
    m_isShown = true;
    m_agesShownAt = m_ports.clock->now();
    updateMotion();
    scheduleAges();
}

void DeploymentListView::hideEvent(QHideEvent *event)
{
    m_isShown = false;
    updateMotion();
    scheduleAges();
    setHovered({});
    setPressed({});
    QListView::hideEvent(event);
}

// NOLINTEND(bugprone-parent-virtual-call)

} // namespace velmora
