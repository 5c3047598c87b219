// SPDX-License-Identifier: MIT
#include "accounts/github_account.h"
#include "fuzz/fuzz_target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    velmora::fuzz::checkRecord<QList<velmora::GitHubAccount>>(velmora::fuzz::bytes(data, size));
    return 0;
}
