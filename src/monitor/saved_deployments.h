// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_cache.h"

#include <QObject>
#include <QString>

#include <optional>

namespace velmora
{

class Clock;

/// The list of deployments in the cache: loaded once, saved after every change, and again after a save that failed.
/// Nothing throws but load(), for what a cache is not allowed to throw.
class SavedDeployments final : public QObject
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive this object.
    SavedDeployments(DeploymentCaching *cache, const Clock *clock, QObject *parent = nullptr);

    /// The saved list, at the first call; nothing when there is none, and at every later call.
    [[nodiscard]] QCoro::Task<std::optional<DeploymentCachePayload>> load();
    [[nodiscard]] QCoro::Task<> save(QList<DeploymentSnapshot> deployments);
    /// Saves after a save that failed, 30 seconds later at the earliest. Meant for the times in which no refresh saves.
    [[nodiscard]] QCoro::Task<> saveAgain(QList<DeploymentSnapshot> deployments);

    /// Why the last save failed; empty when it succeeded.
    [[nodiscard]] const QString &failure() const { return m_failure; }

Q_SIGNALS:
    /// failure() changed.
    void failureChanged();

private:
    DeploymentCaching *m_cache;
    const Clock *m_clock;
    bool m_isLoaded = false;
    QString m_failure;
    Instant m_retryAt = distantPast();
};

} // namespace velmora
