// SPDX-License-Identifier: MIT
#pragma once

#include "platform/desktop_ports.h"
#include "presentation/deployment_sections.h"
#include "presentation/row_presentation.h"
#include "ui/accessibility/accessible_list.h"
#include "ui/deployments/deployment_list_layout.h"
#include "ui/deployments/deployment_row_view.h"
#include "ui/deployments/deployment_section_view.h"

#include <QBasicTimer>

#include <functional>

namespace velmora
{

class AgeTicker;
class DeploymentActions;
class DeploymentListModel;
class Environments;
class MutedRepositories;

/// The deployments in sections. A click on a row opens its log, a click on its link opens the environment. Return and
/// Control+Return do the same for the current row. Delete dismisses a failure; Shift+Delete, and a click in the title
/// of their section, dismiss all. A click on the line that counts what is hidden, and Return on it, show that until the
/// next hide(). Text that is typed is left to the parent.
///
/// The cost depends on the visible rows only: Qt's own views measure every row, here positions are computed. While the
/// view is shown, ages are repainted when they change, and the icons of deployments in progress turn. While it is
/// hidden, it does nothing.
class DeploymentListView final : public QAbstractItemView, public AccessibleRows
{
    Q_OBJECT

public:
    /// What the ports name outlives the view.
    explicit DeploymentListView(const DesktopPorts &ports, QWidget *parent = nullptr);

    /// Shows a list that is already filtered and ordered, with its marks, and how much is hidden of it. Selection,
    /// focus and scroll position are kept; only rows that look different are repainted.
    void setDeployments(
        const DeploymentList &deployments, const FailureMarks &marks = {}, const MarkedDeployments &hidden = {});
    [[nodiscard]] QList<AccessibleAction> accessibleActions(const QModelIndex &index) override;
    /// Whether icons are turning now.
    [[nodiscard]] bool isTurning() const { return m_turning.isActive(); }

    [[nodiscard]] QRect visualRect(const QModelIndex &index) const override;
    [[nodiscard]] QModelIndex indexAt(const QPoint &point) const override;
    void scrollTo(const QModelIndex &index, ScrollHint hint = EnsureVisible) override;
    /// setDeployments() has repainted what changed; the base would repaint everything.
    void doItemsLayout() override { updateGeometries(); }
    /// The menu of a row offers to mute its repository. `muted` is not owned and outlives the view.
    void offerMuting(MutedRepositories *muted);
    /// It offers to choose about its environment. `environments` is not owned and outlives the view.
    void offerChoices(Environments *environments);

public Q_SLOTS:
    /// Takes the focus, at the first deployment.
    void focusFirstRow();

Q_SIGNALS:
    /// Up was pressed on the first deployment.
    void leftAtTop();
    /// The user wants the failures with these ids dismissed, or that taken back.
    void dismissalChosen(const QSet<QString> &ids, bool isDismissed);

protected:
    bool viewportEvent(QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    void focusInEvent(QFocusEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;
    void showEvent(QShowEvent *event) override;
    void timerEvent(QTimerEvent *event) override;
    void updateGeometries() override;
    [[nodiscard]] QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    [[nodiscard]] int horizontalOffset() const override { return 0; }
    [[nodiscard]] int verticalOffset() const override;
    [[nodiscard]] bool isIndexHidden(const QModelIndex &) const override { return false; }
    /// Never called: one row is selected at a time, by setCurrentIndex().
    void setSelection(const QRect &, QItemSelectionModel::SelectionFlags) override { }
    /// Empty, because a selection is not drawn.
    [[nodiscard]] QRegion visualRegionForSelection(const QItemSelection &) const override { return {}; }

private:
    /// The row under the mouse, or the link in that row. A header is only a target with its link, the action on all;
    /// that of what is hidden is one all over.
    struct Target {
        QPersistentModelIndex index;
        bool isLink = false;

        friend bool operator==(const Target &, const Target &) = default;
    };
    /// Everything that a visible row shows, apart from its age. Equal rows look the same.
    struct SeenRow {
        QRect place;
        std::optional<DeploymentSnapshot> deployment; ///< nullopt for a header
        FailureMark mark;
        DeploymentSectionView::Header header; ///< empty for a deployment
        bool endsSection = false;

        friend bool operator==(const SeenRow &, const SeenRow &) = default;
    };

    /// A visible row, and its distance from the top of the viewport.
    struct Anchor {
        QPersistentModelIndex index;
        int distance;
    };

    void adoptFont();
    [[nodiscard]] const DeploymentSnapshot *deployment(const QModelIndex &index) const;
    [[nodiscard]] QModelIndexList visibleRows() const;
    [[nodiscard]] std::vector<SeenRow> seenRows() const;
    [[nodiscard]] std::vector<Anchor> anchors() const;
    void keepPlaces(const std::vector<Anchor> &anchors);
    void repaintChanges(const std::vector<SeenRow> &before, int previousOffset);
    [[nodiscard]] QModelIndex nearestDeployment(int row, int step) const;
    [[nodiscard]] Target targetAt(const QPoint &point) const;
    void setHovered(const Target &target);
    void setPressed(const Target &target);
    void updateHover();
    void showToolTip(const QPoint &point, const QPoint &globalPoint);
    void showMenu(const QModelIndex &index, const QPoint &globalPoint);
    [[nodiscard]] DeploymentRowView::State rowState(const QModelIndex &index) const;
    [[nodiscard]] DeploymentSectionView::Header header(const QModelIndex &index) const;
    void dismissAll();
    [[nodiscard]] bool isHiddenLine(const QModelIndex &index) const;
    void toggleHidden();
    /// Changes the model by `change` and repaints what looks different.
    void changeRows(const std::function<void()> &change);
    void showsCurrentRow(bool shows);
    void followTime();
    void updateAges();

    Clock *m_clock;
    DeploymentListModel *m_model;
    DeploymentActions *m_actions;
    AgeTicker *m_ages;
    DeploymentRowView m_rowView;
    DeploymentSectionView m_sectionView;
    DeploymentListLayout m_places;
    Target m_hovered;
    Target m_pressed;
    bool m_isShown = false;
    bool m_showsCurrentRow = false; ///< the keyboard was used last
    QBasicTimer m_turning;
    int m_turnedBy = 0;
    Instant m_agesShownAt; ///< the visible ages were painted at this time or later
};

} // namespace velmora
