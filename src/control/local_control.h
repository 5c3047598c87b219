// SPDX-License-Identifier: MIT
#pragma once

#include "control/control.h"
#include "control/shared_runs.h"

namespace velmora
{

class AuthenticationStore;
class Clock;
class DeploymentMonitor;
class GeneralSettingsStore;
class InstallationStore;
class Preferences;

/// Controls the Velmora of this process: reports the state of its stores and runs their operations. Loads that several
/// callers request at the same time run once.
class LocalControl final : public Control
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive the control.
    struct Services {
        QString applicationName; ///< the display name of the application
        AuthenticationStore *authentication = nullptr;
        InstallationStore *installations = nullptr;
        DeploymentMonitor *monitor = nullptr;
        GeneralSettingsStore *settings = nullptr;
        Preferences *preferences = nullptr; ///< where the stores save their choices
        Clock *clock = nullptr;
        WebAddress installationURL;
    };

    explicit LocalControl(Services services, QObject *parent = nullptr);

    [[nodiscard]] QCoro::Task<QList<ListedAccount>> accounts(std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<RemovalAnswer> removeAccount(QString login, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<InstallationsAnswer> installations(
        InstallationChoices choices, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<RepositoriesAnswer> repositories(
        RepositoryChoices choices, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<LoadingAnswer> refresh(std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<MonitorReport> report(std::stop_token stop) override;
    void start() override;

private:
    QCoro::Task<LoadingAnswer> loadInstallations(std::stop_token stop);
    [[nodiscard]] QString hint() const;
    [[nodiscard]] LoadingAnswer refreshed() const;
    void onRepositoriesChanged();

    Services m_services;
    SharedRuns m_installationLoads; ///< loads installations and repositories
    SharedRuns m_refreshes; ///< the same, then all deployments
    QString m_hint; ///< the hint of the latest report
};

} // namespace velmora
