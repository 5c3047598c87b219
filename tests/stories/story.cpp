// SPDX-License-Identifier: MIT
#include "story.h"

#include "monitor/polling_schedule.h"

#include <stdexcept>

namespace velmora::testing
{

namespace
{

void require(bool holds, const char *what)
{
    if (!holds)
        throw std::runtime_error(what);
}

} // namespace

QStringList StoryDesktop::notifications() const
{
    QStringList summaries;
    for (const NotificationRequest &request : notificationServer->requests)
        summaries.append(request.summary);
    return summaries;
}

StoryProgram::StoryProgram(StoryGitHub *github, StoryDesktop *desktop, FakeClock *clock)
    : m_github(github)
    , m_desktop(desktop)
    , m_clock(clock)
{
    m_desktop->keyring->isLocked = false;
    starts();
}

StoryProgram::StoryProgram(const StoryProgram &other)
    : m_github(other.m_github)
    , m_desktop(other.m_desktop)
    , m_clock(other.m_clock)
    , m_home(other.m_home)
{
    starts();
}

StoryProgram::~StoryProgram()
{
    ends();
}

void StoryProgram::starts()
{
    m_app = std::make_unique<VelmoraApp>(environment(&m_desktop->notifier));
    m_control = std::make_unique<LocalControl>(m_app->stores(), m_app->ports());
    m_desktop->notifier.setMuting(
        [this](const QString &repositoryNodeID) { m_app->monitor().announcements().muted().mute(repositoryNodeID); });
    m_app->monitor().start(&m_app->authentication(), &m_app->installations());
    awaitValue(m_app->settings().prepareNotifications());
    comesToRest();
}

void StoryProgram::runsOnce()
{
    m_app = std::make_unique<VelmoraApp>(environment(&m_waitingNotifier));
    m_control = std::make_unique<LocalControl>(m_app->stores(), m_app->ports());
    std::ignore = awaitValue(m_control->refresh({}));
    ends();
}

void StoryProgram::ends()
{
    m_desktop->notifier.setMuting({});
    m_control.reset();
    m_app.reset();
    // Work under way ends in the event loop.
    drainEvents();
}

void StoryProgram::restarts()
{
    ends();
    starts();
}

void StoryProgram::comesToRest()
{
    drainEvents();
    while (m_app && !m_github->isHoldingBack()) {
        require(waitUntil([this] { return isAtRest() || m_github->isHoldingBack(); }), "the program comes to no rest");
        // The list is published, then saved, then announced. The cache works in order, so all earlier saves are done
        // when load() returns.
        awaitValue(m_app->files().cache.load());
        drainEvents();
        if (isAtRest())
            return;
    }
}

/// The polling loop sleeps, and no request to GitHub or write of the preferences is under way. The polling loop goes on
/// without an account whose token is being renewed, so the renewal counts as well: GitHub may have answered it, but the
/// answer may still be on its way.
bool StoryProgram::isAtRest() const
{
    const auto isRenewed = [](const GitHubAccountSession &session) {
        return session.status == GitHubSessionStatus::Refreshing;
    };
    return m_clock->isSleeping(kTickInterval) && !m_app->monitor().isRefreshing() && !m_github->isAnswering()
        && std::ranges::none_of(m_app->authentication().sessions(), isRenewed)
        && !m_app->files().preferences.isSaving();
}

QStringList StoryProgram::shows() const
{
    QStringList rows;
    for (const DeploymentSnapshot &deployment : m_app->monitor().deployments()) {
        const QStringList row{deployment.repositoryName, deployment.environment, rawValue(deployment.state)};
        rows.append(row.join(QLatin1Char(' ')));
    }
    return rows;
}

QString StoryProgram::hint()
{
    return awaitValue(m_control->report({})).hint;
}

QStringList StoryProgram::repositories() const
{
    QStringList names;
    const auto monitored = m_app->installations().monitoredRepositories();
    for (const RepositoryRecord &record : monitored)
        names.append(record.repository.nameWithOwner);
    return names;
}

AppEnvironment StoryProgram::environment(DeploymentNotifying *notifier)
{
    QUrl web = m_github->simulator.url();
    if (!host.isEmpty())
        web.setHost(host);
    AppEnvironment environment;
    environment.applicationName = QString::fromUtf16(kApplicationName);
    environment.configuration.githubClientID = simulator::demoClientID();
    environment.configuration.apiURL = web;
    environment.configuration.webURL = web;
    environment.configuration.loginURL = web.resolved(QUrl(QStringLiteral("/login")));
    environment.configuration.appSlug = QStringLiteral("velmora");
    environment.directories = XDGDirectories::under(m_home->path());
    environment.openCredentials = [keyring = m_desktop->keyring](const QString &) {
        return keyring;
    };
    environment.pasteboard = &m_desktop->pasteboard;
    environment.urlOpener = &m_desktop->browser;
    environment.notifier = notifier;
    environment.clock = m_clock;
    environment.monotonic = [this] {
        const auto awake = m_clock->now().time_since_epoch() - suspended;
        return std::chrono::steady_clock::time_point(awake);
    };
    return environment;
}

void StoryTime::passes(std::chrono::microseconds duration)
{
    m_program->comesToRest();
    const Instant end = m_clock->now() + duration;
    while (m_clock->advanceToNextWake(end))
        m_program->comesToRest();
    m_clock->setNow(end);
}

void StoryTime::passesAsleep(std::chrono::microseconds duration)
{
    m_program->suspended += duration;
    m_clock->setNow(m_clock->now() + duration);
}

void StoryUser::connects(const QString &login)
{
    m_github->joins(login);
    AuthenticationStore &authentication = m_program->app().authentication();
    authentication.startConnecting();
    require(waitUntil([&] { return authentication.pendingAuthorization().has_value(); }), "there is no code");
    require(m_github->simulator.oauth().approve(authentication.pendingAuthorization()->userCode, login),
        "GitHub does not know the code");
    m_time->passes(std::chrono::seconds(m_github->simulator.oauth().settings().interval));
    require(waitUntil([&] { return authentication.connectionState() == GitHubSessionStatus::Connected; }),
        "the account is not connected");
    m_program->comesToRest();
}

void StoryUser::removes(const QString &login)
{
    AuthenticationStore &authentication = m_program->app().authentication();
    const auto sessions = authentication.sessions();
    for (const GitHubAccountSession &session : sessions) {
        if (session.account.login == login)
            std::ignore = start(authentication.remove(session.id()));
    }
    require(!session(login), "there is no such account to be removed");
    m_program->comesToRest();
}

void StoryUser::refreshes()
{
    std::ignore = awaitValue(m_program->control().refresh({}));
    m_program->comesToRest();
}

void StoryUser::comesBack()
{
    VelmoraApp &app = m_program->app();
    const auto look = start(app.monitor().refreshExpected(&app.authentication(), &app.installations()));
    m_program->comesToRest();
    require(look->isDone || m_github->isHoldingBack(), "the look at the installations does not end");
}

void StoryUser::managesInstallations()
{
    std::ignore = m_program->app().installationPage().open();
}

void StoryUser::excludes(const QString &repository)
{
    Switches switches;
    switches.off = {repository};
    const RepositoriesAnswer answer = awaitValue(m_program->control().repositories(switches, {}));
    require(answer.refusal.isEmpty(), "there is no such repository");
    m_program->comesToRest();
}

void StoryUser::isNotifiedAbout(const QString &kind)
{
    NotificationSwitches switches;
    switches.on = {kind};
    switchNotifications(switches);
}

void StoryUser::isNotifiedOnlyAboutOwn()
{
    NotificationSwitches switches;
    switches.onlyMine = true;
    switchNotifications(switches);
}

void StoryUser::switchNotifications(const NotificationSwitches &switches)
{
    const NotificationsAnswer answer = awaitValue(m_program->control().notifications(switches, {}));
    require(answer.refusal.isEmpty(), "the notifications were not switched");
    m_program->comesToRest();
}

std::optional<GitHubSessionStatus> StoryUser::session(const QString &login) const
{
    const auto sessions = m_program->app().authentication().sessions();
    const auto found
        = std::ranges::find(sessions, login, [](const GitHubAccountSession &session) { return session.account.login; });
    return found == sessions.end() ? std::nullopt : std::optional(found->status);
}

} // namespace velmora::testing
