// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"
#include "support/instant.h"

namespace velmora
{

/// A request was not sent, because GitHub has told the identity to wait.
class PausedError final : public Error
{
public:
    explicit PausedError(Instant until)
        : m_until(until)
    {
    }

    /// When the identity may send requests again.
    [[nodiscard]] Instant until() const { return m_until; }
    /// Names the first whole minute, in local time, at which requests may be sent again.
    [[nodiscard]] QString description() const override;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::PausedError"; }
    friend bool operator==(const PausedError &left, const PausedError &right) { return left.m_until == right.m_until; }

private:
    Instant m_until;
};

} // namespace velmora
