// SPDX-License-Identifier: MIT
#include "fuzz/fuzz_target.h"
#include "github/wire/responses.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    velmora::fuzz::checkRecord<velmora::GitHubRepositoriesResponse>(velmora::fuzz::bytes(data, size));
    return 0;
}
