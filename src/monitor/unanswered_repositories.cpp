// SPDX-License-Identifier: MIT
#include "monitor/unanswered_repositories.h"

#include <QMap>
#include <QSet>

namespace velmora
{

namespace
{

/// A few names tell which organisation it is about.
constexpr qsizetype kMostNames = 3;

QString shownNames(QStringList names)
{
    names.sort();
    const qsizetype others = names.size() - kMostNames;
    const QString shown = names.first(std::min(names.size(), kMostNames)).join(QLatin1String(", "));
    return others > 0 ? QStringLiteral("%1 and %2 more").arg(shown).arg(others) : shown;
}

} // namespace

void UnansweredRepositories::record(const QList<RepositoryRecord> &asked, const QList<UnansweredRepository> &unanswered)
{
    QHash<QString, QString> texts;
    for (const UnansweredRepository &repository : unanswered)
        texts.insert(repository.nodeID, repository.reason);
    for (const RepositoryRecord &record : asked) {
        const auto text = texts.constFind(record.id());
        if (text == texts.constEnd())
            m_reasons.remove(record.id());
        else
            m_reasons.insert(record.id(), {record.identityID, record.repository.nameWithOwner, *text});
    }
}

void UnansweredRepositories::retain(const QList<RepositoryRecord> &monitored)
{
    if (m_reasons.isEmpty())
        return;
    QSet<QString> kept;
    for (const RepositoryRecord &record : monitored)
        kept.insert(record.id());
    m_reasons.removeIf([&](const auto &entry) { return !kept.contains(entry.key()); });
}

QStringList UnansweredRepositories::lines(qint64 identityID) const
{
    QMap<QString, QStringList> namesByText;
    for (const Reason &reason : m_reasons) {
        if (reason.identityID == identityID)
            namesByText[reason.text].append(reason.name);
    }
    QStringList lines;
    for (auto names = namesByText.begin(); names != namesByText.end(); ++names)
        lines.append(QStringLiteral("%1: %2").arg(shownNames(*names), names.key()));
    return lines;
}

} // namespace velmora
