// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_cache.h"

#include <QString>
#include <QThreadPool>

namespace velmora
{

/// Keeps the payload in one JSON file, "deployments.json", which is replaced as a whole: a crash or a full disk at any
/// instant leaves the old or the new one. Coding and disk are off the calling thread.
class JSONDeploymentCache final : public DeploymentCaching
{
public:
    /// `folder` is made when something is saved; an empty path means that nothing is kept.
    explicit JSONDeploymentCache(QString folder);
    /// Waits for saves under way.
    ~JSONDeploymentCache() override;

    [[nodiscard]] QCoro::Task<> save(DeploymentCachePayload payload) override;
    [[nodiscard]] QCoro::Task<std::optional<DeploymentCachePayload>> load() override;

    /// The path of the file; empty when nothing is kept.
    [[nodiscard]] const QString &path() const { return m_path; }

private:
    QString m_path;
    QThreadPool m_pool; ///< one thread, so that saves keep their order
};

} // namespace velmora
