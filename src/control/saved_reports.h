// SPDX-License-Identifier: MIT
#pragma once

#include "control/report_source.h"
#include "platform/file_watch.h"

#include <optional>

namespace velmora
{

class Clock;
class DeploymentCaching;
class Preferences;
struct DeploymentCachePayload;

/// Reports on the saved deployments, without network or keyring.
class SavedReports final : public ReportSource
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive the reports.
    struct Services {
        QString applicationName; ///< the display name of the application
        Preferences *preferences = nullptr;
        DeploymentCaching *cache = nullptr;
        QString cachePath; ///< the file of the cache, watched from start() on; may be empty
        Clock *clock = nullptr;
    };

    explicit SavedReports(Services services, QObject *parent = nullptr);

    [[nodiscard]] QCoro::Task<MonitorReport> report(std::stop_token stop) override;
    void start() override;

private:
    [[nodiscard]] MonitorReport reportOf(const std::optional<DeploymentCachePayload> &payload) const;

    Services m_services;
    std::optional<FileWatch> m_cacheFile; ///< set by start()
};

} // namespace velmora
