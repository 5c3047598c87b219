// SPDX-License-Identifier: MIT
#include "month.h"

#include "http/network_session.h"

#include <QCoreApplication>
#include <QFile>
#include <QRandomGenerator>
#include <QTimer>

#include <filesystem>
#include <malloc.h>
#include <unistd.h>

namespace velmora::testing
{

using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace
{

constexpr int kPatience = 30'000; ///< milliseconds of real time; less than the program has with a silent connection
constexpr std::size_t kMostLatest = 25;

/// Monday, when work begins.
Instant firstMorning()
{
    return Instant(std::chrono::sys_days(std::chrono::year(2026) / 5 / 4)) + 8h;
}

qint64 memoryInUse()
{
    malloc_trim(0);
    QFile file(u"/proc/self/statm"_s);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE);
}

qint64 numberFrom(const char *variable, qint64 otherwise)
{
    bool isNumber = false;
    const qint64 number = qEnvironmentVariable(variable).toLongLong(&isNumber);
    return isNumber ? number : otherwise;
}

/// Files may vanish meanwhile, as when a running program is killed.
std::unique_ptr<QTemporaryDir> copyOf(const QTemporaryDir &folder)
{
    auto copy = std::make_unique<QTemporaryDir>();
    std::error_code ignored;
    std::filesystem::copy(
        folder.path().toStdString(), copy->path().toStdString(), std::filesystem::copy_options::recursive, ignored);
    return copy;
}

} // namespace

MonthOptions MonthOptions::fromEnvironment(MonthOptions defaults)
{
    constexpr int kSeeds = 1'000'000;
    if (defaults.seed == 0)
        defaults.seed = quint64(QRandomGenerator::system()->bounded(1, kSeeds));
    defaults.seed = quint64(numberFrom("VELMORA_MONTH_SEED", qint64(defaults.seed)));
    defaults.days = int(numberFrom("VELMORA_MONTH_DAYS", defaults.days));
    defaults.repositories = int(numberFrom("VELMORA_MONTH_REPOSITORIES", defaults.repositories));
    defaults.kept = int(numberFrom("VELMORA_MONTH_KEPT", defaults.kept));
    return defaults;
}

Month::Month(const MonthOptions &options)
    : m_options(options)
    , m_random(options.seed)
    , m_chance(options.seed + 3)
    , m_clock(firstMorning())
    , m_github(&m_clock, &m_oracle, options.seed, options.repositories, options.kept)
    , m_desktop(&m_clock)
    , m_home(std::make_unique<QTemporaryDir>())
    , m_begin(m_clock.truth())
{
    m_realTime.start();
    m_github.team.beginDeployments(options.deploymentPause, options.nightPause);
}

