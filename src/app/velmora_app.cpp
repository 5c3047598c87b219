// SPDX-License-Identifier: MIT
#include "app/velmora_app.h"

#include "accounts/earlier_profile.h"
#include "app/credential_locks.h"
#include "app/refusing_session.h"
#include "http/network_session.h"
#include "platform/autostart_login_item.h"
#include "support/task_scope.h"

#include <QCoreApplication>
#include <QRandomGenerator>

namespace velmora
{

namespace
{

/// An empty folder, which nobody could tell, stays empty: nothing is kept then.
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
        client.session = std::make_shared<RefusingSession>(*configuration.endpointProblem);
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
{
    if (configuration.originInFiles)
        fileEarlierProfile(&preferences, directories.cache, *configuration.originInFiles);
}

VelmoraApp::VelmoraApp(AppEnvironment environment)
    : m_environment(std::move(environment))
    , m_clock(m_environment.clock, m_environment.monotonic)
    , m_wakeWatch(m_environment.clock)
    , m_files(m_environment.directories, m_environment.configuration, m_environment.clock)
    , m_loginItem(makeLoginItem(m_environment, &m_files.preferences))
    , m_rateLimits(std::make_shared<RateLimitLedger>())
    , m_session(std::make_shared<NetworkSession>())
    , m_installationPage(m_environment.configuration.installationURL(), m_environment.urlOpener, m_environment.clock)
{
    const GitHubClient client = makeClient(m_environment, m_session);

    AuthenticationStore::Services accountServices;
    accountServices.defaults = &m_files.accountPreferences;
    accountServices.pasteboard = m_environment.pasteboard;
    accountServices.urlOpener = m_environment.urlOpener;
    accountServices.clock = m_environment.clock;
    accountServices.installationPage = &m_installationPage;
    const LoginOrigin origin = m_environment.configuration.loginOrigin();
    accountServices.locks = credentialLocks(m_environment.directories, origin);
    m_authentication = std::make_unique<AuthenticationStore>(client,
        credentialStoreOf(origin, &m_files.preferences, m_environment.openCredentials), std::move(accountServices));

    m_installations = std::make_unique<InstallationStore>(
        client, &m_files.accountPreferences, m_environment.clock, m_rateLimits, &m_installationPage);

    m_settings
        = std::make_unique<GeneralSettingsStore>(&m_files.preferences, m_environment.notifier, m_loginItem.get());

    DeploymentMonitor::Services monitorServices;
    monitorServices.cache = &m_files.cache;
    monitorServices.notifier = m_environment.notifier;
    monitorServices.defaults = &m_files.accountPreferences;
    monitorServices.clock = &m_clock;
    monitorServices.rateLimits = m_rateLimits;
    monitorServices.random = [] {
        return QRandomGenerator::global()->generateDouble();
    };
    m_monitor = std::make_unique<DeploymentMonitor>(client, std::move(monitorServices));
    connectWakeWatch();
}

void VelmoraApp::connectWakeWatch()
{
    DeploymentMonitor *monitor = m_monitor.get();
    QObject::connect(&m_clock, &ClockJumpWatch::jumped, &m_wakeWatch, &WakeWatch::clockJumped);
    QObject::connect(&m_wakeWatch, &WakeWatch::paused, monitor, &DeploymentMonitor::hold);
    QObject::connect(
        &m_wakeWatch, &WakeWatch::connectionsStale, monitor, [session = m_session] { session->dropConnections(); });
    QObject::connect(&m_wakeWatch, &WakeWatch::shouldRetry, monitor, [this] {
        m_monitor->release();
        launch(m_monitor->retryNow(m_authentication.get(), m_installations.get(), m_environment.clock->now()),
            "Polling after waking");
    });
}

VelmoraApp::~VelmoraApp()
{
    m_monitor.reset();
    m_settings.reset();
    m_installations.reset();
    m_authentication.reset();
    // What is still on its way ends here, with nobody left to tell.
    m_session->close();
}

} // namespace velmora
