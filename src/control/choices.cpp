// SPDX-License-Identifier: MIT
#include "control/choices.h"

namespace velmora
{

namespace
{

constexpr qsizetype kMostListed = 40;

QString listed(QStringList names)
{
    if (names.isEmpty())
        return QStringLiteral("There is none.");
    const auto left = names.size() - kMostListed;
    if (left > 0)
        names = names.first(kMostListed) + QStringList{QStringLiteral("and %1 more").arg(left)};
    return QStringLiteral("There is: %1.").arg(names.join(QStringLiteral(", ")));
}

QString describe(const InstallationRecord &record)
{
    return QStringLiteral("%1 (%2)").arg(record.id(), record.installation.account.login);
}

Choice chooseInstallation(const QString &key, const QList<InstallationRecord> &installations)
{
    QStringList all;
    QList<InstallationRecord> named;
    for (const auto &record : installations) {
        if (record.id() == key)
            return {record.id(), {}};
        all.append(describe(record));
        if (record.installation.account.login.compare(key, Qt::CaseInsensitive) == 0)
            named.append(record);
    }
    if (named.size() == 1)
        return {named.first().id(), {}};
    if (named.isEmpty())
        return {{}, QStringLiteral("There is no installation %1. %2").arg(key, listed(all))};
    QStringList keys;
    for (const auto &record : named)
        keys.append(record.id());
    return {{},
        QStringLiteral("More than one installation is on %1. Name one of: %2.")
            .arg(key, keys.join(QStringLiteral(", ")))};
}

Choice chooseRepository(const QString &name, const QList<RepositoryRecord> &repositories)
{
    QStringList all;
    for (const auto &record : repositories) {
        if (record.id() == name || record.repository.nameWithOwner.compare(name, Qt::CaseInsensitive) == 0)
            return {record.id(), {}};
        all.append(record.repository.nameWithOwner);
    }
    return {{}, QStringLiteral("There is no repository %1. %2").arg(name, listed(all))};
}

} // namespace

QList<Choice> chooseInstallations(const QStringList &keys, const QList<InstallationRecord> &installations)
{
    QList<Choice> choices;
    for (const QString &key : keys)
        choices.append(chooseInstallation(key, installations));
    return choices;
}

QList<Choice> chooseRepositories(const QStringList &names, const QList<RepositoryRecord> &repositories)
{
    QList<Choice> choices;
    for (const QString &name : names)
        choices.append(chooseRepository(name, repositories));
    return choices;
}

} // namespace velmora