Month::~Month()
{
    m_app.reset();
    m_clock.wakeAll();
    for (int turn = 0; turn < 5; ++turn) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

void Month::pass()
{
    try {
        start();
        prepareUser();
        const auto soon = [this] {
            drawFault();
        };
        m_clock.onMachine(10min, soon);
        for (int day = 0; day < m_options.days; ++day) {
            passDay(m_begin + day * 24h);
            m_memory.append(memoryInUse());
            const auto heap = mallinfo2();
            m_allocated.append(qint64(heap.uordblks + heap.hblkhd));
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
            live(begin + m_options.spell + between(0s, 10min));
        if (m_clock.truth() < begin + period)
            sleepFor(begin + period - m_clock.truth(), m_random.chance(70));
    }
}

/// Lets time pass until `end`, event by event.
void Month::live(Instant end)
{
    bool isMore = true;
    while (isMore) {
        settle();
        afterEvent();
        isMore = m_clock.step(end);
    }
    settle();
}

/// Runs the event loop until the program waits for time to pass, or for answers that are on their way.
void Month::settle()
{
    constexpr int kQuietTurns = 6; // what the program does at once is done in fewer
    QElapsedTimer watchdog;
    watchdog.start();
    for (int quiet = 0; quiet < kQuietTurns; ++quiet) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (!isBusy())
            continue;
        quiet = -1;
        // Files are written without an event at their end.
        QTimer look;
        look.start(2ms);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (watchdog.hasExpired(kPatience))
            throw Violation(u"the program comes to no rest: "_s + restlessness());
    }
    m_github.throwIfViolated();
    if (m_notifier && !m_notifier->violation.isEmpty())
        throw Violation(m_notifier->violation);
}

bool Month::isBusy() const
{
    if (!m_app)
        return m_github.openRequests() > 0;
    // A request that only one side knows of is being transmitted, or its answer is.
    return m_app->network().openRequests() != m_github.openRequests() || m_github.isDripNews()
        || m_app->files().cache.isBusy() || m_app->files().preferences.isSaving();
}

QString Month::restlessness() const
{
    if (!m_app)
        return u"without a program %1 requests are open"_s.arg(m_github.openRequests());
    return u"it has %1 requests open, GitHub %2; an answer drips: %3, files are written: %4 %5"_s
        .arg(m_app->network().openRequests())
        .arg(m_github.openRequests())
        .arg(m_github.isDripNews())
        .arg(m_app->files().cache.isBusy())
        .arg(m_app->files().preferences.isSaving());
}

/// Has the oracle judge what the program has been told.
void Month::judge()
{
    const auto logins = MonthGitHub::logins();
    for (const QString &login : logins) {
        if (m_github.openQuestions(login) == 0)
            m_oracle.roundEnded(login, m_clock.now(), !m_isTimeUnsure);
    }
}

void Month::afterEvent()
{
    if (!m_app)
        return;
    judge();
    if (m_github.openQuestions() == 0)
        m_oracle.rested();
    if (m_github.openRequests() == 0)
        m_isTimeUnsure = false;
    if (m_desktop.notifications->isSilent)
        m_oracle.excuseDelays();
    else
        m_oracle.waited(m_clock.awake() - m_lastRound);
    m_lastRound = m_clock.awake();
    checkLiveness();
}

/// However absurd what GitHub says, an account that can be asked is asked within an hour.
void Month::checkLiveness()
{
    constexpr auto kLongestSilence = 70min;
    const auto logins = MonthGitHub::logins();
    for (const QString &login : logins) {
        Silence &silence = m_silences[login];
        const qint64 questions = m_github.questionCount(login);
        if (questions != silence.questions || !isAskable(login))
            silence = {questions, m_clock.awake()};
        if (m_clock.awake() - silence.since > kLongestSilence)
            throw Violation(u"%1 was not asked for an hour"_s.arg(login));
    }
}

/// Whether nothing on this machine keeps the program from asking for the account.
bool Month::isAskable(const QString &login) const
{
    if (*m_desktop.keyring->mood != MonthKeyring::Mood::Open || m_clock.skew() != 0s || m_removed.contains(login))
        return false;
    const auto &sessions = m_app->authentication().sessions();
    return std::any_of(sessions.begin(), sessions.end(), [&](const GitHubAccountSession &session) {
        return session.account.login == login && !m_app->authentication().hasEnded(session.id());
    });
}

bool Month::isListed(const QString &login) const
{
    const auto &sessions = m_app->authentication().sessions();
    return std::any_of(sessions.begin(), sessions.end(),
        [&](const GitHubAccountSession &session) { return session.account.login == login; });
}

AppEnvironment Month::environment()
{
    const QUrl web = m_github.simulator.url();
    AppEnvironment environment;
    environment.applicationName = QString::fromUtf16(kApplicationName);
    environment.configuration.githubClientID = simulator::demoClientID();
    environment.configuration.apiURL = web;
    environment.configuration.webURL = web;
    environment.configuration.loginURL = web.resolved(QUrl(u"/login"_s));
    environment.configuration.appSlug = u"velmora"_s;
    environment.directories = XDGDirectories::under(m_home->path());
    m_desktop.keyring = m_desktop.keyring->successor();
    environment.openCredentials = [keyring = m_desktop.keyring](const QString &) {
        return keyring;
    };
    environment.pasteboard = &m_desktop.pasteboard;
    environment.urlOpener = &m_desktop.browser;
    environment.notifier = m_notifier.get();
    environment.clock = &m_clock;
    environment.random = [this] {
        return double(m_chance.between(0, 999)) / 1'000;
    };
    environment.monotonic = [this] {
        return m_clock.monotonic();
    };
    return environment;
}

void Month::start()
{
    if (m_app)
        return;
    note(u"start"_s);
    m_notifier = std::make_unique<MonthNotifier>(&m_oracle, &m_desktop.service);
    m_notifier->beforeAnnouncement = [this](const QString &key) {
        judge();
        m_oracle.announcing(key, m_clock.now(), !m_isTimeUnsure);
    };
    m_oracle.programStarted(m_clock.now());
    m_github.forgetPauses();
    m_app = std::make_unique<VelmoraApp>(environment());
    m_app->monitor().start(&m_app->authentication(), &m_app->installations());
    launch(m_app->settings().prepareNotifications(), "Preparing notifications");
    QObject::connect(&m_app->authentication(), &AuthenticationStore::sessionsChanged, &m_app->monitor(),
        [this] { noticeRemovals(); });
    m_lastRound = m_clock.awake();
}

/// The user quits. The program finishes what would cost a session.
void Month::end()
{
    if (!m_app)
        return;
    if (m_app->authentication().isRenewing())
        return m_clock.onMachine(1s, [this] { end(); });
    note(u"end"_s);
    settle();
    afterEvent();
    m_oracle.programEnded(MonthOracle::End::Orderly);
    dropProgram(true);
    m_clock.onMachine(between(5s, m_random.chance(70) ? 5min : 3h), [this] { start(); });
}

void Month::kill(bool isAbrupt)
{
    if (!m_app)
        return;
    note(isAbrupt ? u"abrupt kill"_s : u"kill"_s);
    if (isAbrupt) {
        for (qint64 left = m_random.between(0, 12); left > 0; --left)
            QCoreApplication::processEvents();
    } else {
        settle();
        afterEvent();
    }
    m_oracle.programEnded(MonthOracle::End::Killed);
    dropProgram(false);
    m_clock.onMachine(between(1s, m_random.chance(80) ? 2min : 2h), [this] { start(); });
}

/// Ends the program. Without its files it leaves those that it had at this moment, and nothing else of what it does at
/// its end has an effect.
void Month::dropProgram(bool keepsFiles)
{
    auto files = keepsFiles ? nullptr : copyOf(*m_home);
    m_silences.clear();
    *m_desktop.keyring->isAlive = keepsFiles;
    if (!keepsFiles)
        m_notifier->isAlive = false;
    m_app.reset();
    settle();
    if (files)
        m_home = std::move(files);
}

/// Connects all accounts, and wants to know of everything.
void Month::prepareUser()
{
    m_app->settings().setNotificationPreferences(true);
    for (const QString &login : MonthGitHub::logins()) {
        reconnect(login);
        live(m_clock.truth() + 30s);
    }
    if (m_app->authentication().sessions().size() != MonthGitHub::logins().size())
        throw Violation(u"the accounts could not be connected"_s);
    m_clock.onMachine(5min, [this] { lookAtAccounts(); });
}

/// The user looks at the program at times, and connects again what has to be.
void Month::lookAtAccounts()
{
    m_clock.onMachine(between(5min, 30min), [this] { lookAtAccounts(); });
    if (!m_app || *m_desktop.keyring->mood != MonthKeyring::Mood::Open)
        return;
    const AuthenticationStore &authentication = m_app->authentication();
    const auto sessions = authentication.sessions();
    for (const GitHubAccountSession &session : sessions) {
        if (authentication.hasEnded(session.id()))
            return reconnect(session.account.login);
    }
    for (const QString &login : MonthGitHub::logins()) {
        if (!isListed(login) && !m_removed.contains(login))
            return reconnect(login);
    }
}

void Month::reconnect(const QString &login)
{
    note(u"connect "_s + login);
    m_app->authentication().startConnecting();
    m_clock.onMachine(2s, [this, login] {
        if (m_app && m_app->authentication().pendingAuthorization())
            std::ignore = m_github.approve(m_app->authentication().pendingAuthorization()->userCode, login);
    });
}

/// The user removes the account, and connects it again some time later.
void Month::removeAccount(const QString &login)
{
    const auto sessions = m_app->authentication().sessions();
    for (const GitHubAccountSession &session : sessions) {
        if (session.account.login != login)
            continue;
        note(u"remove "_s + login);
        m_removed.insert(login);
        launch(m_app->authentication().remove(session.id()), "Removing an account");
        m_clock.onMachine(between(1min, m_random.chance(70) ? 20min : 5h), [this, login] { m_removed.remove(login); });
    }
}

void Month::noticeRemovals()
{
    for (const QString &login : std::as_const(m_removed)) {
        if (!isListed(login))
            m_oracle.removed(login);
    }
}

/// Off for some time, and on again.
void Month::switchNotifications(MonthOracle::Kind kind, bool isOn)
{
    const bool isFailures = kind == MonthOracle::Kind::Failures;
    if (!m_app) {
        if (isOn)
            m_clock.onMachine(1min, [this, kind] { switchNotifications(kind, true); });
        return;
    }
    note(u"%1 switched %2"_s.arg(isFailures ? u"failures"_s : u"successes"_s, isOn ? u"on"_s : u"off"_s));
    m_app->settings().setNotificationPreference(
        isOn, isFailures ? DeploymentNotificationKind::Failure : DeploymentNotificationKind::Success);
    m_oracle.switched(kind, isOn);
    if (!isOn) {
        m_clock.onMachine(
            between(1min, m_random.chance(80) ? 40min : 4h), [this, kind] { switchNotifications(kind, true); });
    }
}

void Month::drawUserDecision()
{
    if (!m_app)
        return;
    if (m_random.chance(35) && *m_desktop.keyring->mood == MonthKeyring::Mood::Open)
        return removeAccount(m_random.pick(MonthGitHub::logins()));
    switchNotifications(m_random.chance(50) ? MonthOracle::Kind::Failures : MonthOracle::Kind::Successes, false);
}

/// Several days begin and end with one without faults. Every fault is over within a day, so that at the end of both the
/// program holds as much, unless it has lost something in between.
bool Month::isCalmDay() const
{
    const auto day = (m_clock.truth() - m_begin) / 24h;
    return m_options.days > 2 && (day == 0 || day >= m_options.days - 1);
}

void Month::drawFault()
{
    m_clock.onMachine(between(10s, m_options.calm), [this] { drawFault(); });
    if (isCalmDay())
        return;
    const qint64 choice = m_random.between(1, 100);
    if (choice <= 50)
        drawAnswerFault();
    else if (choice <= 56)
        drawQuotaFault();
    else if (choice <= 68)
        drawWorldFault();
    else if (choice <= 75)
        drawUserDecision();
    else
        drawMachineFault();
}

void Month::drawAnswerFault()
{
    static const QList<QByteArray> paths{"/graphql", "/graphql", "/user", "/login", ""};
    MonthFault fault;
    fault.fault = AnswerFault(m_random.between(0, kAnswerFaults - 1));
    fault.path = m_random.pick(paths);
    if (m_random.chance(60))
        fault.login = m_random.pick(MonthGitHub::logins());
    const bool isLong = m_random.chance(30);
    fault.times = isLong ? 1'000'000 : int(m_random.between(1, 6));
    fault.until = m_clock.truth() + (isLong ? between(1min, 15min) : Duration(2h));
    m_github.faults.add(fault);
    static const QStringList names{u"status"_s, u"unauthorized"_s, u"refused"_s, u"lost"_s, u"cut"_s, u"stalled"_s,
        u"slow"_s, u"page"_s, u"truncated"_s, u"damaged"_s, u"null"_s, u"redirected"_s, u"limited"_s, u"absurd"_s,
        u"dripped"_s};
    note(u"answers %1: %2 %3, %4"_s.arg(names.value(int(fault.fault)),
        fault.path.isEmpty() ? u"all"_s : QString::fromUtf8(fault.path), fault.login,
        isLong ? u"for minutes"_s : u"%1 times"_s.arg(fault.times)));
}

void Month::drawQuotaFault()
{
    const QString login = m_random.pick(MonthGitHub::logins());
    const int left = int(m_random.between(0, 400));
    m_github.useUp(login, left, std::chrono::duration_cast<std::chrono::seconds>(between(1min, 50min)));
    note(u"quota of %1 down to %2"_s.arg(login).arg(left));
}

void Month::drawWorldFault()
{
    const int installation = int(m_random.between(0, m_github.team.installationCount() - 1));
    const int repository = int(m_random.between(0, m_github.team.repositoryCount() - 1));
    const auto duration = between(1min, m_random.chance(50) ? 2h : 20h);
    switch (m_random.between(1, 5)) {
    case 1:
        note(u"suspended installation %1"_s.arg(installation));
        m_github.team.setSuspended(installation, true);
        return m_clock.inWorld(duration, [this, installation] { m_github.team.setSuspended(installation, false); });
    case 2:
        note(u"removed installation %1"_s.arg(installation));
        m_github.team.setInstalled(installation, false);
        return m_clock.inWorld(duration, [this, installation] { m_github.team.setInstalled(installation, true); });
    case 3:
        note(u"renamed repository %1"_s.arg(repository));
        return m_github.team.rename(repository);
    case 4:
        note(u"transferred repository %1"_s.arg(repository));
        return m_github.team.transfer(repository);
    default:
        if (m_random.chance(70))
            return;
        note(u"revoked tokens"_s);
        return m_github.simulator.oauth().revoke(m_random.pick(MonthGitHub::logins()));
    }
}

void Month::drawMachineFault()
{
    const auto keyring = m_desktop.keyring->mood;
    const auto server = m_desktop.notifications;
    switch (m_random.between(1, 11)) {
    case 1:
    case 2:
        note(u"keyring away"_s);
        *keyring = m_random.chance(50) ? MonthKeyring::Mood::Locked : MonthKeyring::Mood::Restarting;
        return m_clock.onMachine(between(5s, 40min), [keyring] { *keyring = MonthKeyring::Mood::Open; });
    case 3:
        note(u"notification daemon gone"_s);
        server->isThere = false;
        Q_EMIT server->serverGone();
        return m_clock.onMachine(between(1min, 20min), [server] { server->isThere = true; });
    case 4:
        note(u"notification daemon silent"_s);
        server->isSilent = true;
        return m_clock.onMachine(between(1min, 10min), [server] {
            server->isSilent = false;
            Q_EMIT server->serverGone();
        });
    case 5:
        return changeNetwork();
    case 6:
        note(u"other network"_s);
        if (m_app)
            m_app->wakeWatch().networkChanged(true);
        return;
    case 7:
        return sleepFor(between(1min, 3h), m_random.chance(60));
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
    const auto duration = between(10s, 10min);
    note(u"no network"_s);
    if (m_app)
        m_app->wakeWatch().networkChanged(false);
    m_github.faults.add({AnswerFault::Refused, {}, {}, 1'000'000, m_clock.truth() + duration});
    m_clock.onMachine(duration, [this] {
        if (m_app)
            m_app->wakeWatch().networkChanged(true);
    });
}

void Month::sleepFor(Duration duration, bool isAnnounced)
{
    note(u"%1 sleep of %2 minutes"_s.arg(isAnnounced ? u"announced"_s : u"sudden"_s).arg(duration / 1min));
    if (isAnnounced && m_app)
        m_app->wakeWatch().prepareForSleep(true);
    settle();
    // What the program is being told will be some time old when it reads it.
    m_isTimeUnsure = m_isTimeUnsure || m_github.openRequests() > 0;
    m_clock.suspend(duration);
    if (isAnnounced && m_app)
        m_app->wakeWatch().prepareForSleep(false);
}

void Month::setClockWrong()
{
    const auto skew = m_random.chance(50) ? between(10s, 20h) : -between(10s, 20h);
    note(u"clock wrong by %1 s"_s.arg(skew / 1s));
    setSkew(skew);
    m_clock.onMachine(between(1min, 90min), [this] {
        note(u"clock right"_s);
        setSkew(0s);
    });
}

void Month::setSkew(Duration skew)
{
    m_oracle.clockSet(m_clock.now());
    m_isTimeUnsure = true;
    m_clock.setSkew(skew);
    m_github.forgetPauses();
}

Month::Duration Month::between(Duration least, Duration most)
{
    return std::chrono::seconds(m_random.between(least / 1s, most / 1s));
}

void Month::note(const QString &event)
{
    ++m_counts[event.section(u' ', 0, 1).remove(u':')];
    m_latest.push_back(u"%1 min: %2"_s.arg((m_clock.truth() - m_begin) / 1min).arg(event));
    if (m_latest.size() > kMostLatest)
        m_latest.pop_front();
}

QString Month::where() const
{
    QString text = u"seed %1, %2 repositories, minute %3\n"_s.arg(m_options.seed)
                       .arg(m_options.repositories)
                       .arg((m_clock.truth() - m_begin) / 1min);
    for (const QString &event : m_latest)
        text += u"  "_s + event + u'\n';
    text
        += u"replay: VELMORA_MONTH_SEED=%1 VELMORA_MONTH_DAYS=%2 VELMORA_MONTH_REPOSITORIES=%3 VELMORA_MONTH_KEPT=%4\n"_s
               .arg(m_options.seed)
               .arg(m_options.days)
               .arg(m_options.repositories)
               .arg(m_options.kept);
    return text;
}

QString Month::report() const
{
    constexpr double kMebibyte = 1024 * 1024;
    constexpr double kMillisecondsInMinute = 60'000;
    QString text = u"%1 simulated days, %2 repositories, seed %3\n"_s.arg(m_options.days)
                       .arg(m_options.repositories)
                       .arg(m_options.seed);
    text += u"  %1 requests, %2 deployments\n"_s.arg(m_github.requestCount()).arg(m_github.team.deploymentCount());
    text += u"  %1 notifications had to come and came; %2 could or not, %3 were lost in kills\n"_s
                .arg(m_oracle.expectedCount() - m_oracle.lostCount())
                .arg(m_oracle.undecidedCount())
                .arg(m_oracle.lostCount());
    text += u"  %1 minutes (aim for 30 days: 10)\n"_s.arg(
        double(m_realTime.elapsed()) / kMillisecondsInMinute, 0, 'f', 1);
    text += u"  memory of the last day against the first %1 (aim 1.1); in MiB after each day:"_s.arg(
        memoryGrowth(), 0, 'f', 2);
    for (const qint64 memory : m_memory)
        text += u" %1"_s.arg(double(memory) / kMebibyte, 0, 'f', 1);
    text += u"\n  of that allocated:"_s;
    for (const qint64 memory : m_allocated)
        text += u" %1"_s.arg(double(memory) / kMebibyte, 0, 'f', 1);
    text += u"\n  "_s;
    QStringList kinds = m_counts.keys();
    kinds.sort();
    for (QString &kind : kinds)
        kind = u"%1 × %2"_s.arg(m_counts.value(kind)).arg(kind);
    return text + kinds.join(u", "_s) + u'\n';
}

} // namespace velmora::testing
