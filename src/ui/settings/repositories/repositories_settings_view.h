// SPDX-License-Identifier: MIT
#pragma once

#include "support/task_scope.h"

#include <QPointer>
#include <QWidget>

class QPushButton;
class QStackedWidget;

namespace velmora
{

class AuthenticationStore;
class BusyButton;
class EmptyStateView;
class InstallationStore;
class Clock;
class MessageRow;
class MutedRepositories;
class RepositoryListModel;
class RepositoryListView;
class SearchField;

/// The Repositories tab: search, a switch for each repository, two buttons for all of them, and a refresh.
///
/// Shows the state of the store; it owns only the search text and whether its own refresh runs. Letters typed anywhere
/// on the tab go to the search field. A refresh continues while another tab is shown, and is cancelled when the view is
/// destroyed.
class RepositoriesSettingsView final : public QWidget
{
    Q_OBJECT

public:
    /// The stores and the clock are not owned and outlive the view.
    RepositoriesSettingsView(AuthenticationStore *authentication, InstallationStore *installations,
        MutedRepositories *muted, const Clock *clock, QWidget *parent = nullptr);

public Q_SLOTS:
    /// Unlocks the accounts and loads everything from GitHub again. Does nothing while a refresh runs.
    void refresh();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    [[nodiscard]] QWidget *makeContent();
    void connectControls();
    void connectKeys();
    void setRefreshing(bool isRefreshing);
    void showState();
    void showRepositories();
    void showArea();
    static QCoro::Task<> refreshStore(QPointer<RepositoriesSettingsView> view, AuthenticationStore *authentication,
        InstallationStore *installations, std::stop_token stop);

    AuthenticationStore *m_authentication;
    InstallationStore *m_installations;
    RepositoryListModel *m_model;
    BusyButton *m_refresh;
    SearchField *m_search;
    QPushButton *m_enableAll;
    QPushButton *m_disableAll;
    QStackedWidget *m_area;
    QWidget *m_loading;
    EmptyStateView *m_noResults;
    QWidget *m_results;
    RepositoryListView *m_list;
    MessageRow *m_warning;
    bool m_isRefreshing = false;
    TaskScope m_work;
};

} // namespace velmora
