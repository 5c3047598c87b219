// SPDX-License-Identifier: MIT
#pragma once

#include "app/velmora_app.h"

#include <QProcess>
#include <QTemporaryDir>

namespace velmora
{

class DemoPasteboard;
class DemoURLOpener;

/// A GitHub of its own on this machine, and a profile that is thrown away: for whoever wants to see Velmora
/// before connecting anything. Ends the simulator with itself; the simulator ends by itself when the
/// program dies.
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

    /// The environment for the running demo: nothing in it touches the real profile. Notifier and clock are left to the
    /// caller.
    [[nodiscard]] AppEnvironment environment();

    /// From now on it is the person who acts: what is clicked opens in the browser, as a page of the simulator, and
    /// what is copied is on the clipboard. Before that the accounts connect by themselves and disturb nobody.
    void handOver();

    /// The settings of a person who wants to see everything.
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

/// The simulator's executable: beside this program, in the libexec folder of its installation, or where the shell
/// would find it; empty when there is none.
[[nodiscard]] QString simulatorProgram();

/// The configuration that speaks to a simulator at the address.
[[nodiscard]] AppConfiguration demoConfiguration(const QString &address);

} // namespace velmora
