// SPDX-License-Identifier: MIT
#pragma once

#include "platform/appearance.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QObject>

namespace velmora
{

/// The settings that the desktop's portal shows to programs.
class SettingsPortal final : public QObject
{
    Q_OBJECT

public:
    /// `bus` is to the session bus. Without one there are no settings.
    explicit SettingsPortal(QDBusConnection bus, QObject *parent = nullptr);

    /// Reads all settings that say how programs look. There are none without a portal, or if it does not answer in
    /// time.
    [[nodiscard]] QCoro::Task<DesktopSettings> read(QDeadlineTimer deadline);

Q_SIGNALS:
    /// A setting has another value.
    void changed(const QString &name, const QVariant &value);

private Q_SLOTS:
    void receiveChange(const QDBusMessage &message);

private:
    QDBusConnection m_bus;
};

} // namespace velmora
