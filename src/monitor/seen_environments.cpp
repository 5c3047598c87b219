// SPDX-License-Identifier: MIT
#include "monitor/seen_environments.h"

#include "support/json_coding.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace velmora
{

namespace
{

constexpr qint64 kDaysToForget = 30;
constexpr qsizetype kMost = 20'000;

struct StoredEnvironment {
    QString name;
    QString day;
};

struct StoredRepository {
    QString id;
    QString name;
    QList<StoredEnvironment> environments;
};

struct StoredRecord {
    QList<StoredRepository> repositories;
};

} // namespace

template <>
struct JSONTable<StoredEnvironment> {
    using Record = StoredEnvironment;
    static constexpr auto fields
        = std::tuple{json::required("name", &Record::name), json::required("lastSeen", &Record::day)};
};

template <>
struct JSONTable<StoredRepository> {
    using Record = StoredRepository;
    static constexpr auto fields = std::tuple{json::required("id", &Record::id), json::required("name", &Record::name),
        json::required("environments", &Record::environments)};
};

template <>
struct JSONTable<StoredRecord> {
    using Record = StoredRecord;
    static constexpr auto fields = std::tuple{json::required("repositories", &Record::repositories)};
};

bool SeenEnvironments::see(const DeploymentList &deployments, QDate day)
{
    bool isNews = false;
    for (const DeploymentSnapshot &deployment : deployments) {
        Repository &repository = m_repositories[deployment.repositoryNodeID];
        QDate &lastSeen = repository.environments[deployment.environment];
        isNews = isNews || lastSeen != day || repository.name != deployment.repositoryName;
        lastSeen = day;
        repository.name = deployment.repositoryName;
    }
    return isNews;
}

bool SeenEnvironments::forgetOld(QDate today)
{
    std::vector<QDate> days;
    for (const Repository &repository : std::as_const(m_repositories))
        std::ranges::copy(repository.environments, std::back_inserter(days));
    QDate oldest = today.addDays(1 - kDaysToForget);
    if (std::ssize(days) > kMost) {
        const auto firstTooMany = days.begin() + kMost;
        std::ranges::nth_element(days, firstTooMany, std::greater());
        oldest = std::min(today, std::max(oldest, firstTooMany->addDays(1)));
    }
    qsizetype forgotten = 0;
    for (Repository &repository : m_repositories)
        forgotten += repository.environments.removeIf([&](const auto &entry) { return entry.value() < oldest; });
    m_repositories.removeIf([](const auto &entry) { return entry.value().environments.isEmpty(); });
    return forgotten > 0;
}

bool SeenEnvironments::retain(const QSet<QString> &ids, const QSet<QString> &names)
{
    const auto isOther = [&](const auto &entry) {
        return !ids.contains(entry.key()) && !names.contains(entry.value().name);
    };
    return m_repositories.removeIf(isOther) > 0;
}

QByteArray SeenEnvironments::encoded() const
{
    StoredRecord stored;
    for (auto repository = m_repositories.begin(); repository != m_repositories.end(); ++repository) {
        stored.repositories.append({repository.key(), repository->name, {}});
        StoredRepository &made = stored.repositories.last();
        for (auto seen = repository->environments.begin(); seen != repository->environments.end(); ++seen)
            made.environments.append({seen.key(), seen->toString(Qt::ISODate)});
    }
    return encodeJSON(stored);
}

SeenEnvironments SeenEnvironments::decoded(QByteArrayView json)
{
    SeenEnvironments seen;
    const auto stored = decodeJSON<StoredRecord>(json);
    for (const StoredRepository &repository : stored.repositories) {
        Repository &made = seen.m_repositories[repository.id];
        made.name = repository.name;
        for (const StoredEnvironment &environment : repository.environments)
            made.environments.insert(environment.name, QDate::fromString(environment.day, Qt::ISODate));
    }
    return seen;
}

} // namespace velmora
