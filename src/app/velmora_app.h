// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/authentication_store.h"
#include "accounts/installation_page.h"
#include "accounts/origin_credentials.h"
#include "accounts/origin_preferences.h"
#include "app/app_configuration.h"
#include "installations/installation_store.h"
#include "model/json_deployment_cache.h"
#include "monitor/deployment_monitor.h"
#include "platform/clock_jump_watch.h"
#include "platform/file_preferences.h"
#include "platform/login_item.h"
#include "platform/wake_watch.h"
#include "platform/xdg_directories.h"
#include "settings/general_settings_store.h"

#include <functional>
#include <memory>

namespace velmora
{

class NetworkSession;

/// What the application finds around it. The pointers are not owned and outlive the application.
struct AppEnvironment {
    QString applicationName; ///< as the application names itself
    AppConfiguration configuration;
    XDGDirectories directories;
    CredentialStoreFactory openCredentials;
    Pasteboard *pasteboard = nullptr;
    URLOpener *urlOpener = nullptr;
    DeploymentNotifying *notifier = nullptr;
    Clock *clock = nullptr;
    /// The time that a suspended machine does not see pass; a clock that runs ahead of it tells of an awakening.
    ClockJumpWatch::Monotonic monotonic = &std::chrono::steady_clock::now;
    /// Makes the login item, given the preferences of the profile. Without it, it is an entry in the autostart
    /// folder beside the directories, so that a profile of its own leaves the person's alone.
    std::function<std::unique_ptr<LoginItem>(Preferences *)> makeLoginItem;
};

/// The files of a profile, as the accounts of the configured GitHub see them; enough to read what was saved. What
/// earlier versions left there without saying of which GitHub it is, is filed first. The clock is not owned.
struct ProfileFiles {
    ProfileFiles(const XDGDirectories &directories, const AppConfiguration &configuration, Clock *clock);

    FilePreferences preferences; ///< of the whole profile
    OriginPreferences accountPreferences; ///< the same, as the accounts see them
    JSONDeploymentCache cache;
};

/// Creates the long-lived objects once, in the order in which they need each other, and ends them in
/// the opposite order. Nothing is asked of the network before somebody asks one of the stores.
class VelmoraApp
{
public:
    explicit VelmoraApp(AppEnvironment environment);
    ~VelmoraApp();
    VelmoraApp(const VelmoraApp &) = delete;
    VelmoraApp &operator=(const VelmoraApp &) = delete;

    [[nodiscard]] const AppEnvironment &environment() const { return m_environment; }
    [[nodiscard]] ProfileFiles &files() { return m_files; }
    [[nodiscard]] AuthenticationStore &authentication() { return *m_authentication; }
    [[nodiscard]] InstallationStore &installations() { return *m_installations; }
    [[nodiscard]] InstallationPage &installationPage() { return m_installationPage; }
    [[nodiscard]] GeneralSettingsStore &settings() { return *m_settings; }
    [[nodiscard]] DeploymentMonitor &monitor() { return *m_monitor; }
    /// What is told of sleep and network holds the monitor, drops connections and, a little later, has it poll at once.
    /// It knows of jumps of the wall clock already.
    [[nodiscard]] WakeWatch &wakeWatch() { return m_wakeWatch; }

private:
    void connectWakeWatch();

    AppEnvironment m_environment;
    ClockJumpWatch m_clock; ///< the monitor's
    WakeWatch m_wakeWatch;
    ProfileFiles m_files;
    std::unique_ptr<LoginItem> m_loginItem;
    std::shared_ptr<RateLimitLedger> m_rateLimits;
    std::shared_ptr<NetworkSession> m_session;
    InstallationPage m_installationPage;
    std::unique_ptr<AuthenticationStore> m_authentication;
    std::unique_ptr<InstallationStore> m_installations;
    std::unique_ptr<GeneralSettingsStore> m_settings;
    std::unique_ptr<DeploymentMonitor> m_monitor;
};

} // namespace velmora
