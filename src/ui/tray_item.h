// SPDX-License-Identifier: MIT
#pragma once

#include "ui/tray_icon.h"

#include <QObject>
#include <QPoint>

#include <optional>

namespace velmora
{

class DeploymentMonitor;
class StatusItem;

/// What the presentation says in words, under the title: "2 in progress, 1 failed", or how the monitor stands.
[[nodiscard]] QString trayStatusLine(const DeploymentMonitorState &state, const QList<DeploymentSnapshot> &deployments);

/// Shows the monitor's presentation in the tray, and turns clicks into what the person wants.
class TrayItem final : public QObject
{
    Q_OBJECT

public:
    /// `monitor` and `item` outlive the tray item. `applicationName` is the title while nothing is in progress.
    TrayItem(const DeploymentMonitor *monitor, StatusItem *item, QString applicationName, QObject *parent = nullptr);

Q_SIGNALS:
    /// The item itself was clicked, at `position` where that is known: opens what is closed, and closes what is open.
    void toggleRequested(std::optional<QPoint> position, const QString &activationToken);
    /// The menu's first entry was chosen.
    void openRequested(const QString &activationToken);
    void refreshRequested();
    void settingsRequested(const QString &activationToken);
    void quitRequested();

private:
    /// What the item was last told.
    struct Shown {
        QString title;
        QString line;
        DeploymentMonitorPresentation presentation;

        friend bool operator==(const Shown &, const Shown &) = default;
    };

    [[nodiscard]] Shown wanted() const;
    void show(const Shown &shown);
    void update();
    void trigger(int entry, const QString &activationToken);

    const DeploymentMonitor *m_monitor;
    StatusItem *m_item;
    QString m_applicationName;
    TrayIcon m_icon;
    Shown m_shown;
};

} // namespace velmora
