// SPDX-License-Identifier: MIT
#include "fuzz/fuzz_target.h"
#include "github/deployment_client_error.h"
#include "github/deployments_query.h"

using namespace velmora;

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    try {
        const JSONDocument document(fuzz::bytes(data, size));
        const auto response = payload(decodeJSON<GitHubDeploymentGraphQLResponse>(document));
        const auto result = fetchResult(response);
        qsizetype nodes = 0;
        for (const auto &repository : response.nodes)
            nodes += repository ? repository->deployments.nodes.size() : 0;
        fuzz::require(result.deployments.size() <= nodes, "a snapshot comes from a node");
    } catch (const DecodingError &) {
    } catch (const DeploymentClientError &) {
    }
    return 0;
}
