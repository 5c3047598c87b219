// SPDX-License-Identifier: MIT
#include "month_oracle.h"

#include <QLoggingCategory>

namespace velmora::testing
{

using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace
{

Q_LOGGING_CATEGORY(oracleLog, "month.oracle", QtWarningMsg)

constexpr auto kResultLifetime = 24h;
/// How far the program's idea of the time may be from that of a round's end.
constexpr auto kTolerance = 10min;

} // namespace

void MonthOracle::programStarted(Instant now)
{
    m_answered.clear();
    m_perhapsAnswered.clear();
    m_round.clear();
    m_loaded.clear();
    const auto away = m_savedAt ? now - *m_savedAt : 1000h;
    m_isHandOverSure = away < 54min || away > 61min;
    if (!m_isHandOverSure || away < 54min)
        return;
    for (auto seen = m_held.cbegin(); seen != m_held.cend(); ++seen)
        m_stale.insert(seen.key());
    m_held.clear();
}

void MonthOracle::programEnded(End end)
{
    // What the program knew at its end cannot be told of the answers that it had not finished with.
    for (const Round &round : std::as_const(m_round)) {
        for (const ToldRepository &repository : round.told) {
            for (const ToldDeployment &deployment : *repository.deployments)
                leaveOpen(keyOf(deployment));
        }
    }
    const auto muted = std::exchange(m_muted, {});
    for (const QString &key : muted)
        leaveOpen(key);
    const auto pending = std::exchange(m_pending, {});
    for (const QString &key : pending) {
        if (m_fresh.contains(key))
            withdraw(key);
        else
            m_inherited.insert(key);
    }
    if (end == End::Killed)
        ++m_mayBeLost;
    excuseDelays();
}

void MonthOracle::removed(const QString &login)
{
    // What waits for the notification daemon may still be announced, or not.
    const QSet<int> repositories = m_listed.value(login);
    const auto isGone = [&](const QString &key) {
        const auto seen = m_held.constFind(key.section(u':', 0, 0));
        return seen == m_held.cend() || repositories.contains(seen->repository);
    };
    const auto waiting = m_pending + m_inherited;
    for (const QString &key : waiting) {
        if (isGone(key))
            withdraw(key);
    }
    m_round.remove(login);
    setListed(login, {});
    m_listed.remove(login);
    m_loaded.remove(login);
}

void MonthOracle::switched(Kind kind, bool isOn)
{
    if (isOn) {
        m_off.remove(kind);
        const auto muted = m_muted;
        for (const QString &key : muted) {
            if (kindOf(key) == kind)
                leaveOpen(key);
        }
        return;
    }
    m_off.insert(kind);
    const auto waiting = m_pending + m_inherited;
    for (const QString &key : waiting) {
        if (kindOf(key) == kind)
            withdraw(key);
    }
}

void MonthOracle::clockSet(Instant before)
{
    for (const Seen &seen : std::as_const(m_held)) {
        if (before - seen.updatedAt > kResultLifetime - kTolerance)
            leaveOpen(seen.key);
    }
}

/// What was expected need not come any more.
void MonthOracle::withdraw(const QString &key)
{
    m_pending.remove(key);
    m_fresh.remove(key);
    m_inherited.remove(key);
    m_open.insert(key);
    ++m_undecided;
}

void MonthOracle::rested()
{
    m_fresh.clear();
    m_muted.clear();
}

void MonthOracle::told(const QString &login, const QList<ToldRepository> &repositories)
{
    m_round[login].told += repositories;
}

void MonthOracle::roundEnded(const QString &login, Instant now, bool isTimeSure)
{
    const Round round = m_round.take(login);
    if (round.listed)
        setListed(login, *round.listed);
    for (const ToldRepository &repository : round.told) {
        if (round.isSpoiled)
            considerPartly(repository);
        else
            judge(repository, now, isTimeSure);
    }
    if (!round.isSpoiled && !round.told.isEmpty())
        m_savedAt = now;
}

/// What happens to a repository while it is not listed is history when it is listed again. Until all accounts are
/// listed in a run, the program may take it for one of the others.
void MonthOracle::setListed(const QString &login, const QSet<int> &repositories)
{
    QSet<int> gone = m_listed.value(login) - repositories;
    m_listed[login] = repositories;
    m_loaded.insert(login);
    for (const QSet<int> &others : std::as_const(m_listed))
        gone -= others;
    m_answered -= gone;
    const bool isCertain = m_loaded.size() == m_listed.size();
    for (auto seen = m_held.cbegin(); seen != m_held.cend() && !isCertain; ++seen) {
        if (gone.contains(seen->repository))
            m_stale.insert(seen.key());
    }
    m_held.removeIf([&](const auto &entry) { return gone.contains(entry->repository); });
}

/// The program may have asked once more for what did not arrive, without the oracle knowing it for the same request.
void MonthOracle::considerPartly(const ToldRepository &repository)
{
    for (const ToldDeployment &deployment : *repository.deployments) {
        if (standingOf(deployment.state) == Standing::Active)
            m_stale.insert(deployment.id);
        const QString key = keyOf(deployment);
        if (isOff(key))
            leaveOpen(key);
        else if (!m_settled.contains(key))
            m_early.insert(key);
    }
    if (!m_answered.contains(repository.number))
        m_perhapsAnswered.insert(repository.number);
}

void MonthOracle::judge(const ToldRepository &repository, Instant now, bool isTimeSure)
{
    const bool isFirst = !m_answered.contains(repository.number);
    const bool isFirstUnsure = !m_isHandOverSure || m_perhapsAnswered.contains(repository.number);
    QHash<QString, Seen> held;
    for (const ToldDeployment &deployment : *repository.deployments) {
        const Standing standing = standingOf(deployment.state);
        if (standing == Standing::Other)
            continue;
        const auto age = now - deployment.updatedAt;
        const auto lifetime = standing == Standing::Active ? 7 * kResultLifetime : kResultLifetime;
        const bool isCertain = isTimeSure && age < lifetime - kTolerance;
        if (isTimeSure && age > lifetime + kTolerance)
            continue;
        if (standing != Standing::Active)
            judge(deployment, isFirst, !isCertain || (isFirst && (isFirstUnsure || m_stale.contains(deployment.id))));
        m_stale.remove(deployment.id);
        held.insert(deployment.id, {repository.number, standing, keyOf(deployment), deployment.updatedAt});
    }
    m_held.removeIf(
        [&](const auto &entry) { return entry->repository == repository.number && !held.contains(entry.key()); });
    m_held.insert(held);
    m_answered.insert(repository.number);
    m_perhapsAnswered.remove(repository.number);
}

void MonthOracle::judge(const ToldDeployment &deployment, bool isFirst, bool isUndecidable)
{
    const QString key = keyOf(deployment);
    if (!m_settled.contains(key))
        qCDebug(oracleLog) << "told of" << key << "first" << isFirst << "undecidable" << isUndecidable;
    if (m_inherited.contains(key)) {
        if (isOff(key))
            return withdraw(key);
        m_inherited.remove(key);
        return expect(key);
    }
    if (m_settled.contains(key))
        return;
    if (isUndecidable)
        return leaveOpen(key);
    const Standing before = m_held.value(deployment.id).standing;
    if (isFirst && before != Standing::Active)
        m_settled.insert(key);
    else if (before != standingOf(deployment.state))
        expect(key);
}

void MonthOracle::expect(const QString &key)
{
    if (isOff(key)) {
        m_muted.insert(key);
        return;
    }
    m_settled.insert(key);
    m_early.remove(key);
    if (m_announced.contains(key) || m_pending.contains(key))
        return;
    if (m_pending.isEmpty())
        excuseDelays();
    m_pending.insert(key);
    m_fresh.insert(key);
    ++m_expected;
}

void MonthOracle::leaveOpen(const QString &key)
{
    if (key.isEmpty() || m_settled.contains(key))
        return;
    m_settled.insert(key);
    m_muted.remove(key);
    m_open.insert(key);
    ++m_undecided;
}

bool MonthOracle::mayCome(const QString &key) const
{
    return m_pending.contains(key) || m_open.contains(key) || m_inherited.contains(key) || m_early.contains(key);
}

void MonthOracle::announcing(const QString &key, Instant now, bool isTimeSure)
{
    if (mayCome(key))
        return;
    const auto tells = [&](const ToldRepository &repository) {
        return std::any_of(repository.deployments->begin(), repository.deployments->end(),
            [&](const ToldDeployment &deployment) { return keyOf(deployment) == key; });
    };
    const QStringList logins = m_round.keys();
    for (const QString &login : logins) {
        const auto &told = m_round[login].told;
        if (std::any_of(told.begin(), told.end(), tells))
            roundEnded(login, now, isTimeSure);
    }
}

void MonthOracle::announced(const QString &key)
{
    if (m_announced.contains(key))
        throw Violation(u"%1 was announced twice"_s.arg(key));
    if (isOff(key))
        throw Violation(u"%1 was announced and is switched off"_s.arg(key));
    m_announced.insert(key);
    qCDebug(oracleLog) << "announced" << key;
    m_settled.insert(key);
    if (!mayCome(key))
        throw Violation(u"%1 was announced and is no news"_s.arg(key));
    m_pending.remove(key);
    m_inherited.remove(key);
    m_open.remove(key);
    m_early.remove(key);
    excuseDelays();
}

void MonthOracle::waited(std::chrono::microseconds duration)
{
    if (m_pending.isEmpty())
        return;
    m_patience -= duration;
    if (m_patience >= 0s)
        return;
    if (m_pending.size() > m_mayBeLost)
        throw Violation(u"%1 was not announced"_s.arg(*m_pending.cbegin()));
    m_mayBeLost -= int(m_pending.size());
    m_lost += int(m_pending.size());
    m_pending.clear();
}

MonthOracle::Standing MonthOracle::standingOf(const QString &state)
{
    static const QHash<QString, Standing> standings{{u"QUEUED"_s, Standing::Active}, {u"PENDING"_s, Standing::Active},
        {u"WAITING"_s, Standing::Active}, {u"IN_PROGRESS"_s, Standing::Active}, {u"SUCCESS"_s, Standing::Success},
        {u"ACTIVE"_s, Standing::Success}, {u"FAILURE"_s, Standing::Failure}, {u"ABANDONED"_s, Standing::Failure},
        {u"ERROR"_s, Standing::Failure}};
    return standings.value(state, Standing::Other);
}

MonthOracle::Kind MonthOracle::kindOf(const QString &key)
{
    return key.endsWith(":success"_L1) ? Kind::Successes : Kind::Failures;
}

/// Empty for what is no result.
QString MonthOracle::keyOf(const ToldDeployment &deployment)
{
    const Standing standing = standingOf(deployment.state);
    if (standing == Standing::Success)
        return deployment.id + ":success"_L1;
    if (standing != Standing::Failure)
        return {};
    return deployment.id + (deployment.state == "ERROR"_L1 ? ":error"_L1 : ":failure"_L1);
}

} // namespace velmora::testing
