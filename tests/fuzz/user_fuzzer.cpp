// SPDX-License-Identifier: MIT
#include "fuzz/fuzz_target.h"
#include "github/github_user.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    velmora::fuzz::checkRecord<velmora::GitHubUser>(velmora::fuzz::bytes(data, size));
    return 0;
}
