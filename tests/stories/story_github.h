// SPDX-License-Identifier: MIT
#pragma once

#include "simulator/simulator.h"
#include "support/clock.h"

namespace velmora::testing
{

/// The GitHub of a story: empty at first, on the story's clock, and reached over HTTP.
///
/// People and repositories come into being when they are first named; a repository is named "owner/name".
class StoryGitHub
{
public:
    /// The clock is not owned and outlives GitHub. Throws when it cannot listen.
    explicit StoryGitHub(const Clock *clock);

    /// The person has an account; the App is installed nowhere by that.
    void joins(const QString &login);
    /// The person installs the App on the own account and grants it these repositories.
    void installs(const QString &login, const QStringList &names);
    /// Somebody installs the App on an organisation and grants it these repositories, and the person sees it.
    void installsFor(const QString &login, const QString &organisation, const QStringList &names);
    /// Takes the App off every account on which that person had installed it.
    void uninstalls(const QString &login);

    /// The owner suspends every installation of the App on that account, or puts it in force again.
    void suspends(const QString &login, bool isSuspended = true);

    /// A deployment begins and is under way; the result is its identifier.
    QString deploys(const QString &repository, const QString &environment = QStringLiteral("production"));
    void succeeds(const QString &deployment) { sets(deployment, QStringLiteral("SUCCESS")); }
    void fails(const QString &deployment) { sets(deployment, QStringLiteral("FAILURE")); }
    /// Gives the deployment a status; the state is GitHub's word for it.
    void sets(const QString &deployment, const QString &state);

    /// It is an Enterprise Server as it is set up: without rate limits.
    void hasNoRateLimits() { simulator.limits().setOn(false); }

    /// From now on requests with a token of that person are answered with a 503; until recovers().
    void failsFor(const QString &login);
    /// Connections end without an answer, as they do on a machine that has lost its network; until recovers().
    void isUnreachable();
    /// From now on requests for the path are not answered before answers().
    void holdsBack(const QByteArray &path);
    /// Answers what was held back, as it was when it was asked for, and holds nothing back from now on.
    void answers();
    /// Everything is answered again.
    void recovers();
    /// Ends every token of the person.
    void revokes(const QString &login) { simulator.oauth().revoke(login); }

    /// How many requests for the path have arrived so far.
    [[nodiscard]] qsizetype requestCount(const QByteArray &path) const;
    /// Whether a request waits for its answer that is not held back.
    [[nodiscard]] bool isAnswering() const;
    /// Whether a request waits for answers().
    [[nodiscard]] bool isHoldingBack() const { return simulator.hangingCount() > 0; }

    simulator::Simulator simulator;

private:
    [[nodiscard]] int person(const QString &login);
    [[nodiscard]] int repository(const QString &nameWithOwner);

    QHash<QString, int> m_repositories; ///< of the deployments, by identifier
};

} // namespace velmora::testing
