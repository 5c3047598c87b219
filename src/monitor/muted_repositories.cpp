// SPDX-License-Identifier: MIT
#include "monitor/muted_repositories.h"

#include "support/clock.h"
#include "support/task_scope.h"

namespace velmora
{

namespace
{

/// A line for each repository: the interval of its term, a space, and its node id.
const QString kMutedKey = QStringLiteral("repositories.muted");

QString idIn(const QString &line)
{
    return line.mid(line.indexOf(QLatin1Char(' ')) + 1);
}

std::optional<Term> termIn(const QString &line)
{
    return parseInterval(QStringView(line).first(std::max<qsizetype>(0, line.indexOf(QLatin1Char(' ')))));
}

QCoro::Task<> storeChange(Preferences *defaults, ListChange change)
{
    ListChanges changes;
    changes.insert(kMutedKey, change);
    std::ignore = co_await defaults->changeLists(changes);
}

} // namespace

MutedRepositories::MutedRepositories(Preferences *defaults, const Clock *clock, QObject *parent)
    : QObject(parent)
    , m_defaults(defaults)
    , m_clock(clock)
{
    read();
    connect(defaults, &Preferences::changed, this, [this](const QString &key) {
        if (key != kMutedKey)
            return;
        read();
        Q_EMIT changed();
    });
}

/// When two processes have muted a repository at the same time, the later one counts.
void MutedRepositories::read()
{
    m_terms.clear();
    const QStringList lines = m_defaults->stringList(kMutedKey);
    for (const QString &line : lines) {
        const auto term = termIn(line);
        const auto known = m_terms.constFind(idIn(line));
        if (term && (known == m_terms.constEnd() || known->since <= term->since))
            m_terms.insert(idIn(line), *term);
    }
}

std::optional<Term> MutedRepositories::muting(const QString &repositoryNodeID) const
{
    const auto term = m_terms.constFind(repositoryNodeID);
    const bool isMuted = term != m_terms.constEnd() && !term->isOver(m_clock->now());
    return isMuted ? std::optional(*term) : std::nullopt;
}

void MutedRepositories::mute(const QString &repositoryNodeID, std::optional<Instant> until)
{
    const QString interval = toInterval({m_clock->now(), until});
    store({{interval + QLatin1Char(' ') + repositoryNodeID}, linesOf(repositoryNodeID)});
}

void MutedRepositories::unmute(const QString &repositoryNodeID)
{
    store({{}, linesOf(repositoryNodeID)});
}

QStringList MutedRepositories::linesOf(const QString &repositoryNodeID) const
{
    QStringList lines = m_defaults->stringList(kMutedKey);
    lines.removeIf([&](const QString &line) { return idIn(line) != repositoryNodeID; });
    return lines;
}

void MutedRepositories::forgetOver()
{
    const Instant now = m_clock->now();
    if (std::ranges::none_of(m_terms, [now](const Term &term) { return term.isOver(now); }))
        return;
    QStringList lines = m_defaults->stringList(kMutedKey);
    lines.removeIf([now](const QString &line) {
        const auto term = termIn(line);
        return term && !term->isOver(now);
    });
    store({{}, lines});
}

void MutedRepositories::store(const ListChange &change)
{
    if (!change.added.isEmpty() || !change.removed.isEmpty())
        launch(storeChange(m_defaults, change), "Storing which repositories are muted");
}

} // namespace velmora
