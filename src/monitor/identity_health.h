// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <functional>
#include <optional>

namespace velmora
{

/// Which identities fail, why, and when each is tried again: after 5, 10, 20 … up to 300 seconds. Chance shortens each
/// wait by up to a fifth, so that many machines do not come back in step.
class IdentityHealth
{
public:
    /// `random` gives numbers from 0 to below 1.
    explicit IdentityHealth(std::function<double()> random);

    /// Counts one more failure in a row, and starts the wait.
    void recordFailure(qint64 identityID, const QString &description, Instant now);
    /// The identity no longer counts as failed: it has succeeded, or its last answer was another one.
    void clearFailure(qint64 identityID) { m_failures.remove(identityID); }
    /// Forgets the identities that are not among these.
    void retain(const QSet<qint64> &identities);
    /// Makes every failed identity due.
    void retryAllNow();
    /// Makes the identity due, if it failed.
    void retryNow(qint64 identityID);

    [[nodiscard]] bool hasFailed(qint64 identityID) const { return m_failures.contains(identityID); }
    /// Why the identity failed last; nothing when it did not.
    [[nodiscard]] std::optional<QString> failure(qint64 identityID) const;
    /// Whether the identity failed and it is not yet time to try it again.
    [[nodiscard]] bool isWaiting(qint64 identityID, Instant now) const;

private:
    struct Failure {
        QString description;
        int count = 0;
        Instant failedAt;
        Instant retryAt;
    };
    QHash<qint64, Failure> m_failures;
    std::function<double()> m_random;
};

} // namespace velmora
