// SPDX-License-Identifier: MIT
#include "presentation/environments_presentation.h"

#include "support/foreign_text.h"

namespace velmora
{

namespace
{

/// Longer names are cut in a menu.
constexpr qsizetype kLongestInMenu = 60;

} // namespace

EnvironmentSearch::EnvironmentSearch(const QString &text)
    : m_matcher(text, Qt::CaseInsensitive)
{
}

bool EnvironmentSearch::finds(const EnvironmentLine &line) const
{
    // Without a pattern indexIn() finds nothing, but an empty search finds all.
    return m_matcher.pattern().isEmpty() || m_matcher.indexIn(line.rule.target()) >= 0;
}

QString choiceText(EnvironmentChoice choice)
{
    switch (choice) {
    case EnvironmentChoice::Notify:
        return QStringLiteral("Notify");
    case EnvironmentChoice::Show:
        return QStringLiteral("Show");
    case EnvironmentChoice::Hide:
        return QStringLiteral("Hide");
    }
    Q_UNREACHABLE();
}

QString environmentDetails(const EnvironmentLine &line)
{
    if (line.repositories == 0)
        return QStringLiteral("Not seen in the last 30 days");
    if (line.repositories == 1)
        return QStringLiteral("1 repository in the last 30 days");
    return QStringLiteral("%1 repositories in the last 30 days").arg(line.repositories);
}

QString environmentSentence(const EnvironmentLine &line)
{
    return line.rule.target() + QStringLiteral(", ") + choiceText(line.rule.choice);
}

QString environmentAction(EnvironmentChoice choice, const QString &line)
{
    const QString name = presentableText(line, kLongestInMenu).replace(QLatin1Char('\n'), QLatin1Char(' '));
    switch (choice) {
    case EnvironmentChoice::Notify:
        return QStringLiteral("Notify about %1").arg(name);
    case EnvironmentChoice::Show:
        return QStringLiteral("Show %1 without notifications").arg(name);
    case EnvironmentChoice::Hide:
        return QStringLiteral("Hide %1").arg(name);
    }
    Q_UNREACHABLE();
}

} // namespace velmora
