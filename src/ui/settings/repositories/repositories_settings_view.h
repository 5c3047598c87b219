// SPDX-License-Identifier: MIT
#pragma once

#include "support/task_scope.h"
#include "ui/settings/searched_page.h"

#include <QPointer>

class QPushButton;

namespace velmora
{

class AuthenticationStore;
class BusyButton;
class InstallationStore;
class Clock;
class MessageRow;
class MutedRepositories;
class RepositoryListModel;

/// The Repositories tab: search, a switch for each repository, two buttons for all of them, and a refresh.
///
/// Shows the state of the store; it owns only the search text and whether its own refresh runs. A refresh continues
/// while another tab is shown, and is cancelled when the view is destroyed.
class RepositoriesSettingsView final : public SearchedPage
{
    Q_OBJECT

public:
    /// The stores and the clock are not owned and outlive the view.
    RepositoriesSettingsView(AuthenticationStore *authentication, InstallationStore *installations,
        MutedRepositories *muted, const Clock *clock, QWidget *parent = nullptr);

public Q_SLOTS:
    /// Unlocks the accounts and loads everything from GitHub again. Does nothing while a refresh runs.
    void refresh();

private:
    void connectControls();
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
    QPushButton *m_enableAll;
    QPushButton *m_disableAll;
    QWidget *m_loading;
    MessageRow *m_warning;
    bool m_isRefreshing = false;
    TaskScope m_work;
};

} // namespace velmora
