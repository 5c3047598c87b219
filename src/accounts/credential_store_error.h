// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"

#include <utility>

namespace velmora
{

/// The credential store failed.
class CredentialStoreError final : public Error
{
public:
    enum class Case {
        Keychain, ///< the keyring failed with the status
        InvalidData, ///< the item holds no data
    };

    /// Statuses of Case::Keychain.
    enum Status : qint32 {
        Locked = 1, ///< locked, and asking the user is not allowed
        Dismissed = 2, ///< the user was asked to unlock and declined
        NoProvider = 3, ///< no Secret Service on the bus, and none that can be started
        ProviderEnded = 4, ///< the provider ended before it answered
        Failed = 5, ///< any other failure
        NotAnswering = 6, ///< the provider runs but does not answer
    };

    static CredentialStoreError keychain(qint32 status, QString detail = {});
    static CredentialStoreError invalidData() { return CredentialStoreError(Case::InvalidData, 0, {}); }

    [[nodiscard]] Case errorCase() const { return m_case; }
    [[nodiscard]] qint32 status() const { return m_status; }
    /// Includes advice for the user.
    [[nodiscard]] QString description() const override;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::CredentialStoreError"; }

    friend bool operator==(const CredentialStoreError &left, const CredentialStoreError &right)
    {
        return left.m_case == right.m_case && left.m_status == right.m_status;
    }

private:
    CredentialStoreError(Case errorCase, qint32 status, QString detail)
        : m_case(errorCase)
        , m_status(status)
        , m_detail(std::move(detail))
    {
    }

    Case m_case;
    qint32 m_status;
    QString m_detail;
};

} // namespace velmora
