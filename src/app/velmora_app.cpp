// SPDX-License-Identifier: MIT
#include "app/velmora_app.h"

#include "accounts/earlier_profile.h"
#include "app/credential_locks.h"
#include "app/refusing_session.h"
#include "http/network_session.h"
#include "platform/autostart_login_item.h"
#include "support/task_scope.h"

#include <QCoreApplication>

namespace velmora
{

namespace
{

/// The path of a file in the folder. Empty for a folder that is not known: nothing is kept then.
QString inFolder(const QString &folder, const QString &name)
{
    return folder.isEmpty() ? QString() : folder + QLatin1Char('/') + name;
}

GitHubClient makeClient(const AppEnvironment &environment, std::shared_ptr<NetworkSession> session)
{
    const AppConfiguration &configuration = environment.configuration;
    GitHubClient client;
    client.clientID = configuration.githubClientID.value_or(QString());
    if (configuration.endpointProblem)
        client.session = std::make_shared<RefusingSession>(configuration.endpointProblem->description());
    else
        client.session = std::move(session);
    client.apiURL = configuration.apiURL;
    client.loginURL = configuration.loginURL;
    client.graphqlURL = configuration.graphqlURL;
    client.apiVersion = configuration.apiVersion;
    client.clock = environment.clock;
    return client;
}

std::unique_ptr<LoginItem> makeLoginItem(const AppEnvironment &environment, Preferences *preferences)
{
    if (environment.makeLoginItem)
        return environment.makeLoginItem(preferences);
    return std::make_unique<AutostartLoginItem>(
        AutostartLoginItem::optionsFor(environment.directories, QCoreApplication::applicationFilePath()));
}

} // namespace

ProfileFiles::ProfileFiles(const XDGDirectories &directories, const AppConfiguration &configuration, Clock *clock)
    : preferences(inFolder(directories.configuration, QStringLiteral("preferences.json")), clock)
    , accountPreferences(&preferences, configuration.loginOrigin())
    , cache(configuration.loginOrigin().folderIn(directories.cache))
    , environmentsPath(
          inFolder(configuration.loginOrigin().folderIn(directories.cache), QStringLiteral("environments.json")))
{
    if (configuration.originInFiles)
        fileEarlierProfile(&preferences, directories.cache, *configuration.originInFiles);
}

VelmoraApp::Network::Network(Clock *clock)
    : session(std::make_shared<NetworkSession>(NetworkSession::Limits(), NetworkSession::Names::Shown, clock))
{
}

VelmoraApp::Network::~Network()
{
    session->close();
}

VelmoraApp::VelmoraApp(AppEnvironment environment)
    : m_environment(std::move(environment))
    , m_clock(m_environment.clock, m_environment.monotonic)
    , m_wakeWatch(m_environment.clock)
    , m_files(m_environment.directories, m_environment.configuration, m_environment.clock)
    , m_loginItem(makeLoginItem(m_environment, &m_files.preferences))
    , m_rateLimits(std::make_shared<RateLimitLedger>())
    , m_installationPage(m_environment.configuration.installationURL(), m_environment.urlOpener, m_environment.clock)
    , m_network(m_environment.clock)
    , m_client(makeClient(m_environment, m_network.session))
    , m_authentication(m_client,
          credentialStoreOf(
              m_environment.configuration.loginOrigin(), &m_files.preferences, m_environment.openCredentials),
          accountServices())
    , m_installations(m_client, &m_files.accountPreferences, m_environment.clock, m_rateLimits, &m_installationPage)
    , m_settings(&m_files.preferences, m_environment.notifier, m_loginItem.get())
    , m_monitor(m_client, monitorServices())
{
    connectWakeWatch();
}

VelmoraApp::~VelmoraApp() = default;

Stores VelmoraApp::stores()
{
    Stores stores;
    stores.authentication = &m_authentication;
    stores.installations = &m_installations;
    stores.monitor = &m_monitor;
    stores.settings = &m_settings;
    stores.preferences = &m_files.preferences;
    stores.installationPage = &m_installationPage;
    return stores;
}

AuthenticationStore::Services VelmoraApp::accountServices()
{
    AuthenticationStore::Services services;
    services.defaults = &m_files.accountPreferences;
    services.pasteboard = m_environment.pasteboard;
    services.urlOpener = m_environment.urlOpener;
    services.clock = m_environment.clock;
    services.installationPage = &m_installationPage;
    services.locks = credentialLocks(m_environment.directories, m_environment.configuration.loginOrigin());
    return services;
}

DeploymentMonitor::Services VelmoraApp::monitorServices()
{
    DeploymentMonitor::Services services;
    services.cache = &m_files.cache;
    services.notifier = m_environment.notifier;
    services.defaults = &m_files.accountPreferences;
    services.clock = &m_clock;
    services.rateLimits = m_rateLimits;
    services.random = m_environment.random;
    services.environmentsPath = m_files.environmentsPath;
    return services;
}

void VelmoraApp::connectWakeWatch()
{
    QObject::connect(&m_clock, &ClockJumpWatch::jumped, &m_wakeWatch, &WakeWatch::clockJumped);
    QObject::connect(&m_wakeWatch, &WakeWatch::paused, &m_monitor, &DeploymentMonitor::hold);
    QObject::connect(&m_wakeWatch, &WakeWatch::connectionsStale, &m_monitor,
        [session = m_network.session] { session->dropConnections(); });
    QObject::connect(&m_wakeWatch, &WakeWatch::shouldRetry, &m_monitor, [this] {
        m_monitor.release();
        launch(m_monitor.retryNow(&m_authentication, &m_installations, m_environment.clock->now()),
            "Polling after waking");
    });
}

} // namespace velmora
