// SPDX-License-Identifier: MIT
#pragma once

#include "month_clock.h"

#include "simulator/random.h"
#include "simulator/simulator.h"

#include <QList>
#include <QSet>

#include <optional>

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

/// The faults of GitHub's answers.
class AnswerFaults
{
public:
    /// What a fault has made of an answer.
    struct Damage {
        bool isSpoiled = false; ///< the program cannot take the answer for a whole one
        QSet<int> nullPlaces; ///< of repositories that are null in it
    };

    /// The pointers are not owned and outlive this object.
    AnswerFaults(const MonthClock *clock, const simulator::Simulator *simulator, quint64 seed);

    void add(const MonthFault &fault) { m_faults.append(fault); }
    /// Draws the fault of the request, which all others are about from now on. The rule is for an answer that does
    /// without the effect of the request.
    [[nodiscard]] std::optional<simulator::MisbehaviourRule> draw(
        const simulator::Request &request, const QString &login);
    /// That of the request; nothing if its answer is as it should be.
    [[nodiscard]] std::optional<AnswerFault> current() const { return m_current; }
    /// Applies the fault to the answer that the request has earned.
    [[nodiscard]] Damage spoil(simulator::Reply &reply);
    /// How long the request waits for its answer.
    [[nodiscard]] std::chrono::milliseconds delay(bool isQuery);

private:
    [[nodiscard]] simulator::MisbehaviourRule refusal(AnswerFault fault, const simulator::Request &request);
    [[nodiscard]] QSet<int> removeNodes(simulator::Response &response);

    const MonthClock *m_clock;
    const simulator::Simulator *m_simulator;
    simulator::Random m_random;
    QList<MonthFault> m_faults;
    std::optional<AnswerFault> m_current;
};

} // namespace velmora::testing
