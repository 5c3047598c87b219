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

/// What was saved of the deployments: needs neither the network nor the keyring.
class SavedReports final : public ReportSource
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive the reports.
    struct Services {
        QString applicationName; ///< as the application names itself
        Preferences *preferences = nullptr;
        DeploymentCaching *cache = nullptr;
        QString cachePath; ///< of the file behind the cache, to be followed; may be empty
        Clock *clock = nullptr;
    };

    explicit SavedReports(Services services, QObject *parent = nullptr);

    [[nodiscard]] QCoro::Task<MonitorReport> report(std::stop_token stop) override;
    void follow() override;

private:
    [[nodiscard]] MonitorReport reportOf(const std::optional<DeploymentCachePayload> &payload) const;

    Services m_services;
    std::optional<FileWatch> m_cacheFile; ///< while it is followed
};

} // namespace velmora
