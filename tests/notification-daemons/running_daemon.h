// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_snapshot.h"

#include <QDBusMessage>
#include <QProcess>
#include <QStringList>

#include <functional>

namespace velmora::testing
{

/// Calls a method of the notification service of the private bus and blocks for its answer; fails the program when
/// there is none.
[[nodiscard]] QDBusMessage callNotificationService(
    const QString &interface, const QString &method, const QVariantList &arguments = {});

/// Posts as another program would, and returns the number of the notification.
uint postAsAnotherProgram(const QString &summary);

/// Waits up to ten seconds while the event loop runs.
[[nodiscard]] bool becomesTrue(const std::function<bool()> &condition);

/// What a text of markup shows, read by a parser of its own; absent when it is no markup.
[[nodiscard]] std::optional<QString> shownText(const QString &markup);

/// A real notification daemon, started and ended by the test.
class RunningDaemon
{
public:
    RunningDaemon(QString program, QStringList arguments);
    ~RunningDaemon();

    /// Starts it and waits until it has its name on the bus.
    void start();
    /// Kills it and waits until the bus knows.
    void end();

private:
    QString m_program;
    QStringList m_arguments;
    QProcess m_process;
};

} // namespace velmora::testing
