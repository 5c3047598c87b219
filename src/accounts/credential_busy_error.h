// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"

#include <optional>

namespace velmora
{

/// Why the turn to replace a credential is held.
enum class CredentialUse {
    Renewing,
    Connecting,
    Removing,
};

/// The turn to replace the credential of an account did not become free in time.
class CredentialBusyError final : public Error
{
public:
    /// Another process holds the turn.
    static CredentialBusyError otherProcess() { return CredentialBusyError(std::nullopt); }
    /// This process holds the turn for something else.
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

    std::optional<CredentialUse> m_use; ///< the use in this process; absent: another process
};

} // namespace velmora
