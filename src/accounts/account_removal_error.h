// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"

#include <utility>

namespace velmora
{

/// The account was not removed, because its credential could not be deleted. Includes the reason.
class AccountRemovalError final : public Error
{
public:
    AccountRemovalError(QString login, const std::exception_ptr &failure)
        : m_login(std::move(login))
        , m_reason(describe(failure))
    {
    }

    [[nodiscard]] QString description() const override
    {
        return QStringLiteral("%1 was not removed. %2").arg(m_login, m_reason);
    }
    [[nodiscard]] const char *what() const noexcept override { return "velmora::AccountRemovalError"; }

private:
    QString m_login;
    QString m_reason;
};

} // namespace velmora
