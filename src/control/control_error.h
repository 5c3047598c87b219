// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"

#include <utility>

namespace velmora
{

/// The Velmora that runs in the session did not do what it was asked for.
class ControlError final : public Error
{
public:
    explicit ControlError(QString description)
        : m_description(std::move(description))
    {
    }
    [[nodiscard]] QString description() const override { return m_description; }
    [[nodiscard]] const char *what() const noexcept override { return "velmora::ControlError"; }

private:
    QString m_description;
};

} // namespace velmora
