// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_cache.h"

#include <QString>
#include <QThreadPool>

namespace velmora
{

/// Keeps the payload in one JSON file, "deployments.json". Each save replaces the file atomically: a crash or a full
/// disk leaves the old or the new one. Coding and disk access happen on another thread.
class JSONDeploymentCache final : public DeploymentCaching
{
public:
    /// `folder` is created by the first save. An empty path disables the cache.
    explicit JSONDeploymentCache(QString folder);
    /// Waits for saves under way.
    ~JSONDeploymentCache() override;

    [[nodiscard]] QCoro::Task<> save(DeploymentCachePayload payload) override;
    [[nodiscard]] QCoro::Task<std::optional<DeploymentCachePayload>> load() override;

    /// Whether the file is being read or written.
    [[nodiscard]] bool isBusy() const { return m_pool.activeThreadCount() > 0; }

    /// The path of the file, empty if the cache is disabled.
    [[nodiscard]] const QString &path() const { return m_path; }

private:
    QString m_path;
    QThreadPool m_pool; ///< one thread, so that saves keep their order
};

} // namespace velmora
