// SPDX-License-Identifier: MIT
#pragma once

#include "app/demo.h"
#include "app/run_context.h"
#include "app/velmora_app.h"
#include "app/wake_sources.h"
#include "control/local_control.h"
#include "control/observed_notifier.h"
#include "notifications/background_notifier.h"
#include "notifications/user_notification_service.h"
#include "notifications/waiting_notifier.h"

#include <functional>
#include <memory>
#include <optional>

namespace velmora
{

/// The Velmora of this process at work: its stores, what controls them, what announces results, and GitHub's stand-in
/// for the demo.
///
/// The members are created in the order in which they are declared, and destroyed in the opposite order.
class Session
{
public:
    /// The context outlives the session. Nothing is created before start().
    explicit Session(const RunContext *context);
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    /// Starts the demo's GitHub where the command line asks for it, then creates the stores. Nothing is asked of the
    /// network yet. Problems of the profile's files are written to the context's standard error.
    ///
    /// Throws ConfigurationError and FileError, and CancellationError on a stop. The session outlives the task. Call it
    /// once.
    [[nodiscard]] QCoro::Task<> start();

    /// The stores; null until start() has ended.
    [[nodiscard]] VelmoraApp *app() { return m_app ? &*m_app : nullptr; }
    /// What controls the stores; null until start() has ended.
    [[nodiscard]] LocalControl *control() { return m_control ? &*m_control : nullptr; }

    /// Has the stores react to the sleep and the network of this machine. Call it after start().
    void watchMachine();

    /// Connects the demo's accounts and hands the demo over to the user. Does nothing for a real profile. Throws
    /// ConfigurationError, and CancellationError on a stop or when the session ends. Call it after start().
    [[nodiscard]] QCoro::Task<> connectDemo(std::stop_token stop);

    /// Sets what opens the window for a click on a notification, as UserNotificationService describes. Call it after
    /// start().
    void setWindowOpener(std::function<void(const QString &activationToken)> openWindow);

    /// Writes what is not yet saved of the preferences.
    void save();

    /// Saves, ends the demo's GitHub and removes its profile. For an end of the process that destroys no objects.
    void abandon();

private:
    void createStores();
    [[nodiscard]] AppEnvironment realEnvironment();
    [[nodiscard]] DeploymentNotifying *notifierFor(const AppEnvironment &environment);
    void createControl();

    const RunContext *m_context;
    std::optional<Demo> m_demo;
    std::unique_ptr<Pasteboard> m_pasteboard; ///< null for the demo, which has its own
    std::unique_ptr<URLOpener> m_urlOpener; ///< null for the demo, which has its own
    std::unique_ptr<UserNotificationService> m_desktopNotifications; ///< null where the desktop is told nothing
    std::optional<BackgroundNotifier> m_backgroundNotifier; ///< of a watching terminal, over the desktop's
    std::optional<ObservedNotifier> m_observedNotifier; ///< over one of both; null for a command that ends by itself
    WaitingNotifier m_waitingNotifier; ///< of a command that ends by itself
    std::optional<VelmoraApp> m_app;
    std::optional<LocalControl> m_control;
    std::optional<WakeSources> m_wakeSources;
};

} // namespace velmora
