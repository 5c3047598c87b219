// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"

#include <utility>

namespace velmora
{

/// The Velmora of the session did not answer, could not be understood, or refused. The description is for the user.
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
