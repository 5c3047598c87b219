// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"

#include <utility>

namespace velmora
{

/// A service of the desktop refused, failed or is missing.
class PlatformError final : public Error
{
public:
    explicit PlatformError(QString description)
        : m_description(std::move(description))
    {
    }
    [[nodiscard]] QString description() const override { return m_description; }
    [[nodiscard]] const char *what() const noexcept override { return "velmora::PlatformError"; }

private:
    QString m_description;
};

} // namespace velmora
