// SPDX-License-Identifier: MIT
#pragma once

#include "app/velmora_app.h"

#include <QProcess>
#include <QTemporaryDir>

namespace velmora
{

class DemoPasteboard;
class DemoURLOpener;

/// A simulated GitHub on this machine and a temporary profile, for a user who wants to see Velmora before connecting an
/// account. The destructor ends the simulator; should the program be killed, the simulator ends by itself.
class Demo
{
public:
    Demo();
    ~Demo();
    Demo(const Demo &) = delete;
    Demo &operator=(const Demo &) = delete;

    /// Starts the simulator and waits until it listens. Throws ConfigurationError when it cannot be started, and
    /// CancellationError on a stop. The demo outlives the task.
    [[nodiscard]] QCoro::Task<> start(std::stop_token stop);

    /// The environment for the running demo, which leaves the user's profile alone. The caller sets notifier and clock.
    /// The demo outlives what uses the environment.
    [[nodiscard]] AppEnvironment environment();

    /// Call it when the accounts are connected. From then on a click opens a page of the simulator in the browser, and
    /// a copied text is on the clipboard. Before, neither browser nor clipboard is touched.
    void handOver();

    /// Switches all notifications on.
    static void fillPreferences(Preferences *preferences);

    /// Connects the demo's identities, one after the other. Throws ConfigurationError when one cannot be connected, and
    /// CancellationError on a stop or when the store is destroyed.
    [[nodiscard]] static QCoro::Task<> connectAccounts(AuthenticationStore *authentication, std::stop_token stop);

private:
    QTemporaryDir m_folder;
    QProcess m_simulator;
    QString m_address; ///< of the simulator
    std::unique_ptr<DemoPasteboard> m_pasteboard;
    std::unique_ptr<DemoURLOpener> m_urlOpener;
};

/// The simulator's executable: beside this program, in the libexec folder of its installation, or in the PATH; empty
/// when there is none.
[[nodiscard]] QString simulatorProgram();

/// The configuration for a simulator at the address.
[[nodiscard]] AppConfiguration demoConfiguration(const QString &address);

} // namespace velmora
