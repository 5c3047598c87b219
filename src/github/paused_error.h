// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"
#include "support/instant.h"

namespace velmora
{

/// A request was not sent, because GitHub has asked the identity to wait.
class PausedError final : public Error
{
public:
    explicit PausedError(Instant until)
        : m_until(until)
    {
    }

    /// When requests of the identity may go out again.
    [[nodiscard]] Instant until() const { return m_until; }
    /// Names the first whole minute at which GitHub may be asked again, on the user's clock.
    [[nodiscard]] QString description() const override;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::PausedError"; }
    friend bool operator==(const PausedError &left, const PausedError &right) { return left.m_until == right.m_until; }

private:
    Instant m_until;
};

} // namespace velmora
