// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QObject>

namespace velmora
{

/// logind's announcements of sleep. Emits nothing without a system bus or without logind.
class LogindSleepWatch final : public QObject
{
    Q_OBJECT

public:
    /// `connection` is to the system bus.
    explicit LogindSleepWatch(QDBusConnection connection, QObject *parent = nullptr);

    /// Whether there is a bus to receive logind's signals.
    [[nodiscard]] bool isListening() const { return m_isListening; }

Q_SIGNALS:
    /// The machine is about to sleep (true) or has woken (false).
    void prepareForSleep(bool isAboutToSleep);

private:
    bool m_isListening;
};

} // namespace velmora
