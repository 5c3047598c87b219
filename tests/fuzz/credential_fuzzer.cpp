// SPDX-License-Identifier: MIT
#include "fuzz/fuzz_target.h"
#include "github/github_credential.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    velmora::fuzz::checkRecord<velmora::GitHubCredential>(velmora::fuzz::bytes(data, size));
    return 0;
}
