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
///
/// The saved time says when the list was last known to be up to date. It may be 5 minutes too early, also after the end
/// of the program: the age that is shown is then too high, and the next Velmora takes over for 55 to 60 minutes.
class SavedDeployments final : public QObject
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive this object.
    SavedDeployments(DeploymentCaching *cache, const Clock *clock, QObject *parent = nullptr);

    /// The saved list, at the first call; nothing when there is none, and at every later call.
    [[nodiscard]] QCoro::Task<std::optional<DeploymentCachePayload>> load();
    /// A refresh succeeded, or the list changed. Saves a list that differs from the saved one at once, and an equal one
    /// when its saved time is 5 minutes old.
    [[nodiscard]] QCoro::Task<> save(DeploymentList deployments);
    /// Saves after a save that failed, 30 seconds later at the earliest. Meant for the times in which no refresh saves.
    [[nodiscard]] QCoro::Task<> saveAgain(DeploymentList deployments);

    /// Why the last save failed; empty when it succeeded.
    [[nodiscard]] const QString &failure() const { return m_failure; }

Q_SIGNALS:
    /// failure() changed.
    void failureChanged();

private:
    [[nodiscard]] bool isSaved(const DeploymentCachePayload &payload) const;

    DeploymentCaching *m_cache;
    const Clock *m_clock;
    bool m_isLoaded = false;
    std::optional<DeploymentCachePayload> m_saved; ///< what this run saved last, unless that failed
    QString m_failure;
    Instant m_retryAt = distantPast();
};

} // namespace velmora
