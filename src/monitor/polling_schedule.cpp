// SPDX-License-Identifier: MIT
#include "monitor/polling_schedule.h"

namespace velmora
{

using namespace std::chrono_literals;

namespace
{

constexpr std::chrono::seconds kInstallationsInterval{3600};

bool isDue(std::optional<Instant> last, std::chrono::seconds interval, Instant now)
{
    return !last || now - *last >= interval || now < *last;
}

} // namespace

PollingDecision decide(const PollingSituation &situation, Instant now)
{
    if (isDue(situation.installationsLoadedAt, kInstallationsInterval, now))
        return PollingDecision::InstallationsAndAllDeployments;
    if (isDue(situation.deploymentsRefreshedAt, kDeploymentsInterval, now))
        return PollingDecision::AllDeployments;
    return situation.hasActiveDeployment ? PollingDecision::ActiveDeployments : PollingDecision::Nothing;
}

bool areInstallationsDue(Instant loadedAt, bool areExpected, Instant now)
{
    return isDue(loadedAt, areExpected ? kTickInterval : kInstallationsInterval, now);
}

} // namespace velmora
