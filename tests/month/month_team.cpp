// SPDX-License-Identifier: MIT
#include "month_team.h"

namespace velmora::testing
{

using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

MonthTeam::MonthTeam(MonthClock *clock, simulator::Simulator *simulator, quint64 seed, int kept,
    std::function<void(int repository)> touched)
    : m_clock(clock)
    , m_simulator(simulator)
    , m_random(seed)
    , m_kept(kept)
    , m_touched(std::move(touched))
{
}

void MonthTeam::found(const QStringList &logins, int repositories)
{
    simulator::World &world = m_simulator->world();
    world = simulator::World();
    // Each user has a few repositories, and an organisation with many.
    for (const QString &login : logins) {
        const int user = world.addOwner(login, login, false);
        const int organisation = world.addOwner(login + "-works"_L1, login, true);
        QList<int> own;
        QList<int> shared;
        for (int number = 0; number < repositories / int(logins.size()); ++number) {
            const bool isOwn = number % 4 == 0;
            const int repository = world.addRepository(isOwn ? user : organisation, u"service-%1"_s.arg(number));
            (isOwn ? own : shared).append(repository);
        }
        world.addInstallation(user, {user}, own);
        world.addInstallation(organisation, {user}, shared);
    }
    addHistory();
}

/// Deployments of the weeks before, as many as are kept, so that the first day takes as much memory as the last.
void MonthTeam::addHistory()
{
    for (int repository = 0; repository < repositoryCount(); ++repository) {
        for (int age = m_kept; age > 0; --age) {
            const auto script = makeScript(m_random, m_simulator->world(), repository, m_simulator->url());
            const auto end = m_simulator->now() - std::chrono::milliseconds(age * 48h).count();
            const QString id = beginDeployment(m_simulator->world(), script, end);
            applyStep(m_simulator->world(), script, id, script.steps.last(), end);
        }
    }
}

void MonthTeam::beginDeployments(std::chrono::seconds longestPause, std::chrono::seconds longestAtNight)
{
    m_longestPause = longestPause;
    m_longestAtNight = longestAtNight;
    deployNext();
}

void MonthTeam::deployNext()
{
    const auto sinceMidnight = m_clock->truth() - std::chrono::floor<std::chrono::days>(m_clock->truth());
    const std::chrono::weekday day(std::chrono::floor<std::chrono::days>(m_clock->truth()));
    const bool isAtWork
        = day != std::chrono::Saturday && day != std::chrono::Sunday && sinceMidnight > 8h && sinceMidnight < 19h;
    const auto longest = isAtWork ? m_longestPause : m_longestAtNight;
    const std::chrono::seconds pause(m_random.between(1, longest.count()));
    m_clock->inWorld(pause, [this] {
        const int repository = int(m_random.between(0, repositoryCount() - 1));
        simulator::Script script = makeScript(m_random, m_simulator->world(), repository, m_simulator->url());
        if (m_random.chance(3)) // a deployment that waits for days
            script.steps.insert(
                script.steps.size() - 1, {m_random.between(1, 300'000'000), u"WAITING"_s, std::nullopt});
        if (m_random.chance(10)) // one that is run again
            script.steps += {{m_random.between(1'000, 3'000'000), u"IN_PROGRESS"_s, std::nullopt}, script.steps.last()};
        if (m_random.chance(5)) // one whose result changes
            script.steps.append({m_random.between(1'000, 600'000),
                m_random.pick(QList<QString>{u"ERROR"_s, u"FAILURE"_s, u"SUCCESS"_s, u"INACTIVE"_s}), std::nullopt});
        const QString id = beginDeployment(m_simulator->world(), script, m_simulator->now());
        ++m_deployments;
        m_touched(repository);
        play(script, id, 0);
        deployNext();
    });
}

void MonthTeam::play(const simulator::Script &script, const QString &id, qsizetype step)
{
    if (step == script.steps.size()) {
        auto &deployments = m_simulator->world().change(script.repository).deployments;
        while (deployments.size() > std::size_t(m_kept) && !isUnderWay(deployments.back()))
            deployments.pop_back();
        m_touched(script.repository);
        return;
    }
    m_clock->inWorld(std::chrono::milliseconds(script.steps[step].after), [this, script, id, step] {
        applyStep(m_simulator->world(), script, id, script.steps[step], m_simulator->now());
        m_touched(script.repository);
        play(script, id, step + 1);
    });
}

void MonthTeam::setSuspended(int installation, bool isSuspended)
{
    m_simulator->world().changeInstallation(installation).isSuspended = isSuspended;
}

void MonthTeam::setInstalled(int installation, bool isInstalled)
{
    const int user = installation / 2 * 2; // each user comes before the organisation
    QSet<int> identities;
    if (isInstalled)
        identities.insert(user);
    m_simulator->world().changeInstallation(installation).identities = identities;
}

void MonthTeam::rename(int repository)
{
    m_simulator->world().change(repository).name = u"renamed-%1"_s.arg(++m_renamed);
}

/// From the user to the organisation, or back.
void MonthTeam::transfer(int repository)
{
    const auto &installations = m_simulator->world().installations();
    for (int from = 0; from < installations.size(); ++from) {
        if (!installations[from].repositories.contains(repository))
            continue;
        m_simulator->world().moveRepository(repository, from, from % 2 == 0 ? from + 1 : from - 1);
        rename(repository);
        return;
    }
}

} // namespace velmora::testing
