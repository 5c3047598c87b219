// SPDX-License-Identifier: MIT
#include "month.h"

#include <QCoreApplication>

namespace velmora::testing
{

using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

Month::Month(const MonthOptions &options)
    : m_options(options)
    , m_world(options)
    , m_user(&m_world, &m_program)
    , m_program(&m_world, options.seed + 3)
{
    m_program.beforeAnnouncement = [this](const QString &key) {
        judge();
        m_world.oracle.announcing(key, m_world.clock.now(), !m_isTimeUnsure);
    };
    m_program.accountsChanged = [this] {
        m_user.noticeRemovals();
    };
    m_world.github.team.beginDeployments(options.deploymentPause, options.nightPause);
}

void Month::pass()
{
    const Instant begin = m_world.clock.truth();
    try {
        start();
        prepareUser();
        const auto soon = [this] {
            drawFault();
        };
        m_world.clock.onMachine(10min, soon);
        for (int day = 0; day < m_options.days; ++day) {
            passDay(begin + day * 24h);
            m_world.record.endDay();
        }
    } catch (const std::exception &failure) {
        throw Violation(QString::fromUtf8(failure.what()) + u'\n' + where());
    }
}

void Month::passDay(Instant morning)
{
    const std::chrono::weekday weekday(std::chrono::floor<std::chrono::days>(morning));
    const bool isWeekend = weekday == std::chrono::Saturday || weekday == std::chrono::Sunday;
    const Duration period = Duration(24h) / m_options.spells;
    for (int spell = 0; spell < m_options.spells; ++spell) {
        const Instant begin = morning + spell * period;
        if (!isWeekend)
            live(begin + m_options.spell + m_world.random.between(0s, 10min));
        if (m_world.clock.truth() < begin + period)
            sleepFor(begin + period - m_world.clock.truth(), m_world.random.chance(70));
    }
}

/// Lets time pass until `end`, event by event.
void Month::live(Instant end)
{
    bool isMore = true;
    while (isMore) {
        m_program.settle();
        afterEvent();
        isMore = m_world.clock.step(end);
    }
    m_program.settle();
}

/// Has the oracle judge what the program has been told.
void Month::judge()
{
    const auto logins = MonthGitHub::logins();
    for (const QString &login : logins) {
        if (m_world.github.openQuestions(login) == 0)
            m_world.oracle.roundEnded(login, m_world.clock.now(), !m_isTimeUnsure);
    }
}

void Month::afterEvent()
{
    if (!m_program.app())
        return;
    judge();
    if (m_world.github.openQuestions() == 0)
        m_world.oracle.rested();
    if (m_world.github.openRequests() == 0)
        m_isTimeUnsure = false;
    if (m_world.desktop.notifications->isSilent)
        m_world.oracle.excuseDelays();
    else
        m_world.oracle.waited(m_world.clock.awake() - m_lastRound);
    m_lastRound = m_world.clock.awake();
    checkLiveness();
}

/// However absurd what GitHub says, an account that can be asked is asked within an hour.
void Month::checkLiveness()
{
    constexpr auto kLongestSilence = 70min;
    const auto logins = MonthGitHub::logins();
    for (const QString &login : logins) {
        Silence &silence = m_silences[login];
        const qint64 questions = m_world.github.questionCount(login);
        if (questions != silence.questions || !isAskable(login))
            silence = {questions, m_world.clock.awake()};
        if (m_world.clock.awake() - silence.since > kLongestSilence)
            throw Violation(u"%1 was not asked for an hour"_s.arg(login));
    }
}

/// Whether nothing on this machine keeps the program from asking for the account.
bool Month::isAskable(const QString &login) const
{
    if (!m_world.desktop.keyring->isOpen() || m_world.clock.skew() != 0s || m_user.wantsRemoved(login))
        return false;
    const auto &sessions = m_program.app()->authentication().sessions();
    return std::any_of(sessions.begin(), sessions.end(), [&](const GitHubAccountSession &session) {
        return session.account.login == login && !m_program.app()->authentication().hasEnded(session.id());
    });
}

void Month::start()
{
    if (m_program.app())
        return;
    m_program.start();
    m_lastRound = m_world.clock.awake();
}

/// The user quits. The program finishes what would cost a session.
void Month::end()
{
    if (!m_program.app())
        return;
    if (m_program.app()->authentication().isRenewing())
        return m_world.clock.onMachine(1s, [this] { end(); });
    m_world.record.note(u"end"_s);
    m_program.settle();
    afterEvent();
    m_silences.clear();
    m_program.end(MonthOracle::End::Orderly);
    m_world.clock.onMachine(m_world.random.between(5s, m_world.random.chance(70) ? 5min : 3h), [this] { start(); });
}

void Month::kill(bool isAbrupt)
{
    if (!m_program.app())
        return;
    m_world.record.note(isAbrupt ? u"abrupt kill"_s : u"kill"_s);
    if (isAbrupt) {
        for (qint64 left = m_world.random.between(0, 12); left > 0; --left)
            QCoreApplication::processEvents();
    } else {
        m_program.settle();
        afterEvent();
    }
    m_silences.clear();
    m_program.end(MonthOracle::End::Killed);
    m_world.clock.onMachine(m_world.random.between(1s, m_world.random.chance(80) ? 2min : 2h), [this] { start(); });
}

/// Connects all accounts, and wants to know of everything.
void Month::prepareUser()
{
    m_program.app()->settings().setNotificationPreferences(true);
    for (const QString &login : MonthGitHub::logins()) {
        m_user.connect(login);
        live(m_world.clock.truth() + 30s);
    }
    if (m_program.app()->authentication().sessions().size() != MonthGitHub::logins().size())
        throw Violation(u"the accounts could not be connected"_s);
    m_world.clock.onMachine(5min, [this] { m_user.lookAtAccounts(); });
}

/// Several days begin and end with one without faults. Every fault is over within a day, so that at the end of both the
/// program holds as much, unless it has lost something in between.
bool Month::isCalmDay() const
{
    const auto day = m_world.record.duration() / 24h;
    return m_options.days > 2 && (day == 0 || day >= m_options.days - 1);
}

void Month::drawFault()
{
    m_world.clock.onMachine(m_world.random.between(10s, m_options.calm), [this] { drawFault(); });
    if (isCalmDay())
        return;
    const qint64 choice = m_world.random.between(1, 100);
    if (choice <= 50)
        drawAnswerFault();
    else if (choice <= 56)
        drawQuotaFault();
    else if (choice <= 68)
        drawWorldFault();
    else if (choice <= 75)
        m_user.decide();
    else
        drawMachineFault();
}

void Month::drawAnswerFault()
{
    static const QList<QByteArray> paths{"/graphql", "/graphql", "/user", "/login", ""};
    MonthFault fault;
    fault.fault = AnswerFault(m_world.random.between(0, kAnswerFaults - 1));
    fault.path = m_world.random.pick(paths);
    if (m_world.random.chance(60))
        fault.login = m_world.random.pick(MonthGitHub::logins());
    const bool isLong = m_world.random.chance(30);
    fault.times = isLong ? 1'000'000 : int(m_world.random.between(1, 6));
    fault.until = m_world.clock.truth() + (isLong ? m_world.random.between(1min, 15min) : Duration(2h));
    m_world.github.faults.add(fault);
    static const QStringList names{u"status"_s, u"unauthorized"_s, u"refused"_s, u"lost"_s, u"cut"_s, u"stalled"_s,
        u"slow"_s, u"page"_s, u"truncated"_s, u"damaged"_s, u"null"_s, u"redirected"_s, u"limited"_s, u"absurd"_s,
        u"dripped"_s};
    m_world.record.note(u"answers %1: %2 %3, %4"_s.arg(names.value(int(fault.fault)),
        fault.path.isEmpty() ? u"all"_s : QString::fromUtf8(fault.path), fault.login,
        isLong ? u"for minutes"_s : u"%1 times"_s.arg(fault.times)));
}

void Month::drawQuotaFault()
{
    const QString login = m_world.random.pick(MonthGitHub::logins());
    const int left = int(m_world.random.between(0, 400));
    m_world.github.useUp(
        login, left, std::chrono::duration_cast<std::chrono::seconds>(m_world.random.between(1min, 50min)));
    m_world.record.note(u"quota of %1 down to %2"_s.arg(login).arg(left));
}

void Month::drawWorldFault()
{
    const int installation = int(m_world.random.between(0, m_world.github.team.installationCount() - 1));
    const int repository = int(m_world.random.between(0, m_world.github.team.repositoryCount() - 1));
    const auto duration = m_world.random.between(1min, m_world.random.chance(50) ? 2h : 20h);
    switch (m_world.random.between(1, 5)) {
    case 1:
        m_world.record.note(u"suspended installation %1"_s.arg(installation));
        m_world.github.team.setSuspended(installation, true);
        return m_world.clock.inWorld(
            duration, [this, installation] { m_world.github.team.setSuspended(installation, false); });
    case 2:
        m_world.record.note(u"removed installation %1"_s.arg(installation));
        m_world.github.team.setInstalled(installation, false);
        return m_world.clock.inWorld(
            duration, [this, installation] { m_world.github.team.setInstalled(installation, true); });
    case 3:
        m_world.record.note(u"renamed repository %1"_s.arg(repository));
        return m_world.github.team.rename(repository);
    case 4:
        m_world.record.note(u"transferred repository %1"_s.arg(repository));
        return m_world.github.team.transfer(repository);
    default:
        if (m_world.random.chance(70))
            return;
        m_world.record.note(u"revoked tokens"_s);
        return m_world.github.simulator.oauth().revoke(m_world.random.pick(MonthGitHub::logins()));
    }
}

void Month::drawMachineFault()
{
    const auto keyring = m_world.desktop.keyring->mood;
    const auto server = m_world.desktop.notifications;
    switch (m_world.random.between(1, 11)) {
    case 1:
    case 2:
        m_world.record.note(u"keyring away"_s);
        *keyring = m_world.random.chance(50) ? MonthKeyring::Mood::Locked : MonthKeyring::Mood::Restarting;
        return m_world.clock.onMachine(
            m_world.random.between(5s, 40min), [keyring] { *keyring = MonthKeyring::Mood::Open; });
    case 3:
        m_world.record.note(u"notification daemon gone"_s);
        server->isThere = false;
        Q_EMIT server->serverGone();
        return m_world.clock.onMachine(m_world.random.between(1min, 20min), [server] { server->isThere = true; });
    case 4:
        m_world.record.note(u"notification daemon silent"_s);
        server->isSilent = true;
        return m_world.clock.onMachine(m_world.random.between(1min, 10min), [server] {
            server->isSilent = false;
            Q_EMIT server->serverGone();
        });
    case 5:
        return changeNetwork();
    case 6:
        m_world.record.note(u"other network"_s);
        if (m_program.app())
            m_program.app()->wakeWatch().networkChanged(true);
        return;
    case 7:
        return sleepFor(m_world.random.between(1min, 3h), m_world.random.chance(60));
    case 8:
        return setClockWrong();
    case 9:
        return kill(false);
    case 10:
        return kill(true);
    default:
        return end();
    }
}

/// No network for some minutes.
void Month::changeNetwork()
{
    const auto duration = m_world.random.between(10s, 10min);
    m_world.record.note(u"no network"_s);
    if (m_program.app())
        m_program.app()->wakeWatch().networkChanged(false);
    m_world.github.faults.add({AnswerFault::Refused, {}, {}, 1'000'000, m_world.clock.truth() + duration});
    m_world.clock.onMachine(duration, [this] {
        if (m_program.app())
            m_program.app()->wakeWatch().networkChanged(true);
    });
}

void Month::sleepFor(Duration duration, bool isAnnounced)
{
    m_world.record.note(
        u"%1 sleep of %2 minutes"_s.arg(isAnnounced ? u"announced"_s : u"sudden"_s).arg(duration / 1min));
    if (isAnnounced && m_program.app())
        m_program.app()->wakeWatch().prepareForSleep(true);
    m_program.settle();
    // What the program is being told will be some time old when it reads it.
    m_isTimeUnsure = m_isTimeUnsure || m_world.github.openRequests() > 0;
    m_world.clock.suspend(duration);
    if (isAnnounced && m_program.app())
        m_program.app()->wakeWatch().prepareForSleep(false);
}

void Month::setClockWrong()
{
    const auto skew = m_world.random.chance(50) ? m_world.random.between(10s, 20h) : -m_world.random.between(10s, 20h);
    m_world.record.note(u"clock wrong by %1 s"_s.arg(skew / 1s));
    setSkew(skew);
    m_world.clock.onMachine(m_world.random.between(1min, 90min), [this] {
        m_world.record.note(u"clock right"_s);
        setSkew(0s);
    });
}

void Month::setSkew(Duration skew)
{
    m_world.oracle.clockSet(m_world.clock.now());
    m_isTimeUnsure = true;
    m_world.clock.setSkew(skew);
    m_world.github.forgetPauses();
}

QString Month::where() const
{
    return u"seed %1, %2 repositories, minute %3\n"_s.arg(m_options.seed)
               .arg(m_options.repositories)
               .arg(m_world.record.duration() / 1min)
        + m_world.record.latestEvents() + u"replay: "_s + m_options.asVariables() + u'\n';
}

QString Month::report() const
{
    const MonthOracle &oracle = m_world.oracle;
    QString text = u"%1 simulated days, %2 repositories, seed %3\n"_s.arg(m_options.days)
                       .arg(m_options.repositories)
                       .arg(m_options.seed);
    text += u"  %1 requests, %2 deployments\n"_s.arg(m_world.github.requestCount())
                .arg(m_world.github.team.deploymentCount());
    text += u"  %1 notifications had to come and came; %2 could or not, %3 were lost in kills\n"_s
                .arg(oracle.expectedCount() - oracle.lostCount())
                .arg(oracle.undecidedCount())
                .arg(oracle.lostCount());
    return text + m_world.record.report();
}

} // namespace velmora::testing
