// SPDX-License-Identifier: MIT
#pragma once

#include "month_clock.h"

#include "simulator/random.h"
#include "simulator/script.h"
#include "simulator/simulator.h"

#include <functional>

namespace velmora::testing
{

/// What happens on GitHub: a team deploys its repositories, and takes them from the program or gives them back.
class MonthTeam
{
public:
    /// The pointers are not owned and outlive this object. `kept` is how many deployments of a repository are kept, but
    /// for those under way. `touched` is called with each repository whose deployments have changed.
    MonthTeam(MonthClock *clock, simulator::Simulator *simulator, quint64 seed, int kept,
        std::function<void(int repository)> touched);

    /// Makes the world anew, with an organisation for each user. The simulator has been started.
    void found(const QStringList &logins, int repositories);
    /// The team deploys from now on, for ever.
    void beginDeployments(std::chrono::seconds longestPause, std::chrono::seconds longestAtNight);

    void setSuspended(int installation, bool isSuspended);
    void setInstalled(int installation, bool isInstalled);
    void rename(int repository);
    void transfer(int repository);

    [[nodiscard]] qint64 deploymentCount() const { return m_deployments; }
    [[nodiscard]] int repositoryCount() const { return int(m_simulator->world().repositories().size()); }
    [[nodiscard]] int installationCount() const { return int(m_simulator->world().installations().size()); }

private:
    void addHistory();
    void deployNext();
    void play(const simulator::Script &script, const QString &id, qsizetype step);

    MonthClock *m_clock;
    simulator::Simulator *m_simulator;
    simulator::Random m_random;
    int m_kept;
    std::function<void(int repository)> m_touched;
    std::chrono::seconds m_longestPause{0};
    std::chrono::seconds m_longestAtNight{0};
    qint64 m_deployments = 0;
    int m_renamed = 0;
};

} // namespace velmora::testing
