// SPDX-License-Identifier: MIT
// Merges, filters and orders 100 to 100,000 deployments, all of which are known.
#include "monitor/deployment_list.h"

#include <benchmark/benchmark.h>

using namespace velmora;

namespace
{

const Instant kNow = std::chrono::sys_days{std::chrono::year{2026} / 5 / 1};

QList<DeploymentSnapshot> deployments(qsizetype count)
{
    constexpr std::array kStates{DeploymentState::Success, DeploymentState::InProgress, DeploymentState::Failure,
        DeploymentState::Queued, DeploymentState::Inactive};
    QList<DeploymentSnapshot> made(count);
    for (qsizetype i = 0; i < count; ++i) {
        auto &deployment = made[i];
        deployment.id = QStringLiteral("DE_kwDOABCDEF4%1").arg(i, 12, 10, QLatin1Char('0'));
        deployment.repositoryNodeID = QStringLiteral("R_kgDO%1").arg(i / 20);
        deployment.environment = QStringLiteral("production");
        deployment.state = kStates.at(static_cast<std::size_t>(i) % kStates.size());
        // A step that shares no factor with the modulus shuffles the times.
        deployment.updatedAt = kNow - std::chrono::seconds(i * 7919 % 86'413);
    }
    return made;
}

void mergeFilterAndOrder(benchmark::State &state)
{
    const auto known = deployments(state.range(0));
    const auto fetched = deployments(state.range(0));
    const std::function<bool(const DeploymentSnapshot &)> all = [](const DeploymentSnapshot &) {
        return true;
    };
    for ([[maybe_unused]] auto turn : state) {
        // shownAfterFetch() takes over its list; making one for each turn is not timed.
        state.PauseTiming();
        auto own = fetched;
        own.detach();
        state.ResumeTiming();
        benchmark::DoNotOptimize(shownAfterFetch(known, std::move(own), all, kNow));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(mergeFilterAndOrder)->RangeMultiplier(10)->Range(100, 100'000)->Complexity()->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
