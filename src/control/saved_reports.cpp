// SPDX-License-Identifier: MIT
#include "control/saved_reports.h"

#include "control/control_texts.h"
#include "model/deployment_cache.h"
#include "monitor/deployment_list.h"
#include "monitor/environment_choices.h"
#include "monitor/failure_choices.h"
#include "monitor/notification_pause.h"
#include "platform/preferences.h"
#include "support/clock.h"
#include "support/error.h"
#include "support/task_scope.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QPointer>

namespace velmora
{

namespace
{

/// Whether accounts are saved. Only looks whether the list is empty, so that neither the store of the accounts nor the
/// keyring is needed.
bool hasAccounts(const Preferences &preferences)
{
    const auto accounts = preferences.data(QStringLiteral("github.accounts"));
    return accounts && !QJsonDocument::fromJson(*accounts).array().isEmpty();
}

} // namespace

SavedReports::SavedReports(Services services, QObject *parent)
    : ReportSource(parent)
    , m_services(std::move(services))
{
}

QCoro::Task<MonitorReport> SavedReports::report(std::stop_token stop)
{
    const QPointer<SavedReports> self(this);
    const auto payload = co_await m_services.cache->load();
    throwIfStopped(stop);
    if (!self)
        throw CancellationError();
    co_return reportOf(payload);
}

MonitorReport SavedReports::reportOf(const std::optional<DeploymentCachePayload> &payload) const
{
    MonitorReport report;
    report.isSaved = true;
    report.applicationName = m_services.applicationName;
    const auto pause = NotificationPause(m_services.preferences, m_services.clock).term();
    report.isPaused = pause.has_value();
    report.pausedUntil = pause ? pause->until : std::nullopt;
    if (!hasAccounts(*m_services.preferences)) {
        report.state = DeploymentMonitorState::disconnected(MissingStep::Account);
        report.hint = noAccountText();
        return report;
    }
    report.state = DeploymentMonitorState::stale(std::nullopt);
    if (!payload) {
        report.hint = QStringLiteral("Nothing is saved yet. Run “velmora watch” to load the deployments.");
        return report;
    }
    report.state = DeploymentMonitorState::stale(payload->savedAt);
    report.lastRefreshedAt = payload->savedAt;
    report.savedAt = payload->savedAt;
    const DeploymentList all = filteredAndSorted(payload->deployments, m_services.clock->now());
    const EnvironmentRules rules(environmentChoices(*m_services.preferences));
    const DividedDeployments parts = divided(all, rules);
    const FailureMarks marks = failureMarks(all, {}, failureChoices(*m_services.preferences));
    report.deployments = parts.listed;
    report.marks = marked(parts.listed, marks, parts.hidden).marks;
    report.hidden = parts.hidden;
    return report;
}

void SavedReports::start()
{
    m_cacheFile.emplace(m_services.cachePath);
    connect(&*m_cacheFile, &FileWatch::changed, this, &ReportSource::reportChanged);
    connect(m_services.preferences, &Preferences::changed, this, &ReportSource::reportChanged);
}

} // namespace velmora
