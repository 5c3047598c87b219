// SPDX-License-Identifier: MIT
#pragma once

#include "month_clock.h"
#include "month_corpus.h"
#include "month_oracle.h"

#include "simulator/random.h"
#include "simulator/script.h"
#include "simulator/simulator.h"

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QSet>

#include <map>

namespace velmora::testing
{

/// What is wrong with an answer.
enum class AnswerFault {
    Status, ///< any status but 200 and those that mean more
    Unauthorized,
    Refused, ///< the connection ends before the request has an effect
    Lost, ///< the request has its effect, and the connection ends without an answer
    Cut, ///< the connection ends in the middle of the body
    Stalled, ///< nothing comes for a minute, then the connection ends
    Slow, ///< the answer takes many seconds
    Page, ///< a page of a hotel instead of an answer
    Truncated, ///< whole by its length, but not by its content
    Damaged, ///< some bytes are others
    NullNodes, ///< parts of the answer are null, because of errors
    Redirected, ///< to this or another origin
    Limited, ///< refused, with a time at which to come back
    Absurd, ///< refused for years, or answered with fewer points left than none
    Dripped, ///< a beginning of the body comes, and then nothing, while the connection stays open
};
inline constexpr int kAnswerFaults = int(AnswerFault::Dripped) + 1;

/// A fault, and the requests that it is for.
struct MonthFault {
    AnswerFault fault = AnswerFault::Status;
    QByteArray path; ///< the beginning of the path; empty: any
    QString login; ///< empty: any
    int times = 1;
    Instant until; ///< in true time
};

/// GitHub over a month. It answers with a simulated delay and draws faults; it tells the oracle what arrived, and sees
/// that the program keeps the rules for requests. Broken rules are reported by throwIfViolated().
class MonthGitHub final : public simulator::Bystander
{
public:
    /// The pointers are not owned and outlive this object. `kept` is how many deployments of a repository are kept, but
    /// for those under way. Throws if it cannot listen.
    MonthGitHub(MonthClock *clock, MonthOracle *oracle, quint64 seed, int repositories, int kept);

    [[nodiscard]] static QStringList logins();

    /// What a team does, for ever: deployments of all repositories.
    void beginDeployments(std::chrono::seconds longestPause, std::chrono::seconds longestAtNight);

    void add(const MonthFault &fault) { m_faults.append(fault); }
    /// Other tools use up the quota of the login.
    void useUp(const QString &login, int remaining, std::chrono::seconds resetAfter);
    void setSuspended(int installation, bool isSuspended);
    void setInstalled(int installation, bool isInstalled);
    void rename(int repository);
    void transfer(int repository);

    /// The user of the program approves the code as this login.
    [[nodiscard]] bool approve(const QString &userCode, const QString &login);
    /// The program has begun anew, or the machine's clock was set: it may have forgotten its pauses.
    void forgetPauses() { m_pausedUntil.clear(); }
    /// Whether the program has yet to notice the beginning of an answer whose rest never comes, or that it has waited
    /// long enough for the rest.
    [[nodiscard]] bool isDripNews() const;
    /// How many requests with a token of the login have come, those for a new one included.
    [[nodiscard]] qint64 questionCount(const QString &login) const { return m_questions.value(login); }

    [[nodiscard]] int openRequests() const { return m_openCount; }
    /// Those of the open requests that ask with a token.
    [[nodiscard]] int openQuestions() const { return m_openQuestions; }
    [[nodiscard]] int openQuestions(const QString &login) const { return m_open.value(login); }
    [[nodiscard]] qint64 requestCount() const { return m_requests; }
    [[nodiscard]] qint64 deploymentCount() const { return m_deployments; }
    [[nodiscard]] int repositoryCount() const { return int(simulator.world().repositories().size()); }
    [[nodiscard]] int installationCount() const { return int(simulator.world().installations().size()); }
    void throwIfViolated() const;

    [[nodiscard]] std::optional<simulator::MisbehaviourRule> rule(
        const simulator::Request &request, const QString &login) override;
    void answering(const simulator::Request &request, const QString &login, simulator::Reply &reply) override;

    mutable simulator::Simulator simulator;

private:
    struct Exchange;
    struct Listing {
        QSet<qint64> awaited; ///< ids of installations
        QSet<int> repositories;
    };

    void addHistory();
    void deployNext();
    void play(const simulator::Script &script, const QString &id, qsizetype step);
    void touch(int repository) { m_told.remove(repository); }
    [[nodiscard]] std::shared_ptr<const QList<ToldDeployment>> deploymentsOf(int repository);
    [[nodiscard]] QList<ToldRepository> asked(
        const simulator::Request &request, const QString &login, const QSet<int> &nullPlaces);
    [[nodiscard]] simulator::MisbehaviourRule refusal(AnswerFault fault, const simulator::Request &request);
    void spoil(simulator::Reply &reply, Exchange &exchange);
    void removePoints(simulator::Response &response) const;
    [[nodiscard]] std::chrono::milliseconds delay(const Exchange &exchange);
    void checkArrival(Exchange &exchange, const simulator::Request &request);
    void finished(Exchange &exchange, int status);
    void adoptTokens(const Exchange &exchange);
    void tellOracle(const Exchange &exchange, bool isWhole);
    void list(const Exchange &exchange, bool isWhole);
    void notePause(const Exchange &exchange);
    void violate(const QString &text);

    MonthClock *m_clock;
    MonthOracle *m_oracle;
    int m_kept;
    MonthCorpus m_corpus;
    simulator::Random m_team;
    simulator::Random m_weather;
    QList<MonthFault> m_faults;
    std::optional<AnswerFault> m_current; ///< of the request that is being answered
    QHash<int, std::shared_ptr<const QList<ToldDeployment>>> m_told; ///< by repository
    QHash<QString, QString> m_accessTokens; ///< logins by token
    QHash<QString, QString> m_refreshTokens;
    QSet<QString> m_usedTokens;
    QString m_connecting; ///< the login whose code was approved last
    QHash<QString, int> m_open; ///< requests with a token, by login
    QHash<QString, qint64> m_questions; ///< by login
    QSet<QString> m_newTokens; ///< access tokens that no request has come with
    struct Drip {
        const Exchange *exchange = nullptr;
        MonthClock::Duration sentAt{0}; ///< awake
        qint64 watchesBefore = 0;
        QElapsedTimer age;
    };
    QList<Drip> m_drips; ///< the answers whose rest never comes
    QSet<QString> m_openTokens; ///< refresh tokens
    int m_openCount = 0;
    int m_openQuestions = 0;
    QHash<QString, Instant> m_pausedUntil; ///< in true time
    QHash<QString, Listing> m_listings;
    std::map<std::pair<QString, qint64>, int> m_spent; ///< by login and hour
    std::chrono::seconds m_longestPause{0};
    std::chrono::seconds m_longestAtNight{0};
    qint64 m_requests = 0;
    qint64 m_deployments = 0;
    int m_renamed = 0;
    QString m_violation;
};

} // namespace velmora::testing
