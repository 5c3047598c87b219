// SPDX-License-Identifier: MIT
#include "app/app_configuration.h"
#include "fuzz/fuzz_target.h"

using namespace velmora;

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    try {
        const auto properties = parseProperties(fuzz::bytes(data, size), QStringLiteral("file"));
        const auto configuration = AppConfiguration::fromProperties({properties});
        for (const auto &url : {configuration.apiURL, configuration.loginURL, configuration.webURL})
            fuzz::require(url.scheme() == u"https" || url.scheme() == u"http", "an endpoint is a web address");
    } catch (const ConfigurationError &) {
    }
    return 0;
}
