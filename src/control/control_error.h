// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"

namespace velmora
{

/// The Velmora of the session did not answer, could not be understood, or refused. The description is for the user.
class ControlError final : public DescribedError
{
public:
    using DescribedError::DescribedError;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::ControlError"; }
};

} // namespace velmora
