// SPDX-License-Identifier: MIT
#pragma once

#include "presentation/deployment_search.h"

#include <QWidget>

class QStackedWidget;

namespace velmora
{

class DeploymentListView;
class EmptyStateView;
class SearchField;
class TextLabel;

/// The list of deployments, and above it, while something is looked for, a search field with the number of deployments
/// that are found.
///
/// The search field shows with find() and the first letter, and goes with Escape or when the whole is hidden; all
/// deployments are shown again then.
class DeploymentFinder final : public QWidget
{
    Q_OBJECT

public:
    /// Takes the list, and shows it.
    explicit DeploymentFinder(DeploymentListView *list, QWidget *parent = nullptr);

    /// Has the list show those of the deployments that are looked for, and of those that are hidden. The list is
    /// already filtered and ordered.
    void setDeployments(
        const DeploymentList &deployments, const FailureMarks &marks, const MarkedDeployments &hidden = {});
    /// Handles a key that no control of the window has used: a letter is typed into the search, and Escape ends it.
    /// Returns whether the key was used.
    bool takeKey(const QKeyEvent &event);
    /// Gives the focus to the list. (As its focus proxy the list would have it, but so would this widget, for assistive
    /// technology.)
    void focusDeployments();

public Q_SLOTS:
    /// Shows the search field and gives it the focus.
    void find();
    /// Shows all deployments, without the search field.
    void showAll();

protected:
    void hideEvent(QHideEvent *event) override;

private:
    [[nodiscard]] QWidget *makeSearchRow();
    void search(const QString &text);
    void showFound();

    DeploymentListView *m_list;
    SearchField *m_field;
    TextLabel *m_hits;
    QWidget *m_row; ///< the field and the number of hits
    QStackedWidget *m_area; ///< the list, or what is said when nothing is found
    EmptyStateView *m_nothing;
    DeploymentList m_all;
    FailureMarks m_marks;
    MarkedDeployments m_hidden;
    DeploymentSearch m_search;
    DeploymentList m_found; ///< those of m_all that the search finds
};

} // namespace velmora
