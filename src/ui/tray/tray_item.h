// SPDX-License-Identifier: MIT
#pragma once

#include "ui/tray/tray_icon.h"

#include <QObject>
#include <QPoint>

#include <optional>

namespace velmora
{

class DeploymentMonitor;
class StatusItem;

/// The line below the title: "2 in progress, 1 failed", or the status of the monitor if both are zero.
[[nodiscard]] QString trayStatusLine(
    const DeploymentMonitorState &state, const DeploymentList &deployments, const FailureMarks &marks);

/// Shows the monitor's presentation in the tray, and turns clicks and menu entries into signals. The menu pauses and
/// resumes the notifications.
class TrayItem final : public QObject
{
    Q_OBJECT

public:
    /// `monitor` and `item` outlive the tray item. `applicationName` is the title while nothing is in progress.
    TrayItem(DeploymentMonitor *monitor, StatusItem *item, QString applicationName, QObject *parent = nullptr);

Q_SIGNALS:
    /// The item was clicked, at `position` if known. The window opens if it is closed, and closes if it is open.
    void toggleRequested(std::optional<QPoint> position, const QString &activationToken);
    /// The first entry of the menu was chosen.
    void openRequested(const QString &activationToken);
    void refreshRequested();
    void settingsRequested(const QString &activationToken);
    void quitRequested();

private:
    /// What the item shows now.
    struct Shown {
        QString title;
        QString line;
        DeploymentMonitorPresentation presentation;
        QString resume; ///< the entry that ends the pause of the notifications; empty without a pause

        friend bool operator==(const Shown &, const Shown &) = default;
    };

    [[nodiscard]] Shown wanted() const;
    void show(const Shown &shown);
    void update();
    void trigger(int entry, const QString &activationToken);

    DeploymentMonitor *m_monitor;
    StatusItem *m_item;
    QString m_applicationName;
    TrayIcon m_icon;
    Shown m_shown;
};

} // namespace velmora
