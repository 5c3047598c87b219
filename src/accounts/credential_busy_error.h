// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"

#include <optional>

namespace velmora
{

/// What the right to replace a credential is used for.
enum class CredentialUse {
    Renewing,
    Connecting,
    Removing,
};

/// The right to replace the credential of an account could not be had in time.
class CredentialBusyError final : public Error
{
public:
    /// Another process has the right.
    static CredentialBusyError otherProcess() { return CredentialBusyError(std::nullopt); }
    /// This process uses it for something else.
    static CredentialBusyError inUse(CredentialUse use) { return CredentialBusyError(use); }

    [[nodiscard]] QString description() const override;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::CredentialBusyError"; }

    friend bool operator==(const CredentialBusyError &left, const CredentialBusyError &right)
    {
        return left.m_use == right.m_use;
    }

private:
    explicit CredentialBusyError(std::optional<CredentialUse> use)
        : m_use(use)
    {
    }

    std::optional<CredentialUse> m_use; ///< of this process; absent: another process
};

} // namespace velmora
