// SPDX-License-Identifier: MIT
#include "control/choices.h"

#include <QHash>
#include <QRegularExpression>

namespace velmora
{

namespace
{

constexpr qsizetype kMostListed = 40;
constexpr qsizetype kLongestName = 200;

QString listed(QStringList names)
{
    if (names.isEmpty())
        return QStringLiteral("There is none.");
    const auto left = names.size() - kMostListed;
    if (left > 0)
        names = names.first(kMostListed) + QStringList{QStringLiteral("and %1 more").arg(left)};
    return QStringLiteral("There is: %1.").arg(names.join(QStringLiteral(", ")));
}

/// Shortens a name for an error message: it comes from another program and may have any length.
QString quoted(const QString &name)
{
    return name.size() > kLongestName ? name.first(kLongestName) + QStringLiteral("…") : name;
}

/// A record that can be named, by its id or by its name in any case.
struct Candidate {
    QString id;
    QString name;
    QString description; ///< for an error message
};

QString unknownText(const QString &kind, const QString &name, const QList<Candidate> &candidates)
{
    QStringList all;
    for (const Candidate &candidate : candidates)
        all.append(candidate.description);
    return QStringLiteral("There is no %1 %2. %3").arg(kind, quoted(name), listed(all));
}

/// Where several candidates have one name, the first of them counts, unless `several` holds the text of the error.
Choices choose(
    const QStringList &names, const QString &kind, const QList<Candidate> &candidates, const QString &several)
{
    QSet<QString> known;
    QHash<QString, QStringList> byName;
    for (const Candidate &candidate : candidates) {
        known.insert(candidate.id);
        byName[candidate.name.toCaseFolded()].append(candidate.id);
    }
    Choices choices;
    for (const QString &name : names) {
        const QStringList named = known.contains(name) ? QStringList(name) : byName.value(name.toCaseFolded());
        if (named.isEmpty())
            return {{}, unknownText(kind, name, candidates)};
        if (named.size() > 1 && !several.isEmpty())
            return {{}, several.arg(quoted(name), named.join(QStringLiteral(", ")))};
        choices.ids.insert(named.first());
    }
    return choices;
}

} // namespace

Choices chooseInstallations(const QStringList &keys, const QList<InstallationRecord> &installations)
{
    QList<Candidate> candidates;
    for (const auto &record : installations) {
        const QString &login = record.installation.account.login;
        candidates.append({record.id(), login, QStringLiteral("%1 (%2)").arg(record.id(), login)});
    }
    return choose(keys, QStringLiteral("installation"), candidates,
        QStringLiteral("More than one installation is on %1. Name one of: %2."));
}

Choices chooseRepositories(const QStringList &names, const QList<RepositoryRecord> &repositories)
{
    QList<Candidate> candidates;
    for (const auto &record : repositories)
        candidates.append({record.id(), record.repository.nameWithOwner, record.repository.nameWithOwner});
    return choose(names, QStringLiteral("repository"), candidates, QString());
}

NamedEnvironments chooseEnvironments(
    const QStringList &targets, EnvironmentChoice choice, const Environments &environments)
{
    static const QRegularExpression form(QStringLiteral("^([^/\\s:*]+/[^/\\s:*]+):(.+)$"));
    NamedEnvironments named;
    for (const QString &target : targets) {
        if (target.isEmpty())
            return {{}, QStringLiteral("The name of an environment is missing.")};
        const auto match = form.match(target);
        if (!match.hasMatch() || environments.isSeen(target)) {
            named.rules.append({target, choice});
            continue;
        }
        const QString name = match.captured(1);
        const auto repository = environments.repositoryNamed(name);
        if (!repository)
            return {{}, QStringLiteral("%1 has had no deployment in the last 30 days.").arg(quoted(name))};
        named.rules.append({match.captured(2), choice, *repository, name});
    }
    return named;
}

Choices chooseFailures(const QStringList &names, const DeploymentList &failures)
{
    QList<Candidate> candidates;
    QMultiHash<QString, QString> byName;
    for (const DeploymentSnapshot &failure : failures) {
        const QString place = failure.repositoryName + QLatin1Char(':') + failure.environment;
        candidates.append({failure.id, place, place});
        for (const QString &name : {failure.id, failure.repositoryName, place})
            byName.insert(name.toCaseFolded(), failure.id);
    }
    Choices choices;
    for (const QString &name : names) {
        const QStringList named = byName.values(name.toCaseFolded());
        if (named.isEmpty())
            return {{}, unknownText(QStringLiteral("failure"), name, candidates)};
        choices.ids.unite(QSet<QString>(named.begin(), named.end()));
    }
    return choices;
}

} // namespace velmora
