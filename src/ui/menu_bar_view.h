// SPDX-License-Identifier: MIT
#pragma once

#include "support/task_scope.h"
#include "ui/menu_bar_presentation.h"

#include <QPointer>
#include <QWidget>

namespace velmora
{

class AuthenticationStore;
class Clock;
class DeploymentListView;
class DeploymentMonitor;
class EmptyStateView;
class InstallationPage;
class InstallationStore;
class MenuBarHeader;
class MessageRow;
class Pasteboard;
class TextLabel;
class URLOpener;

/// What the window behind the tray item holds: how things stand, the deployments or what there is to do instead, and
/// when it was all last right.
///
/// Only shows and forwards; the stores own everything but isRefreshing(). It asks for its size by sizeHint() and keeps
/// it, so that a window around it that follows fits. While it is hidden it follows nothing, keeps no deployments, and
/// no timer runs.
class MenuBarView final : public QWidget
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive the view.
    struct Services {
        AuthenticationStore *authentication = nullptr;
        InstallationStore *installations = nullptr;
        DeploymentMonitor *monitor = nullptr;
        InstallationPage *installationPage = nullptr;
        Clock *clock = nullptr;
        URLOpener *urlOpener = nullptr;
        Pasteboard *pasteboard = nullptr;
        QString applicationName = QStringLiteral("Velmora"); ///< as the application names itself
    };

    explicit MenuBarView(const Services &services, QWidget *parent = nullptr);
    ~MenuBarView() override;

    /// Whether a refresh that was started here is running. The monitor's own refreshes are not counted.
    [[nodiscard]] bool isRefreshing() const { return m_isRefreshing; }
    /// What is shown just now, or was when the view was hidden.
    [[nodiscard]] MenuBarContent content() const { return m_content; }

    /// Shows something about the window itself, below the status; nothing when empty.
    void setNotice(const QString &notice);

    [[nodiscard]] QSize sizeHint() const override;

public Q_SLOTS:
    /// Refreshes the installations, then all deployments. Does nothing while that is running.
    void refresh();

Q_SIGNALS:
    void settingsRequested();
    /// The user wants to choose repositories.
    void repositoriesRequested();
    void quitRequested();

protected:
    bool event(QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void makeContents();
    void makeMissingSteps();
    [[nodiscard]] QWidget *makeLoadingView();
    [[nodiscard]] QWidget *makeFooter();
    [[nodiscard]] QWidget *contentWidget(MenuBarContent content) const;
    void connectStores();
    void addShortcuts();
    void adoptFont();

    void followStores();
    void showStores();
    void showContent(MenuBarContent content);
    void showUpdateTime();
    void setRefreshing(bool isRefreshing);
    [[nodiscard]] QCoro::Task<> refreshEverything(std::stop_token stop);
    [[nodiscard]] QCoro::Task<> loadInstallations(std::stop_token stop);
    [[nodiscard]] QCoro::Task<> waitForUpdateTime(std::chrono::milliseconds duration, std::stop_token stop);

    Services m_services;
    MenuBarHeader *m_header;
    MessageRow *m_unsaved; ///< what could not be saved, and why
    QWidget *m_unopened; ///< the page that no browser has opened
    QWidget *m_codePanel = nullptr;
    EmptyStateView *m_connectionPrompt = nullptr;
    QWidget *m_loading = nullptr;
    DeploymentListView *m_list = nullptr;
    EmptyStateView *m_notInstalled = nullptr;
    EmptyStateView *m_noAccess = nullptr;
    EmptyStateView *m_nothingSelected = nullptr;
    EmptyStateView *m_noDeployments = nullptr;
    TextLabel *m_updated = nullptr;
    MenuBarContent m_content = MenuBarContent::NoDeployments;
    bool m_isShown = false;
    bool m_isRefreshing = false;
    bool m_isLoadingInstallations = false;
    TaskScope m_work;
    TaskScope m_updateTime;
};

} // namespace velmora
