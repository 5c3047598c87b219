// SPDX-License-Identifier: MIT
#include "monitor/environments.h"

#include "monitor/deployment_list.h"
#include "platform/preferences.h"
#include "support/background.h"
#include "support/clock.h"
#include "support/error.h"
#include "support/private_file.h"

#include <QPointer>

namespace velmora
{

namespace
{

constexpr std::chrono::seconds kRetryPause{30};

/// What was read, or why not.
struct Reading {
    SeenEnvironments seen;
    QString failure;
};

Reading readRecord(const QString &path)
{
    try {
        const auto content = readPrivateFile(path);
        return {content ? SeenEnvironments::decoded(*content) : SeenEnvironments(), {}};
    } catch (const Error &error) {
        return {{}, error.description()};
    }
}

} // namespace

Environments::Environments(Preferences *defaults, const Clock *clock, QString path, QObject *parent)
    : QObject(parent)
    , m_defaults(defaults)
    , m_clock(clock)
    , m_path(std::move(path))
{
    m_pool.setMaxThreadCount(1);
    connect(defaults, &Preferences::changed, this, [this](const QString &key) {
        if (isEnvironmentChoice(key))
            announce();
    });
}

Environments::~Environments()
{
    m_pool.waitForDone();
}

const QList<EnvironmentLine> &Environments::lines() const
{
    if (!m_lines)
        m_lines = environmentLines(m_seen, choices());
    return *m_lines;
}

EnvironmentRule Environments::ruleOf(const DeploymentSnapshot &deployment) const
{
    const EnvironmentChoices chosen = choices();
    const EnvironmentChoice choice = EnvironmentRules(chosen).choice(deployment);
    const QString environment = deployment.environment.toCaseFolded();
    for (const EnvironmentRule &rule : chosen.rules) {
        if (rule.repositoryID == deployment.repositoryNodeID && rule.choice == choice
            && isNamed(environment, rule.pattern.toCaseFolded()))
            return rule;
    }
    return {patternOfLine(deployment.environment, lines()), choice};
}

void Environments::announce()
{
    m_lines.reset();
    Q_EMIT changed();
}

std::optional<QString> Environments::repositoryNamed(const QString &name) const
{
    const auto &repositories = m_seen.repositories();
    const auto found = std::ranges::find_if(repositories, [&](const SeenEnvironments::Repository &repository) {
        return repository.name.compare(name, Qt::CaseInsensitive) == 0;
    });
    return found == repositories.end() ? std::nullopt : std::optional(found.key());
}

bool Environments::isSeen(const QString &environment) const
{
    return std::ranges::any_of(m_seen.repositories(), [&](const SeenEnvironments::Repository &repository) {
        return std::any_of(repository.environments.keyBegin(), repository.environments.keyEnd(),
            [&](const QString &name) { return name.compare(environment, Qt::CaseInsensitive) == 0; });
    });
}

void Environments::choose(const QList<EnvironmentRule> &rules)
{
    storeEnvironmentChoices(m_defaults, withRules(choices(), rules));
}

void Environments::setOnlyProduction(bool isOnly)
{
    storeEnvironmentChoices(m_defaults, withOnlyProduction(choices(), isOnly));
}

QCoro::Task<> Environments::load()
{
    if (m_isLoaded)
        co_return;
    if (m_path.isEmpty()) {
        m_isLoaded = true;
        co_return;
    }
    const QPointer<Environments> self(this);
    auto read = [path = m_path] {
        return readRecord(path);
    };
    const Reading reading = co_await runInBackground(&m_pool, std::move(read));
    if (!self)
        co_return;
    m_isLoaded = true;
    m_seen = reading.seen;
    m_seen.forgetOld(today());
    if (!reading.failure.isEmpty())
        Q_EMIT damageFound(QStringLiteral("The record of environments begins anew: ") + reading.failure);
    announce();
}

QDate Environments::today() const
{
    const auto days = std::chrono::floor<std::chrono::days>(m_clock->now()).time_since_epoch();
    return QDate(1970, 1, 1).addDays(days.count());
}

void Environments::see(const DeploymentList &deployments)
{
    const QDate day = today();
    const bool isNewDay = std::exchange(m_day, day) != day;
    if (isNewDay)
        m_lastSeen.clear();
    const bool isNews = m_seen.see(changedSince(m_lastSeen, deployments), day);
    m_lastSeen = deployments;
    const bool hasForgotten = (isNewDay || isNews) && m_seen.forgetOld(day);
    if (!isNews && !hasForgotten)
        return;
    m_isUnsaved = true;
    save();
    announce();
}

void Environments::retain(const QList<RepositoryRecord> &reachable)
{
    QSet<QString> ids;
    QSet<QString> names;
    for (const RepositoryRecord &record : reachable) {
        ids.insert(record.id());
        names.insert(record.repository.nameWithOwner);
    }
    if (!m_seen.retain(ids, names))
        return;
    m_lastSeen.clear(); // what is forgotten may be seen again
    m_isUnsaved = true;
    save();
    announce();
}

void Environments::saveAgain()
{
    if (!m_failure.isEmpty() && m_clock->now() >= m_retryAt)
        save();
}

void Environments::save()
{
    if (!m_isWriting && !m_path.isEmpty())
        m_scope.launch(write(), "Saving the record of environments");
}

QCoro::Task<> Environments::write()
{
    const QPointer<Environments> self(this);
    m_isWriting = true;
    while (std::exchange(m_isUnsaved, false)) {
        auto replace = [path = m_path, seen = m_seen] {
            writePrivateFile(path, seen.encoded());
        };
        QString failure;
        try {
            co_await runInBackground(&m_pool, std::move(replace));
        } catch (...) {
            failure = describe(std::current_exception());
        }
        if (!self)
            co_return;
        setFailure(failure);
        if (!failure.isEmpty()) {
            m_isUnsaved = true;
            m_retryAt = m_clock->now() + kRetryPause;
            break;
        }
    }
    m_isWriting = false;
}

void Environments::setFailure(const QString &failure)
{
    if (std::exchange(m_failure, failure) != failure)
        Q_EMIT failureChanged();
}

} // namespace velmora
