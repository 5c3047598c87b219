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
#include "monitor/stores.h"
#include "platform/clock_jump_watch.h"
#include "platform/desktop_ports.h"
#include "platform/file_preferences.h"
#include "platform/login_item.h"
#include "platform/wake_watch.h"
#include "platform/xdg_directories.h"
#include "settings/general_settings_store.h"

#include <QRandomGenerator>

#include <functional>
#include <memory>

namespace velmora
{

class NetworkSession;

/// What the stores need from outside. What the pointers name is not owned and outlives the application.
struct AppEnvironment : DesktopPorts {
    AppConfiguration configuration;
    XDGDirectories directories;
    CredentialStoreFactory openCredentials;
    DeploymentNotifying *notifier = nullptr;
    /// A time that stands still while the machine is suspended. When the clock runs ahead of it, the machine has woken.
    ClockJumpWatch::Monotonic monotonic = &std::chrono::steady_clock::now;
    /// Numbers from 0 to below 1, for pauses of random length.
    std::function<double()> random = [] {
        return QRandomGenerator::global()->generateDouble();
    };
    /// Makes the login item, given the preferences of the profile. Without this function the login item is an entry in
    /// the autostart folder beside the directories, so that a separate profile leaves the user's own entry alone.
    std::function<std::unique_ptr<LoginItem>(Preferences *)> makeLoginItem;
};

/// The files of a profile, as the accounts of the configured GitHub see them; enough to read what was saved. Entries of
/// earlier versions, which do not name their GitHub, are first assigned to one. The clock is not owned.
struct ProfileFiles {
    ProfileFiles(const XDGDirectories &directories, const AppConfiguration &configuration, Clock *clock);

    FilePreferences preferences; ///< of the whole profile
    OriginPreferences accountPreferences; ///< those of them that belong to the accounts of this GitHub
    JSONDeploymentCache cache;
    QString environmentsPath; ///< the file of the record of environments; empty for none
};

/// The stores and the objects that live as long, declared in the order in which they need each other. Nothing is asked
/// of the network before a store is asked.
class VelmoraApp
{
public:
    explicit VelmoraApp(AppEnvironment environment);
    ~VelmoraApp();
    VelmoraApp(const VelmoraApp &) = delete;
    VelmoraApp &operator=(const VelmoraApp &) = delete;

    [[nodiscard]] const AppEnvironment &environment() const { return m_environment; }
    [[nodiscard]] const DesktopPorts &ports() const { return m_environment; }
    [[nodiscard]] ProfileFiles &files() { return m_files; }
    /// The stores together, for those that use several of them; they live as long as the application.
    [[nodiscard]] Stores stores();
    [[nodiscard]] AuthenticationStore &authentication() { return m_authentication; }
    [[nodiscard]] InstallationStore &installations() { return m_installations; }
    [[nodiscard]] InstallationPage &installationPage() { return m_installationPage; }
    [[nodiscard]] GeneralSettingsStore &settings() { return m_settings; }
    [[nodiscard]] DeploymentMonitor &monitor() { return m_monitor; }
    /// The connections to GitHub.
    [[nodiscard]] const NetworkSession &network() const { return *m_network.session; }
    /// Tell it of the machine's sleep and network: it holds the monitor, drops connections and, a little later, has the
    /// monitor poll at once. It hears of jumps of the clock by itself.
    [[nodiscard]] WakeWatch &wakeWatch() { return m_wakeWatch; }

private:
    /// The connections to GitHub. Requests that are still under way when the application ends are aborted, after the
    /// stores that would hear of it are destroyed.
    struct Network {
        explicit Network(Clock *clock);
        ~Network();
        Network(const Network &) = delete;
        Network &operator=(const Network &) = delete;

        std::shared_ptr<NetworkSession> session;
    };

    [[nodiscard]] AuthenticationStore::Services accountServices();
    [[nodiscard]] DeploymentMonitor::Services monitorServices();
    void connectWakeWatch();

    AppEnvironment m_environment;
    ClockJumpWatch m_clock; ///< the monitor's
    WakeWatch m_wakeWatch;
    ProfileFiles m_files;
    std::unique_ptr<LoginItem> m_loginItem;
    std::shared_ptr<RateLimitLedger> m_rateLimits;
    InstallationPage m_installationPage;
    Network m_network;
    GitHubClient m_client; ///< copied by the stores
    AuthenticationStore m_authentication;
    InstallationStore m_installations;
    GeneralSettingsStore m_settings;
    DeploymentMonitor m_monitor;
};

} // namespace velmora
