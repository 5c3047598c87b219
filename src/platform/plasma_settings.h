// SPDX-License-Identifier: MIT
#pragma once

#include "platform/appearance.h"

#include <QDBusConnection>
#include <QObject>

namespace velmora
{

/// The settings of Plasma that say how programs look, from its files.
class PlasmaSettings final : public QObject
{
    Q_OBJECT

public:
    /// `bus` is to the session bus; Plasma announces changes there.
    explicit PlasmaSettings(QDBusConnection bus, QObject *parent = nullptr);

    /// The settings at present.
    [[nodiscard]] static DesktopSettings read();

Q_SIGNALS:
    /// Some setting of Plasma may have another value.
    void changed();
};

} // namespace velmora
