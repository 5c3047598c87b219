// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"

namespace velmora
{

/// A service of the desktop refused, failed or is missing.
class PlatformError final : public DescribedError
{
public:
    using DescribedError::DescribedError;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::PlatformError"; }
};

} // namespace velmora
