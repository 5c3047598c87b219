// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/polling_schedule.h"
#include "monitor/refresh_context.h"
#include "support/task_scope.h"

#include <QCoroTask>
#include <QObject>
#include <QSet>

#include <memory>
#include <optional>

namespace velmora
{

class Clock;
class DeploymentFetcher;
class DeploymentNews;
class Environments;
class FetchOutcomes;
class PollingLoop;
class SavedDeployments;
class ShownDeployments;
struct FetchedDeployments;

/// Carries out a refresh: loads installations, fetches deployments, and has the result shown, saved and announced.
/// One operation at a time: the caller takes turns. Nothing throws but what SavedDeployments::load() does.
class DeploymentRefresher final : public QObject
{
    Q_OBJECT

public:
    /// The parts that a refresh goes through. Not owned; they outlive the refresher.
    struct Parts {
        const Clock *clock = nullptr;
        const PollingLoop *loop = nullptr;
        FetchOutcomes *outcomes = nullptr;
        DeploymentFetcher *fetcher = nullptr;
        SavedDeployments *saved = nullptr;
        Environments *environments = nullptr;
        ShownDeployments *shown = nullptr;
        DeploymentNews *news = nullptr;
    };

    explicit DeploymentRefresher(const Parts &parts, QObject *parent = nullptr);

    /// Whether requests are under way.
    [[nodiscard]] bool isRefreshing() const { return m_requests.use_count() > 1; }

    /// Shows the saved list, and reads the record of environments; does nothing after the first time. Comes before
    /// every other operation.
    [[nodiscard]] QCoro::Task<> loadSaved();
    /// Fetches what is due at the time of the context: see decide(). Identities that failed and may be asked again, and
    /// new ones, are due always.
    [[nodiscard]] QCoro::Task<> refreshDue(RefreshContext context);
    /// Fetches everything for the user: only the pauses of rate limits hold.
    [[nodiscard]] QCoro::Task<> refreshAll(RefreshContext context);
    /// Fetches the repositories of these identities that have a deployment under way.
    [[nodiscard]] QCoro::Task<> refreshActive(RefreshContext context, QSet<qint64> identities);
    /// Loads the installations that are expected and were not loaded since `askedAt`, then does refreshDue(). Does
    /// nothing when there are none.
    [[nodiscard]] QCoro::Task<> refreshExpected(RefreshContext context, Instant askedAt);
    /// Forgets what only identities reached that are no longer listed.
    [[nodiscard]] QCoro::Task<> forgetRemoved(RefreshContext context);
    /// Shows that nothing is to be monitored, and why.
    [[nodiscard]] QCoro::Task<> disconnect(MissingStep missing);

private:
    QCoro::Task<> refreshInstallations(RefreshContext context, QSet<qint64> asked);
    /// What is asked of an identity.
    enum class Extent {
        Due, ///< what PollingPace says
        Everything, ///< all that the scope names, whatever it costs
    };
    QCoro::Task<> refreshIdentities(RefreshContext context, RefreshScope scope, QSet<qint64> asked, Extent extent);
    QCoro::Task<> finish(RefreshContext context, FetchedDeployments fetched);
    QCoro::Task<> dropUnreachable(RefreshContext context);
    [[nodiscard]] PollingSituation situation(const RefreshContext &context, const QSet<qint64> &askable) const;

    Parts m_parts;
    std::shared_ptr<void> m_requests; ///< whatever sends requests holds a copy until they have ended
    std::optional<Instant> m_foundNothingAt; ///< when it was last found that there is nothing to monitor
    TaskScope m_scope;
};

} // namespace velmora
