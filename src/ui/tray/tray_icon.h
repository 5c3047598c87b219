// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/deployment_monitor_state.h"

#include <QCache>
#include <QImage>
#include <QList>
#include <QString>

namespace velmora
{

/// The icons of the tray item: the symbol of the presentation with the number of active deployments. A white ground
/// behind the symbol keeps it legible on panels of any colour.
class TrayIcon
{
public:
    TrayIcon();

    /// Squares of 16, 22, 24, 32, 48 and 64 pixels. They are drawn once for each distinct value; the latest values are
    /// cached.
    [[nodiscard]] QList<QImage> images(const DeploymentMonitorPresentation &presentation);

    /// The number as it is drawn: empty for none, "99+" above 99.
    [[nodiscard]] static QString countText(const DeploymentMonitorPresentation &presentation);

private:
    QCache<QString, QList<QImage>> m_drawn;
};

} // namespace velmora
