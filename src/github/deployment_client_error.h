// SPDX-License-Identifier: MIT
#pragma once

#include "github/rate_limit_notice.h"
#include "support/error.h"

#include <QStringList>

#include <optional>

namespace velmora
{

/// GitHub's response to the deployments query cannot be used.
class DeploymentClientError final : public Error
{
public:
    enum class Case {
        GraphQL, ///< errors and no data
        InvalidResponse,
    };

    static DeploymentClientError graphQL(QStringList messages, std::optional<RateLimitNotice> rateLimit = std::nullopt);
    static DeploymentClientError invalidResponse() { return DeploymentClientError(Case::InvalidResponse); }

    [[nodiscard]] Case errorCase() const { return m_case; }
    [[nodiscard]] const QStringList &messages() const { return m_messages; }
    /// Additional data: not part of equality or description.
    [[nodiscard]] const std::optional<RateLimitNotice> &rateLimit() const { return m_rateLimit; }
    [[nodiscard]] QString description() const override;
    [[nodiscard]] const char *what() const noexcept override { return "velmora::DeploymentClientError"; }

    friend bool operator==(const DeploymentClientError &left, const DeploymentClientError &right)
    {
        return left.m_case == right.m_case && left.m_messages == right.m_messages;
    }

private:
    explicit DeploymentClientError(Case errorCase)
        : m_case(errorCase)
    {
    }

    Case m_case;
    QStringList m_messages;
    std::optional<RateLimitNotice> m_rateLimit;
};

/// The rate limit in the failure, nullopt if it carries none.
[[nodiscard]] std::optional<RateLimitNotice> rateLimitOf(const std::exception_ptr &failure);

} // namespace velmora
