// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/presentation.h"

#include <QCache>
#include <QImage>
#include <QList>
#include <QString>

namespace velmora
{

/// The pictures of the tray item: the symbol of the presentation on a ground of the opposite tone, which makes it
/// readable on panels of every colour, with the number of active deployments drawn on it.
class TrayIcon
{
public:
    TrayIcon();

    /// Squares of 16, 22, 24, 32, 48 and 64 pixels. Each picture is drawn once for each value that shows, of which
    /// the latest few are kept.
    [[nodiscard]] QList<QImage> images(const DeploymentMonitorPresentation &presentation);

    /// The number as it is drawn: empty where there is none, "99+" beyond two digits.
    [[nodiscard]] static QString countText(const DeploymentMonitorPresentation &presentation);

private:
    QCache<QString, QList<QImage>> m_drawn;
};

} // namespace velmora
