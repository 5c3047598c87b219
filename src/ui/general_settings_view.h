// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notifying.h"
#include "ui/message_row.h"

#include <QPointer>
#include <QWidget>

class QPushButton;

namespace velmora
{

class Card;
class GeneralSettingsStore;
class SettingsPageOpener;
class SwitchControl;

/// The General tab: which results are announced, whether Velmora starts at login, and what went wrong with either.
///
/// Shows what the store says. A switch moves with the click and, when the store has dealt with it, stands where the
/// store says, so that a refusal is seen. What the desktop does at login is read anew whenever the tab is shown.
class GeneralSettingsView final : public QWidget
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive the view.
    GeneralSettingsView(GeneralSettingsStore *settings, SettingsPageOpener *pageOpener, QWidget *parent = nullptr);

public Q_SLOTS:
    /// Reads again what the desktop does at login, and asks it once more for what it did not answer.
    void refresh();

protected:
    void showEvent(QShowEvent *event) override;

private:
    [[nodiscard]] QWidget *makeContent();
    [[nodiscard]] Card *makeNotifications();
    [[nodiscard]] Card *makeStartup();
    void connectControls();
    void showSettings();
    void openNotificationSettings();
    static QCoro::Task<> switchNotifications(QPointer<GeneralSettingsView> view, GeneralSettingsStore *settings,
        bool enabled, DeploymentNotificationKind kind);
    static QCoro::Task<> switchLaunchAtLogin(
        QPointer<GeneralSettingsView> view, GeneralSettingsStore *settings, bool enabled);

    GeneralSettingsStore *m_settings;
    SettingsPageOpener *m_pageOpener;
    SwitchControl *m_failures;
    SwitchControl *m_successes;
    SwitchControl *m_launchAtLogin;
    QPushButton *m_openSettings;
    TextLabel *m_openFailure; ///< what the desktop says where it has no such page
    Card *m_errorSection;
    MessageRow *m_error;
};

} // namespace velmora
