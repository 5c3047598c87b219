// SPDX-License-Identifier: MIT
#pragma once

#include "month_clock.h"
#include "month_desktop.h"
#include "month_github.h"
#include "month_oracle.h"

#include "app/velmora_app.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <deque>
#include <memory>

namespace velmora::testing
{

/// What a month is made of.
struct MonthOptions {
    quint64 seed = 0; ///< 0: fromEnvironment() draws one
    int days = 1;
    int repositories = 300;
    int kept = 8; ///< deployments of a repository, but for those under way
    std::chrono::seconds deploymentPause{400}; ///< the longest between two deployments in working hours
    std::chrono::seconds nightPause{7'200}; ///< the same at other times
    int spells = 1; ///< how often the machine is used on a weekday, after equal pauses, the first time at 8
    std::chrono::seconds spell = std::chrono::hours(11); ///< how long each time
    std::chrono::seconds calm = std::chrono::minutes(25); ///< the longest time between two faults

    /// From VELMORA_MONTH_SEED, VELMORA_MONTH_DAYS, VELMORA_MONTH_REPOSITORIES and VELMORA_MONTH_KEPT, as far as they
    /// are set.
    [[nodiscard]] static MonthOptions fromEnvironment(MonthOptions defaults);
};

/// The program over days or a month, with a team that deploys and faults of every kind, drawn from the seed.
///
/// The application is put together as the program does it, and asks its stand-in for GitHub over HTTP. Time passes only
/// between events: while a request is on its way, and while the program sleeps.
class Month
{
public:
    explicit Month(const MonthOptions &options);
    ~Month();

    /// Lives through all days. Throws a Violation, whose text names seed, minute and the latest faults.
    void pass();
    /// What has happened, in a few lines.
    [[nodiscard]] QString report() const;
    /// Resident memory after the last day, as a multiple of that after the first.
    [[nodiscard]] double memoryGrowth() const { return double(m_memory.last()) / double(m_memory.first()); }

private:
    using Duration = MonthClock::Duration;

    void passDay(Instant morning);
    void live(Instant end);
    void settle();
    [[nodiscard]] bool isBusy() const;
    [[nodiscard]] QString restlessness() const;
    void judge();
    void afterEvent();
    void start();
    void end();
    void kill(bool isAbrupt);
    void dropProgram(bool keepsFiles);
    [[nodiscard]] AppEnvironment environment();
    void prepareUser();
    void lookAtAccounts();
    void reconnect(const QString &login);
    [[nodiscard]] bool isListed(const QString &login) const;
    [[nodiscard]] bool isAskable(const QString &login) const;
    void removeAccount(const QString &login);
    void noticeRemovals();
    void switchNotifications(MonthOracle::Kind kind, bool isOn);
    void checkLiveness();
    [[nodiscard]] bool isCalmDay() const;
    void drawFault();
    void drawAnswerFault();
    void drawQuotaFault();
    void drawWorldFault();
    void drawMachineFault();
    void drawUserDecision();
    void changeNetwork();
    void sleepFor(Duration duration, bool isAnnounced);
    void setClockWrong();
    void setSkew(Duration skew);
    void note(const QString &event);
    [[nodiscard]] Duration between(Duration least, Duration most);
    [[nodiscard]] QString where() const;

    MonthOptions m_options;
    simulator::Random m_random;
    simulator::Random m_chance; ///< the program's
    MonthClock m_clock;
    MonthOracle m_oracle;
    MonthGitHub m_github;
    MonthDesktop m_desktop;
    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<MonthNotifier> m_notifier;
    std::unique_ptr<VelmoraApp> m_app;
    Duration m_lastRound{0}; ///< awake
    bool m_isTimeUnsure = false; ///< the clock was set, or the machine slept, since a request began
    QSet<QString> m_removed; ///< logins that the user wants removed
    struct Silence {
        qint64 questions = 0;
        Duration since{0}; ///< awake
    };
    QHash<QString, Silence> m_silences; ///< by login: since when the program has asked nothing, though it may
    Instant m_begin;
    QElapsedTimer m_realTime;
    QHash<QString, int> m_counts; ///< by the kind of event
    std::deque<QString> m_latest;
    QList<qint64> m_memory; ///< in bytes, after each day
    QList<qint64> m_allocated; ///< of that, on the heap
};

} // namespace velmora::testing
