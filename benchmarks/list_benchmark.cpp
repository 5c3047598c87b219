// SPDX-License-Identifier: MIT
// Merges, filters and orders 100 to 10,000 deployments, all of which are known, and for comparison decodes as many.
#include "generated_response.h"
#include "github/wire/deployments_query.h"
#include "monitor/deployment_list.h"

#include <benchmark/benchmark.h>

using namespace velmora;

namespace
{

const Instant kNow = std::chrono::sys_days{std::chrono::year{2026} / 5 / 1};
constexpr int kDeploymentsInAnAnswer = 100;

QList<QByteArray> answers(qint64 deployments)
{
    constexpr int kRepositories = 5;
    QList<QByteArray> made;
    for (int i = 0; i < deployments / kDeploymentsInAnAnswer; ++i)
        made.append(generatedResponse(i * kRepositories, kRepositories, kNow));
    return made;
}

DeploymentList decoded(const QList<QByteArray> &answers)
{
    DeploymentList deployments;
    for (const auto &answer : answers) {
        for (const auto &repository : decodedBatch(answer, {}, RateLimitUse::Always).repositories)
            deployments += repository;
    }
    return deployments;
}

void decode(benchmark::State &state)
{
    const auto texts = answers(state.range(0));
    for ([[maybe_unused]] auto turn : state)
        benchmark::DoNotOptimize(decoded(texts));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(decode)->RangeMultiplier(10)->Range(100, 10'000)->Unit(benchmark::kMicrosecond);

void mergeFilterAndOrder(benchmark::State &state)
{
    const auto texts = answers(state.range(0));
    const auto known = filteredAndSorted(decoded(texts), kNow);
    const std::function<bool(const DeploymentSnapshot &)> all = [](const DeploymentSnapshot &) {
        return true;
    };
    for ([[maybe_unused]] auto turn : state) {
        // Each turn takes deployments that were just decoded, as a refresh does. Letting go of them is timed.
        state.PauseTiming();
        const auto fetched = decoded(texts);
        state.ResumeTiming();
        benchmark::DoNotOptimize(shownAfterFetch(known, fetched, all, kNow));
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(mergeFilterAndOrder)->RangeMultiplier(10)->Range(100, 10'000)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
