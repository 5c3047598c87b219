// SPDX-License-Identifier: MIT
#include "monitor/environment_choices.h"

#include "support/task_scope.h"

#include <QSet>

namespace velmora
{

namespace
{

/// "hide preview-*", "show@REPOSITORY-ID owner/name:staging", and perhaps "only production".
const QString kChoicesKey = QStringLiteral("deployments.environmentChoices");
const QString kOnlyProduction = QStringLiteral("only production");

std::optional<EnvironmentChoice> choiceNamed(QStringView word)
{
    using enum EnvironmentChoice;
    for (const EnvironmentChoice choice : {Notify, Show, Hide}) {
        if (rawValue(choice) == word)
            return choice;
    }
    return std::nullopt;
}

QString lineOf(const EnvironmentRule &rule)
{
    const QString scope = rule.repositoryID.isEmpty() ? QString() : QLatin1Char('@') + rule.repositoryID;
    return rawValue(rule.choice) + scope + QLatin1Char(' ') + rule.target();
}

std::optional<EnvironmentRule> ruleIn(const QString &line)
{
    const QString head = line.section(QLatin1Char(' '), 0, 0);
    QString target = line.section(QLatin1Char(' '), 1);
    const auto choice = choiceNamed(head.section(QLatin1Char('@'), 0, 0));
    if (!choice || target.isEmpty())
        return std::nullopt;
    EnvironmentRule rule{target, *choice};
    rule.repositoryID = head.section(QLatin1Char('@'), 1);
    if (!rule.repositoryID.isEmpty()) {
        rule.repositoryName = target.section(QLatin1Char(':'), 0, 0);
        rule.pattern = target.section(QLatin1Char(':'), 1);
    }
    return rule.pattern.isEmpty() ? std::nullopt : std::optional(rule);
}

EnvironmentChoices choicesIn(const QStringList &lines)
{
    EnvironmentChoices choices;
    choices.onlyProduction = lines.contains(kOnlyProduction);
    QSet<QString> keys;
    for (const QString &line : lines) {
        // Two processes may have stored rules about the same.
        const auto rule = ruleIn(line);
        if (rule && !keys.contains(rule->key())) {
            keys.insert(rule->key());
            choices.rules.append(*rule);
        }
    }
    return choices;
}

QStringList linesOf(const EnvironmentChoices &choices)
{
    QStringList lines;
    for (const EnvironmentRule &rule : choices.rules)
        lines.append(lineOf(rule));
    if (choices.onlyProduction)
        lines.append(kOnlyProduction);
    return lines;
}

QCoro::Task<> storeChange(Preferences *defaults, ListChange change)
{
    ListChanges changes;
    changes.insert(kChoicesKey, change);
    std::ignore = co_await defaults->changeLists(changes);
}

} // namespace

EnvironmentChoices environmentChoices(const Preferences &defaults)
{
    return choicesIn(defaults.stringList(kChoicesKey));
}

bool isEnvironmentChoice(const QString &key)
{
    return key == kChoicesKey;
}

void storeEnvironmentChoices(Preferences *defaults, const EnvironmentChoices &choices)
{
    const QStringList before = defaults->stringList(kChoicesKey);
    const QStringList after = linesOf(choices);
    const auto without = [](QStringList lines, const QStringList &others) {
        const QSet<QString> left(others.begin(), others.end());
        lines.removeIf([&](const QString &line) { return left.contains(line); });
        return lines;
    };
    const ListChange change{without(after, before), without(before, after)};
    if (!change.added.isEmpty() || !change.removed.isEmpty())
        launch(storeChange(defaults, change), "Storing the choices about environments");
}

const EnvironmentRules &StoredEnvironmentRules::current() const
{
    if (const QStringList lines = m_defaults->stringList(kChoicesKey); lines != m_lines) {
        m_lines = lines;
        m_rules = EnvironmentRules(choicesIn(lines));
    }
    return m_rules;
}

} // namespace velmora
