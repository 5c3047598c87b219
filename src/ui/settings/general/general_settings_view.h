// SPDX-License-Identifier: MIT
#pragma once

#include "notifications/deployment_notifying.h"
#include "ui/controls/message_row.h"

#include <QPointer>
#include <QWidget>

class QComboBox;
class QPushButton;

namespace velmora
{

class Card;
class GeneralSettingsStore;
class SettingsPageOpener;
class SwitchControl;

/// The General tab: which results are announced, whether Velmora starts at login, and what went wrong with either.
///
/// A switch moves with the click; once the store has handled the change, it shows the state of the store, so that a
/// refusal is visible. Reads the state of the start at login each time the tab is shown.
class GeneralSettingsView final : public QWidget
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive the view.
    GeneralSettingsView(GeneralSettingsStore *settings, SettingsPageOpener *pageOpener, QWidget *parent = nullptr);

public Q_SLOTS:
    /// Reads the state of the start at login again, and retries the preparation of notifications that failed.
    void refresh();

protected:
    void showEvent(QShowEvent *event) override;

private:
    [[nodiscard]] QWidget *makeContent();
    [[nodiscard]] Card *makeNotifications();
    [[nodiscard]] QWidget *makeWhose();
    [[nodiscard]] Card *makeFailures();
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
    SwitchControl *m_waiting;
    QComboBox *m_whose; ///< whose deployments are announced: everybody's, or only the user's
    SwitchControl *m_ignoreMended;
    SwitchControl *m_launchAtLogin;
    QPushButton *m_openSettings;
    TextLabel *m_openFailure; ///< why the desktop's page cannot be opened
    Card *m_errorSection;
    MessageRow *m_error;
};

} // namespace velmora
