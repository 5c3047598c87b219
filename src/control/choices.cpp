// SPDX-License-Identifier: MIT
#include "control/choices.h"

#include <QHash>

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

QString describe(const InstallationRecord &record)
{
    return QStringLiteral("%1 (%2)").arg(record.id(), record.installation.account.login);
}

QString unknownInstallation(const QString &key, const QList<InstallationRecord> &installations)
{
    QStringList all;
    for (const auto &record : installations)
        all.append(describe(record));
    return QStringLiteral("There is no installation %1. %2").arg(quoted(key), listed(all));
}

QString ambiguousInstallation(const QString &key, const QStringList &keys)
{
    return QStringLiteral("More than one installation is on %1. Name one of: %2.")
        .arg(quoted(key), keys.join(QStringLiteral(", ")));
}

QString unknownRepository(const QString &name, const QList<RepositoryRecord> &repositories)
{
    QStringList all;
    for (const auto &record : repositories)
        all.append(record.repository.nameWithOwner);
    return QStringLiteral("There is no repository %1. %2").arg(quoted(name), listed(all));
}

} // namespace

Choices chooseInstallations(const QStringList &keys, const QList<InstallationRecord> &installations)
{
    QSet<QString> known;
    QHash<QString, QStringList> onAccount;
    for (const auto &record : installations) {
        known.insert(record.id());
        onAccount[record.installation.account.login.toCaseFolded()].append(record.id());
    }
    Choices choices;
    for (const QString &key : keys) {
        const QStringList named = known.contains(key) ? QStringList(key) : onAccount.value(key.toCaseFolded());
        if (named.isEmpty())
            return {{}, unknownInstallation(key, installations)};
        if (named.size() > 1)
            return {{}, ambiguousInstallation(key, named)};
        choices.ids.insert(named.first());
    }
    return choices;
}

Choices chooseRepositories(const QStringList &names, const QList<RepositoryRecord> &repositories)
{
    QHash<QString, QString> byName;
    QSet<QString> known;
    for (const auto &record : repositories) {
        known.insert(record.id());
        // The first repository of a name wins.
        if (const QString name = record.repository.nameWithOwner.toCaseFolded(); !byName.contains(name))
            byName.insert(name, record.id());
    }
    Choices choices;
    for (const QString &name : names) {
        const QString id = known.contains(name) ? name : byName.value(name.toCaseFolded());
        if (id.isEmpty())
            return {{}, unknownRepository(name, repositories)};
        choices.ids.insert(id);
    }
    return choices;
}

} // namespace velmora
