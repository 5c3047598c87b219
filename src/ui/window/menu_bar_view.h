// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/stores.h"
#include "platform/desktop_ports.h"
#include "presentation/menu_bar_presentation.h"
#include "support/task_scope.h"
#include "ui/window/framed_window.h"

#include <QPointer>
#include <QWidget>

namespace velmora
{

class AgeTicker;
class DeploymentFinder;
class EmptyStateView;
class MenuBarHeader;
class MessageRow;
class TextLabel;

/// The content of the window behind the tray item: the status, the deployments or the next step, and the time of the
/// last update.
///
/// Shows the stores and forwards actions; all state but isRefreshing() belongs to the stores. The view fixes its size
/// to its sizeHint(). Letters that are typed anywhere in it look for deployments among those on show. While it is
/// hidden, it does not follow the stores, holds no deployments, and runs no timer.
class MenuBarView final : public QWidget
{
    Q_OBJECT

public:
    /// What `stores` and `ports` name outlives the view.
    MenuBarView(const Stores &stores, const DesktopPorts &ports, QWidget *parent = nullptr);
    ~MenuBarView() override;

    /// Whether a refresh started by this view is running; the monitor's own refreshes do not count.
    [[nodiscard]] bool isRefreshing() const { return m_isRefreshing; }
    /// The content on show, or the last one while the view is hidden.
    [[nodiscard]] MenuBarContent content() const { return m_content; }

    /// Shows a note about the window itself below the status; empty hides it.
    void setNotice(const QString &notice);

    [[nodiscard]] QSize sizeHint() const override;

public Q_SLOTS:
    /// The frame of the window has a title as well, and a button to close it. Without either, the view offers both.
    void setFrame(velmora::FramedWindow::Frame frame);
    /// Unlocks the accounts, then refreshes the installations and all deployments. Does nothing while a refresh runs.
    void refresh();

Q_SIGNALS:
    void settingsRequested();
    /// The user wants to choose repositories.
    void repositoriesRequested();
    void quitRequested();
    void closeRequested();

protected:
    bool event(QEvent *event) override;
    void changeEvent(QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void makeContents();
    void makeMissingSteps();
    [[nodiscard]] QWidget *makeLoadingView();
    [[nodiscard]] QWidget *makeFooter();
    [[nodiscard]] QWidget *makePauseRow();
    [[nodiscard]] QWidget *contentWidget(MenuBarContent content) const;
    void connectStores();
    void addShortcuts();
    void adoptFont();

    void followStores();
    void showStores();
    void showContent(MenuBarContent content);
    void showUpdateTime();
    void showPause();
    void setRefreshing(bool isRefreshing);
    [[nodiscard]] QCoro::Task<> refreshEverything(std::stop_token stop);
    [[nodiscard]] QCoro::Task<> loadInstallations(std::stop_token stop);

    Stores m_stores;
    DesktopPorts m_ports;
    MenuBarHeader *m_header;
    MessageRow *m_unsaved; ///< what could not be saved, and why
    QWidget *m_unopened; ///< the address that no browser could open
    QWidget *m_codePanel = nullptr;
    EmptyStateView *m_connectionPrompt = nullptr;
    QWidget *m_loading = nullptr;
    DeploymentFinder *m_list = nullptr;
    EmptyStateView *m_notInstalled = nullptr;
    EmptyStateView *m_noAccess = nullptr;
    EmptyStateView *m_nothingSelected = nullptr;
    EmptyStateView *m_noDeployments = nullptr;
    QWidget *m_pauseRow = nullptr; ///< shown during a pause of the notifications
    TextLabel *m_pause = nullptr;
    TextLabel *m_updated = nullptr;
    AgeTicker *m_updateTime;
    MenuBarContent m_content = MenuBarContent::NoDeployments;
    bool m_isShown = false;
    bool m_isRefreshing = false;
    bool m_isLoadingInstallations = false;
    TaskScope m_work;
};

} // namespace velmora
