// SPDX-License-Identifier: MIT
#include "month_program.h"

#include "http/network_session.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <filesystem>

namespace velmora::testing
{

using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace
{

constexpr int kPatience = 30'000; ///< milliseconds of real time; less than the program has with a silent connection

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

MonthProgram::MonthProgram(MonthWorld *world, quint64 seed)
    : m_world(world)
    , m_chance(seed)
{
}

MonthProgram::~MonthProgram()
{
    m_app.reset();
    m_world->clock.wakeAll();
    for (int turn = 0; turn < 5; ++turn) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

void MonthProgram::start()
{
    m_world->record.note(u"start"_s);
    m_notifier = std::make_unique<MonthNotifier>(&m_world->oracle, &m_world->desktop.service);
    m_notifier->beforeAnnouncement = beforeAnnouncement;
    m_world->oracle.programStarted(m_world->clock.now());
    m_world->github.forgetPauses();
    m_app = std::make_unique<VelmoraApp>(environment());
    m_app->monitor().start(&m_app->authentication(), &m_app->installations());
    launch(m_app->settings().prepareNotifications(), "Preparing notifications");
    QObject::connect(
        &m_app->authentication(), &AuthenticationStore::sessionsChanged, &m_app->monitor(), accountsChanged);
}

void MonthProgram::end(MonthOracle::End end)
{
    const bool isKilled = end == MonthOracle::End::Killed;
    m_world->oracle.programEnded(end);
    auto files = isKilled ? copyOf(*m_home) : nullptr;
    *m_world->desktop.keyring->isAlive = !isKilled;
    m_notifier->isAlive = !isKilled;
    m_app.reset();
    settle();
    if (files)
        m_home = std::move(files);
}

AppEnvironment MonthProgram::environment()
{
    const QUrl web = m_world->github.simulator.url();
    AppEnvironment environment;
    environment.applicationName = QString::fromUtf16(kApplicationName);
    environment.configuration.githubClientID = simulator::demoClientID();
    environment.configuration.apiURL = web;
    environment.configuration.webURL = web;
    environment.configuration.loginURL = web.resolved(QUrl(u"/login"_s));
    environment.configuration.appSlug = u"velmora"_s;
    environment.directories = XDGDirectories::under(m_home->path());
    m_world->desktop.keyring = m_world->desktop.keyring->successor();
    environment.openCredentials = [keyring = m_world->desktop.keyring](const QString &) {
        return keyring;
    };
    environment.pasteboard = &m_world->desktop.pasteboard;
    environment.urlOpener = &m_world->desktop.browser;
    environment.notifier = m_notifier.get();
    environment.clock = &m_world->clock;
    environment.random = [this] {
        return double(m_chance.between(0, 999)) / 1'000;
    };
    environment.monotonic = [this] {
        return m_world->clock.monotonic();
    };
    return environment;
}

void MonthProgram::settle()
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
    m_world->github.throwIfViolated();
    if (m_notifier && !m_notifier->violation.isEmpty())
        throw Violation(m_notifier->violation);
}

bool MonthProgram::isBusy() const
{
    if (!m_app)
        return m_world->github.openRequests() > 0;
    // A request that only one side knows of is being transmitted, or its answer is.
    return m_app->network().openRequests() != m_world->github.openRequests() || m_world->github.isDripNews()
        || m_app->files().cache.isBusy() || m_app->files().preferences.isSaving();
}

QString MonthProgram::restlessness() const
{
    if (!m_app)
        return u"without a program %1 requests are open"_s.arg(m_world->github.openRequests());
    return u"it has %1 requests open, GitHub %2; an answer drips: %3, files are written: %4 %5"_s
        .arg(m_app->network().openRequests())
        .arg(m_world->github.openRequests())
        .arg(m_world->github.isDripNews())
        .arg(m_app->files().cache.isBusy())
        .arg(m_app->files().preferences.isSaving());
}

} // namespace velmora::testing
