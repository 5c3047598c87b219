// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/authentication_store.h"
#include "accounts/in_memory_credential_store.h"
#include "accounts/installation_page.h"
#include "installations/installation_store.h"
#include "monitor/deployment_monitor.h"
#include "monitor/stores.h"
#include "platform/desktop_ports.h"
#include "support/await.h"
#include "support/fake_cache.h"
#include "support/fake_clock.h"
#include "support/fake_github.h"
#include "support/fake_notifier.h"
#include "support/fake_pasteboard.h"
#include "support/fake_preferences.h"
#include "support/fake_url_opener.h"
#include "support/json.h"

#include <memory>

namespace velmora::testing
{

/// The real stores and monitor with a GitHub, clock, disk and desktop in memory.
class MonitorFixture
{
public:
    MonitorFixture()
    {
        clock.setNow(noon());
        defaults.values[QStringLiteral("general.notificationsEnabled")] = true;
        defaults.values[QStringLiteral("general.successNotificationsEnabled")] = true;
    }

    /// Adds an account whose token is its login. Call this before build().
    FakeGitHub::Identity &connect(qint64 id, const QString &login)
    {
        accounts.append(GitHubAccount{id, login, {}});
        GitHubCredential credential;
        credential.accessToken = login;
        awaitValue(credentials->save(credential, id, Interaction::Forbidden));
        return github.identities[login];
    }

    void build()
    {
        defaults.values[QStringLiteral("github.accounts")] = encodeJSON(accounts);
        GitHubClient client;
        client.session = github.session;
        client.apiURL = QUrl(QStringLiteral("https://api.github.com"));
        client.loginURL = QUrl(QStringLiteral("https://github.com/login"));
        client.clientID = QStringLiteral("Iv23example");
        client.clock = &clock;
        AuthenticationStore::Services services;
        services.defaults = &defaults;
        services.clock = &clock;
        services.pasteboard = &pasteboard;
        services.urlOpener = &urlOpener;
        services.installationPage = &installationPage;
        authentication = std::make_unique<AuthenticationStore>(client, credentialStore, services);
        installations = std::make_unique<InstallationStore>(client, &defaults, &clock, ledger, &installationPage);
        monitor = std::make_unique<DeploymentMonitor>(
            client, DeploymentMonitor::Services{&cache, &notifier, &defaults, &clock, ledger, [] {
                                                    return 0.0;
                                                }});
    }

    /// All stores but the settings, which the fixture has none of. Call it after build().
    [[nodiscard]] Stores stores()
    {
        Stores stores;
        stores.authentication = authentication.get();
        stores.installations = installations.get();
        stores.monitor = monitor.get();
        stores.preferences = &defaults;
        stores.installationPage = &installationPage;
        return stores;
    }
    [[nodiscard]] DesktopPorts ports()
    {
        DesktopPorts ports;
        ports.clock = &clock;
        ports.pasteboard = &pasteboard;
        ports.urlOpener = &urlOpener;
        return ports;
    }

    void tick() { awaitValue(monitor->tick(authentication.get(), installations.get(), clock.now())); }
    void tickAfter(std::chrono::microseconds duration)
    {
        clock.setNow(clock.now() + duration);
        tick();
    }
    void refreshAll() { awaitValue(monitor->refreshAll(authentication.get(), installations.get(), clock.now())); }

    [[nodiscard]] QStringList shownIDs() const
    {
        QStringList result;
        for (const DeploymentSnapshot &deployment : monitor->deployments())
            result.append(deployment.id);
        return result;
    }

    FakeClock clock;
    FakePreferences defaults;
    FakeGitHub github;
    FakeCache cache;
    FakeNotifier notifier;
    FakePasteboard pasteboard;
    FakeURLOpener urlOpener;
    InstallationPage installationPage{
        WebAddress(QStringLiteral("https://github.com/apps/velmora/installations/new")), &urlOpener, &clock};
    QList<GitHubAccount> accounts;
    std::shared_ptr<InMemoryCredentialStore> credentials = std::make_shared<InMemoryCredentialStore>();
    std::shared_ptr<CredentialStoring> credentialStore = credentials;
    std::shared_ptr<RateLimitLedger> ledger = std::make_shared<RateLimitLedger>();
    std::unique_ptr<AuthenticationStore> authentication;
    std::unique_ptr<InstallationStore> installations;
    std::unique_ptr<DeploymentMonitor> monitor;
};

} // namespace velmora::testing
