// SPDX-License-Identifier: MIT
#pragma once

#include "platform/appearance.h"

#include <QObject>

#include <memory>

namespace velmora
{

/// The settings of GNOME that say how programs look, for sessions without a portal. Needs an event loop that runs
/// GLib's main context, like Qt's on Linux, to hear of changes.
class GNOMESettings final : public QObject
{
    Q_OBJECT

public:
    explicit GNOMESettings(QObject *parent = nullptr);
    ~GNOMESettings() override;

    /// The settings at present. There are none where GNOME's schemas are not installed.
    [[nodiscard]] DesktopSettings read() const;

Q_SIGNALS:
    /// One of the settings has another value.
    void changed();

private:
    class Schema;
    QList<std::shared_ptr<Schema>> m_schemas;
};

} // namespace velmora
