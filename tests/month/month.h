// SPDX-License-Identifier: MIT
#pragma once

#include "month_program.h"
#include "month_user.h"
#include "month_world.h"

#include <QHash>

namespace velmora::testing
{

/// The program over days or a month, with a team that deploys and faults of every kind, drawn from the seed.
///
/// The application is put together as the program does it, and asks its stand-in for GitHub over HTTP. Time passes only
/// between events: while a request is on its way, and while the program sleeps.
class Month
{
public:
    explicit Month(const MonthOptions &options);

    /// Lives through all days. Throws a Violation, whose text names seed, minute and the latest faults.
    void pass();
    /// What has happened, in a few lines.
    [[nodiscard]] QString report() const;
    /// Resident memory after the last day, as a multiple of that after the first.
    [[nodiscard]] double memoryGrowth() const { return m_world.record.memoryGrowth(); }

private:
    using Duration = MonthClock::Duration;

    void passDay(Instant morning);
    void live(Instant end);
    void judge();
    void afterEvent();
    void start();
    void end();
    void kill(bool isAbrupt);
    void prepareUser();
    [[nodiscard]] bool isAskable(const QString &login) const;
    void checkLiveness();
    [[nodiscard]] bool isCalmDay() const;
    void drawFault();
    void drawAnswerFault();
    void drawQuotaFault();
    void drawWorldFault();
    void drawMachineFault();
    void changeNetwork();
    void sleepFor(Duration duration, bool isAnnounced);
    void setClockWrong();
    void setSkew(Duration skew);
    [[nodiscard]] QString where() const;

    struct Silence {
        qint64 questions = 0;
        Duration since{0}; ///< awake
    };

    MonthOptions m_options;
    MonthWorld m_world;
    MonthUser m_user;
    MonthProgram m_program; // after the others, which it asks at its end
    Duration m_lastRound{0}; ///< awake
    bool m_isTimeUnsure = false; ///< the clock was set, or the machine slept, since a request began
    QHash<QString, Silence> m_silences; ///< by login: since when the program has asked nothing, though it may
};

} // namespace velmora::testing
