// SPDX-License-Identifier: MIT
#pragma once

#include "answer_faults.h"
#include "month_clock.h"
#include "month_corpus.h"
#include "month_oracle.h"
#include "month_team.h"

#include "simulator/simulator.h"

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QSet>

#include <map>

namespace velmora::testing
{

/// GitHub over a month. It answers with a simulated delay and draws faults; it tells the oracle what arrived, and sees
/// that the program keeps the rules for requests. Broken rules are reported by throwIfViolated().
class MonthGitHub final : public simulator::Bystander
{
public:
    /// The pointers are not owned and outlive this object. `kept` is how many deployments of a repository are kept, but
    /// for those under way. Throws if it cannot listen.
    MonthGitHub(MonthClock *clock, MonthOracle *oracle, quint64 seed, int repositories, int kept);

    [[nodiscard]] static QStringList logins();

    /// Other tools use up the quota of the login.
    void useUp(const QString &login, int remaining, std::chrono::seconds resetAfter);
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
    void throwIfViolated() const;

    [[nodiscard]] std::optional<simulator::MisbehaviourRule> rule(
        const simulator::Request &request, const QString &login) override
    {
        return faults.draw(request, login);
    }
    void answering(const simulator::Request &request, const QString &login, simulator::Reply &reply) override;

    simulator::Simulator simulator;
    MonthTeam team;
    AnswerFaults faults;

private:
    struct Exchange;
    struct Listing {
        QSet<qint64> awaited; ///< ids of installations
        QSet<int> repositories;
    };

    [[nodiscard]] std::shared_ptr<const QList<ToldDeployment>> deploymentsOf(int repository);
    [[nodiscard]] QList<ToldRepository> asked(
        const simulator::Request &request, const QString &login, const QSet<int> &nullPlaces);
    void checkArrival(Exchange &exchange, const simulator::Request &request);
    void finished(Exchange &exchange, int status);
    void adoptTokens(const Exchange &exchange);
    void tellOracle(const Exchange &exchange, bool isWhole);
    void list(const Exchange &exchange, bool isWhole);
    void notePause(const Exchange &exchange);
    void violate(const QString &text);

    MonthClock *m_clock;
    MonthOracle *m_oracle;
    MonthCorpus m_corpus;
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
    qint64 m_requests = 0;
    QString m_violation;
};

} // namespace velmora::testing
