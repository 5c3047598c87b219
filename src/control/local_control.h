// SPDX-License-Identifier: MIT
#pragma once

#include "control/control.h"
#include "control/shared_runs.h"
#include "monitor/stores.h"
#include "platform/desktop_ports.h"

namespace velmora
{

/// Controls the Velmora of this process: reports the state of its stores and runs their operations. Loads that several
/// callers request at the same time run once.
class LocalControl final : public Control
{
    Q_OBJECT

public:
    /// `stores` and `ports` hold what outlives the control; of the ports it uses name and clock.
    LocalControl(const Stores &stores, const DesktopPorts &ports, QObject *parent = nullptr);

    [[nodiscard]] QCoro::Task<QList<ListedAccount>> accounts(std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<RemovalAnswer> removeAccount(QString login, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<InstallationsAnswer> installations(Switches switches, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<RepositoriesAnswer> repositories(Switches switches, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<MutingAnswer> mute(MutingSwitch muting, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<PauseAnswer> pause(PauseSwitch pause, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<NotificationsAnswer> notifications(
        NotificationSwitches switches, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<FailuresAnswer> failures(FailureSwitches switches, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<EnvironmentsAnswer> environments(
        EnvironmentSwitches switches, std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<LoadingAnswer> refresh(std::stop_token stop) override;
    [[nodiscard]] QCoro::Task<MonitorReport> report(std::stop_token stop) override;
    void start() override;

private:
    QCoro::Task<LoadingAnswer> loadInstallations(std::stop_token stop);
    QCoro::Task<> loadCache(std::stop_token stop);
    [[nodiscard]] QString choose(const FailureSwitches &switches);
    [[nodiscard]] QString choose(const EnvironmentSwitches &switches);
    [[nodiscard]] QList<RepositoryRecord> knownRepositories() const;
    [[nodiscard]] QString hint() const;
    [[nodiscard]] const WebAddress &installationURL() const;
    [[nodiscard]] LoadingAnswer refreshed() const;
    void onRepositoriesChanged();

    Stores m_stores;
    DesktopPorts m_ports;
    SharedRuns m_installationLoads; ///< loads installations and repositories
    SharedRuns m_refreshes; ///< the same, then all deployments
    QString m_hint; ///< the hint of the latest report
};

} // namespace velmora
