// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/simulator.h"
#include "support/clock.h"

namespace velmora::testing
{

/// The GitHub of a story: empty at first, with the clock of the story, and reached over HTTP.
///
/// Users and repositories are created when they are first named. A repository is named "owner/name".
class StoryGitHub
{
public:
    /// The clock is not owned and outlives this object. Throws if it cannot listen.
    explicit StoryGitHub(const Clock *clock);

    /// Creates a user without an installation of the App.
    void joins(const QString &login);
    /// Installs the App on the user's own account and grants it these repositories.
    void installs(const QString &login, const QStringList &names);
    /// Installs the App on an organisation that the user sees, and grants it these repositories.
    void installsFor(const QString &login, const QString &organisation, const QStringList &names);
    /// Removes the App from every account on which this user had installed it.
    void uninstalls(const QString &login);

    /// Suspends all installations of the App on this account, or ends their suspension.
    void suspends(const QString &login, bool isSuspended = true);

    /// Gives a repository another name.
    void renames(const QString &repositoryName, const QString &name);

    /// Begins a deployment in progress; returns its identifier.
    QString deploys(const QString &repository, const QString &environment = QStringLiteral("production"),
        const QString &creator = QStringLiteral("github-actions"));
    void succeeds(const QString &deployment) { sets(deployment, QStringLiteral("SUCCESS")); }
    void fails(const QString &deployment) { sets(deployment, QStringLiteral("FAILURE")); }
    /// Gives the deployment a status; `state` is GitHub's name.
    void sets(const QString &deployment, const QString &state);

    /// Leaves the user this number of points until the reset.
    void hasPoints(const QString &login, int remaining, Instant resetAt);

    /// Switches rate limits off, as on an Enterprise Server by default.
    void hasNoRateLimits() { simulator.limits().setOn(false); }

    /// Answers requests with a token of this user with 503 until recovers().
    void failsFor(const QString &login);
    /// Closes connections without an answer until recovers(), as if the network were down.
    void isUnreachable();
    /// Holds back answers to requests for the path until answers().
    void holdsBack(const QByteArray &path);
    /// Sends the answers that were held back, as they were determined on arrival, and holds back no more.
    void answers();
    /// Answers all requests again.
    void recovers();
    /// Revokes all tokens of the user.
    void revokes(const QString &login) { simulator.oauth().revoke(login); }

    /// The number of requests for the path so far.
    [[nodiscard]] qsizetype requestCount(const QByteArray &path) const;
    /// Whether a request is being answered that is not held back.
    [[nodiscard]] bool isAnswering() const;
    /// Whether a request is held back.
    [[nodiscard]] bool isHoldingBack() const { return simulator.hangingCount() > 0; }

    simulator::Simulator simulator;

private:
    [[nodiscard]] int person(const QString &login);
    [[nodiscard]] int repository(const QString &nameWithOwner);

    QHash<QString, int> m_repositories; ///< the repositories of deployments, by the deployment's identifier
};

} // namespace velmora::testing
