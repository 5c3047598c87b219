// SPDX-License-Identifier: MIT
#pragma once

#include "platform/desktop_ports.h"
#include "presentation/row_presentation.h"
#include "support/task_scope.h"
#include "ui/accessibility/accessible_list.h"
#include "ui/deployments/deployment_list_layout.h"
#include "ui/deployments/deployment_row_view.h"
#include "ui/deployments/deployment_section_view.h"

#include <QBasicTimer>
#include <QListView>
#include <QPersistentModelIndex>

namespace velmora
{

class DeploymentListModel;

/// The deployments in sections. A click on a row opens its log, a click on its link opens the environment. Return and
/// Control+Return do the same for the current row.
///
/// The cost depends on the visible rows only: positions are computed, and other rows are neither measured nor created.
/// While the view is shown, ages are repainted when they change, and the icons of deployments in progress turn. While
/// it is hidden, it does nothing.
class DeploymentListView final : public QListView, public AccessibleRows
{
    Q_OBJECT

public:
    /// What the ports name outlives the view.
    explicit DeploymentListView(const DesktopPorts &ports, QWidget *parent = nullptr);

    /// Shows a list that is already filtered and ordered. Selection, focus and scroll position are kept.
    void setDeployments(const QList<DeploymentSnapshot> &deployments);
    /// Carries out an action of the context menu; a click is one of them.
    void perform(RowActionKind action, const DeploymentSnapshot &deployment);
    [[nodiscard]] QList<AccessibleAction> accessibleActions(const QModelIndex &index) override;
    /// Whether icons are turning now.
    [[nodiscard]] bool isTurning() const { return m_turning.isActive(); }

    [[nodiscard]] QRect visualRect(const QModelIndex &index) const override;
    [[nodiscard]] QModelIndex indexAt(const QPoint &point) const override;
    void scrollTo(const QModelIndex &index, ScrollHint hint = EnsureVisible) override;
    void doItemsLayout() override;
    void keyboardSearch(const QString &search) override;
    void reset() override;
    [[nodiscard]] QSize viewportSizeHint() const override;

protected:
    bool viewportEvent(QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    void dataChanged(const QModelIndex &first, const QModelIndex &last, const QList<int> &roles) override;
    void focusInEvent(QFocusEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void rowsAboutToBeRemoved(const QModelIndex &parent, int first, int last) override;
    void rowsInserted(const QModelIndex &parent, int first, int last) override;
    void scrollContentsBy(int dx, int dy) override;
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;
    void setSelection(const QRect &rect, QItemSelectionModel::SelectionFlags command) override;
    void showEvent(QShowEvent *event) override;
    void timerEvent(QTimerEvent *event) override;
    void updateGeometries() override;
    [[nodiscard]] QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    [[nodiscard]] int horizontalOffset() const override { return 0; }
    [[nodiscard]] int verticalOffset() const override;
    [[nodiscard]] QRegion visualRegionForSelection(const QItemSelection &selection) const override;

private:
    /// The row under the mouse, or the link in that row.
    struct Target {
        QPersistentModelIndex index;
        bool isLink = false;

        friend bool operator==(const Target &, const Target &) = default;
    };
    /// A visible row, and its distance from the top of the viewport.
    struct Anchor {
        QPersistentModelIndex index;
        int offset;
    };

    void beginUpdate();
    void restoreScrolling();
    void endUpdate();
    void adoptFont();
    [[nodiscard]] const DeploymentListLayout &places() const;
    [[nodiscard]] int neighbour(int row, int step) const;
    [[nodiscard]] std::pair<int, int> visibleRows() const;
    [[nodiscard]] Target targetAt(const QPoint &point) const;
    void setHovered(const Target &target);
    void setPressed(const Target &target);
    void updateTarget(const Target &target);
    void updateHover();
    void showToolTip(const QPoint &point, const QPoint &globalPoint);
    void showMenu(const QModelIndex &index, const QPoint &globalPoint);
    [[nodiscard]] DeploymentRowView::State rowState(const QModelIndex &index) const;
    void paintRow(QPainter *painter, int row, const QRect &exposed, Instant now);
    void showsCurrentRow(bool shows);

    void updateMotion();
    void updateAges();
    void scheduleAges();
    [[nodiscard]] QCoro::Task<> waitForAges(std::chrono::milliseconds duration, std::stop_token stop);

    DesktopPorts m_ports;
    DeploymentListModel *m_model;
    DeploymentRowView m_rowView;
    DeploymentSectionView m_sectionView;
    mutable DeploymentListLayout m_places;
    mutable bool m_hasPlaces = false;
    std::vector<Anchor> m_anchors;
    Target m_hovered;
    Target m_pressed;
    bool m_isShown = false;
    bool m_isUpdating = false; ///< between updateStarted() and updateFinished() of the model
    bool m_haveRowsMoved = false; ///< rows came, went or moved in the current update
    bool m_showsCurrentRow = false; ///< the keyboard was used last
    QBasicTimer m_turning;
    int m_turnedBy = 0;
    Instant m_agesShownAt; ///< the visible ages were painted at this time or later
    std::optional<Instant> m_agesDueAt;
    TaskScope m_ages;
};

} // namespace velmora
