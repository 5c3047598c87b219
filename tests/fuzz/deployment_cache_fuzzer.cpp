// SPDX-License-Identifier: MIT
#include "fuzz/fuzz_target.h"
#include "model/deployment_cache.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    velmora::fuzz::checkRecord<velmora::DeploymentCachePayload>(velmora::fuzz::bytes(data, size));
    return 0;
}
