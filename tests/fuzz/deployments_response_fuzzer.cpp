// SPDX-License-Identifier: MIT
#include "fuzz/fuzz_target.h"
#include "github/deployment_client_error.h"
#include "github/wire/deployments_query.h"

using namespace velmora;

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    try {
        const JSONDocument document(fuzz::bytes(data, size));
        auto answer = decodeJSON<GitHubDeploymentGraphQLResponse>(document);
        const QStringList asked{QStringLiteral("R_0"), QStringLiteral("R_1"), QStringLiteral("R_2")};
        const auto unanswered = unansweredRepositories(answer, asked);
        fuzz::require(unanswered.size() <= asked.size(), "each repository is unanswered once");
        const auto response = payload(std::move(answer));
        const auto batch = batchOf(response);
        qsizetype nodes = 0;
        for (const auto &repository : response.nodes)
            nodes += repository ? repository->deployments.nodes.size() : 0;
        qsizetype snapshots = 0;
        for (const auto &deployments : batch.repositories)
            snapshots += deployments.size();
        fuzz::require(snapshots <= nodes, "a snapshot comes from a node");
    } catch (const DecodingError &) {
    } catch (const DeploymentClientError &) {
    }
    return 0;
}
