// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"

#include <QDBusMessage>
#include <QProcess>
#include <QStringList>

#include <functional>

namespace velmora::testing
{

/// Calls a method of the notification service on the private bus and blocks for the answer; aborts the test without
/// one.
[[nodiscard]] QDBusMessage callNotificationService(
    const QString &interface, const QString &method, const QVariantList &arguments = {});

/// Posts a notification as another program; returns its number.
uint postAsAnotherProgram(const QString &summary);

/// Runs the event loop until the condition holds, for up to ten seconds.
[[nodiscard]] bool becomesTrue(const std::function<bool()> &condition);

/// The text that markup shows, according to an independent parser; absent if it is not valid markup.
[[nodiscard]] std::optional<QString> shownText(const QString &markup);

/// A real notification daemon that the test starts and ends.
class RunningDaemon
{
public:
    RunningDaemon(QString program, QStringList arguments);
    ~RunningDaemon();

    /// Starts the daemon and waits until it owns its name on the bus.
    void start();
    /// Kills the daemon and waits until it has left the bus.
    void end();

private:
    QString m_program;
    QStringList m_arguments;
    QProcess m_process;
};

} // namespace velmora::testing
