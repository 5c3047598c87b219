// SPDX-License-Identifier: MIT
#pragma once

#include "model/deployment_cache.h"
#include "monitor/deployment_fetcher.h"
#include "monitor/deployment_monitor_state.h"
#include "monitor/environment_choices.h"
#include "monitor/failure_marks.h"
#include "monitor/refresh_context.h"

#include <QHash>
#include <QObject>
#include <QString>

#include <optional>

namespace velmora
{

class Clock;
class FetchOutcomes;
class Preferences;

/// What is known of the deployments, and what the user sees of it: the list with its marks, its state, and what went
/// wrong. All of it changes together, and one changed() announces it. Marks are found, and the list is divided by the
/// choices about environments, when the list or such a choice has changed.
///
/// Several instants could be called the last refresh, and each has its name:
/// - *lastRefreshedAt*: a full refresh last succeeded for at least one identity; it is published.
/// - *lastCompleteAt*: the list was last up to date for every identity; its age, where newer data is missing.
/// - *lastUpdatedAt* of the state: the one of these two that its case shows.
/// - *loadedAt* of an identity in the InstallationStore: its installations were last loaded.
/// - *deploymentsRefreshedAt* of the PollingSituation: the next full refresh is counted from it.
class ShownDeployments final : public QObject
{
    Q_OBJECT

public:
    /// The pointers are not owned and outlive this object.
    ShownDeployments(
        const FetchOutcomes *outcomes, const Clock *clock, Preferences *defaults, QObject *parent = nullptr);

    /// Unique, filtered, active ones first, newest first. With those that the user has hidden: they are fetched, saved
    /// and known to the announcer like all others.
    [[nodiscard]] const DeploymentList &deployments() const { return m_published.deployments; }
    /// What the user sees of them, in the same order, with its marks: the same list while nothing is hidden.
    [[nodiscard]] const MarkedDeployments &listed() const { return m_published.listed; }
    /// What is known of the failures in listed().
    [[nodiscard]] const FailureMarks &marks() const { return listed().marks; }
    /// What the user has hidden, in the same order.
    [[nodiscard]] const MarkedDeployments &hidden() const { return m_published.hidden; }
    [[nodiscard]] bool hasActiveDeployment() const;
    [[nodiscard]] const DeploymentMonitorState &state() const { return m_published.state; }
    [[nodiscard]] bool isDisconnected() const { return state().state == DeploymentMonitorState::Case::Disconnected; }
    /// FetchOutcomes::message() as it was when the list was last shown.
    [[nodiscard]] const QString &message() const { return m_published.message; }
    [[nodiscard]] std::optional<Instant> lastRefreshedAt() const { return m_published.lastRefreshedAt; }

    /// Turns the state to loading; the list stays.
    void showLoading();
    /// Shows the saved list, which is as old as the time of its saving.
    void showSaved(const DeploymentCachePayload &payload);
    /// Empties everything: there is nothing to monitor.
    void showDisconnected(MissingStep missing);
    /// Shows what a fetch brought, and how the identities fare after it.
    void showFetched(const FetchedDeployments &fetched, const RefreshContext &context);
    /// Drops the deployments that no listed identity can reach.
    void dropUnreachable(const RefreshContext &context);

    /// Dismisses the listed failures with these ids until their state changes, or counts them again.
    void setDismissed(const QSet<QString> &ids, bool isDismissed);

Q_SIGNALS:
    /// Any of it changed.
    void changed();

private:
    struct Published {
        DeploymentList deployments;
        FailureMarks marks; ///< of the deployments
        MarkedDeployments listed; ///< of the deployments
        MarkedDeployments hidden; ///< of the deployments
        DeploymentMonitorState state = DeploymentMonitorState::loading(false);
        QString message;
        std::optional<Instant> lastRefreshedAt;
        friend bool operator==(const Published &, const Published &) = default;
    };

    /// What the list after a fetch follows from, beside the list before it and the time.
    struct Grounds {
        FetchedDeployments fetched;
        QList<RepositoryRecord> monitored;
        QList<RepositoryRecord> known;
        QSet<qint64> listed;
        QSet<qint64> unloaded;
        friend bool operator==(const Grounds &, const Grounds &) = default;
    };
    struct LastFetch {
        Grounds grounds;
        Instant now;
        DeploymentList list; ///< that it left on show
    };

    void showListAfter(const FetchedDeployments &fetched, const RefreshContext &context, Published &next);
    [[nodiscard]] DeploymentList listAfter(const FetchedDeployments &fetched, const RefreshContext &context) const;
    [[nodiscard]] DeploymentList listAfterActive(
        const FetchedDeployments &fetched, const RefreshContext &context) const;
    [[nodiscard]] DeploymentMonitorState currentState(
        const RefreshContext &context, std::optional<Instant> lastRefreshedAt) const;
    [[nodiscard]] Published withStanding(Published published, const RefreshContext &context) const;
    void publish(Published published);
    void followChoices(const QString &key);
    void divide(Published &published);

    const FetchOutcomes *m_outcomes;
    const Clock *m_clock;
    Preferences *m_defaults;
    FailureChoices m_choices;
    StoredEnvironmentRules m_environmentRules;
    Published m_published;
    QHash<RefreshScope, LastFetch> m_lastFetches; ///< a full fetch follows several of active deployments
    std::optional<Instant> m_lastCompleteAt;
    QHash<QString, qint64> m_owners; ///< identity by repository node id, of every deployment fetched in this run
};

} // namespace velmora
