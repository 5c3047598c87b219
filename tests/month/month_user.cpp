// SPDX-License-Identifier: MIT
#include "month_user.h"

namespace velmora::testing
{

using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

MonthUser::MonthUser(MonthWorld *world, const MonthProgram *program)
    : m_world(world)
    , m_program(program)
{
}

void MonthUser::connect(const QString &login)
{
    m_world->record.note(u"connect "_s + login);
    m_program->app()->authentication().startConnecting();
    m_world->clock.onMachine(2s, [this, login] {
        if (m_program->app() && m_program->app()->authentication().pendingAuthorization())
            std::ignore
                = m_world->github.approve(m_program->app()->authentication().pendingAuthorization()->userCode, login);
    });
}

void MonthUser::lookAtAccounts()
{
    m_world->clock.onMachine(m_world->random.between(5min, 30min), [this] { lookAtAccounts(); });
    if (!m_program->app() || !m_world->desktop.keyring->isOpen())
        return;
    const AuthenticationStore &authentication = m_program->app()->authentication();
    const auto sessions = authentication.sessions();
    for (const GitHubAccountSession &session : sessions) {
        if (authentication.hasEnded(session.id()))
            return connect(session.account.login);
    }
    for (const QString &login : MonthGitHub::logins()) {
        if (!isListed(login) && !m_removed.contains(login))
            return connect(login);
    }
}

void MonthUser::decide()
{
    if (!m_program->app())
        return;
    if (m_world->random.chance(35) && m_world->desktop.keyring->isOpen())
        return remove(m_world->random.pick(MonthGitHub::logins()));
    switchNotifications(m_world->random.chance(50) ? MonthOracle::Kind::Failures : MonthOracle::Kind::Successes, false);
}

/// Some time later it is connected again.
void MonthUser::remove(const QString &login)
{
    const auto sessions = m_program->app()->authentication().sessions();
    for (const GitHubAccountSession &session : sessions) {
        if (session.account.login != login)
            continue;
        m_world->record.note(u"remove "_s + login);
        m_removed.insert(login);
        launch(m_program->app()->authentication().remove(session.id()), "Removing an account");
        m_world->clock.onMachine(m_world->random.between(1min, m_world->random.chance(70) ? 20min : 5h),
            [this, login] { m_removed.remove(login); });
    }
}

void MonthUser::noticeRemovals()
{
    for (const QString &login : std::as_const(m_removed)) {
        if (!isListed(login))
            m_world->oracle.removed(login);
    }
}

/// Off for some time, and on again.
void MonthUser::switchNotifications(MonthOracle::Kind kind, bool isOn)
{
    const bool isFailures = kind == MonthOracle::Kind::Failures;
    if (!m_program->app()) {
        if (isOn)
            m_world->clock.onMachine(1min, [this, kind] { switchNotifications(kind, true); });
        return;
    }
    m_world->record.note(
        u"%1 switched %2"_s.arg(isFailures ? u"failures"_s : u"successes"_s, isOn ? u"on"_s : u"off"_s));
    m_program->app()->settings().setNotificationPreference(
        isOn, isFailures ? DeploymentNotificationKind::Failure : DeploymentNotificationKind::Success);
    m_world->oracle.switched(kind, isOn);
    if (!isOn) {
        m_world->clock.onMachine(m_world->random.between(1min, m_world->random.chance(80) ? 40min : 4h),
            [this, kind] { switchNotifications(kind, true); });
    }
}

bool MonthUser::isListed(const QString &login) const
{
    const auto &sessions = m_program->app()->authentication().sessions();
    return std::any_of(sessions.begin(), sessions.end(),
        [&](const GitHubAccountSession &session) { return session.account.login == login; });
}

} // namespace velmora::testing
