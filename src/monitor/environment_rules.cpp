// SPDX-License-Identifier: MIT
#include "monitor/environment_rules.h"

#include <algorithm>
#include <utility>

namespace velmora
{

namespace
{

constexpr QLatin1Char kAnyText('*');

bool isPattern(const QString &text)
{
    return text.contains(kAnyText);
}

/// Leaves out the rules that say Notify of one name where that holds without them.
void leaveOutNeedless(EnvironmentChoices &choices)
{
    // First those of a repository: what holds without them may be one of the others.
    for (const bool isOfRepository : {true, false}) {
        const auto mayBeNeedless = [&](const EnvironmentRule &rule) {
            return rule.choice == EnvironmentChoice::Notify && !isPattern(rule.pattern)
                && rule.repositoryID.isEmpty() != isOfRepository;
        };
        EnvironmentChoices others = choices;
        others.rules.removeIf(mayBeNeedless);
        const EnvironmentRules withoutThem(others);
        choices.rules.removeIf([&](const EnvironmentRule &rule) {
            return mayBeNeedless(rule)
                && withoutThem.choice(rule.repositoryID, rule.pattern) == EnvironmentChoice::Notify;
        });
    }
}

} // namespace

QString rawValue(EnvironmentChoice choice)
{
    switch (choice) {
    case EnvironmentChoice::Notify:
        return QStringLiteral("notify");
    case EnvironmentChoice::Show:
        return QStringLiteral("show");
    case EnvironmentChoice::Hide:
        return QStringLiteral("hide");
    }
    Q_UNREACHABLE();
}

QString EnvironmentRule::target() const
{
    return repositoryID.isEmpty() ? pattern : repositoryName + QLatin1Char(':') + pattern;
}

QString EnvironmentRule::key() const
{
    return repositoryID + QLatin1Char('\n') + pattern.toCaseFolded();
}

EnvironmentChoices withRules(EnvironmentChoices choices, const QList<EnvironmentRule> &rules)
{
    QHash<QString, EnvironmentRule> added;
    for (const EnvironmentRule &rule : rules)
        added.insert(rule.key(), rule);
    choices.rules.removeIf([&](const EnvironmentRule &rule) { return added.contains(rule.key()); });
    choices.rules.append(added.values());
    leaveOutNeedless(choices);
    return choices;
}

EnvironmentChoices withOnlyProduction(EnvironmentChoices choices, bool isOnly)
{
    choices.onlyProduction = isOnly;
    if (isOnly) {
        choices.rules.removeIf([](const EnvironmentRule &rule) {
            return rule.choice != EnvironmentChoice::Hide || isProduction(rule.pattern);
        });
    }
    leaveOutNeedless(choices);
    return choices;
}

bool isProduction(const QString &environment)
{
    const QString name = environment.toCaseFolded();
    const auto isWordOf = [&](QLatin1String word) {
        return name.startsWith(word) && (name.size() == word.size() || !name.at(word.size()).isLetterOrNumber());
    };
    return isWordOf(QLatin1String("production")) || isWordOf(QLatin1String("prod"))
        || name == QLatin1String("github-pages");
}

/// Compares from the start. After a difference it goes back to the last `*`, which takes one more character; an earlier
/// one need not be tried again.
bool isNamed(QStringView text, QStringView pattern)
{
    qsizetype at = 0;
    qsizetype next = 0;
    qsizetype star = -1;
    qsizetype starredUntil = 0;
    while (at < text.size()) {
        if (next < pattern.size() && pattern.at(next) == kAnyText) {
            star = next++;
            starredUntil = at;
        } else if (next < pattern.size() && pattern.at(next) == text.at(at)) {
            ++at;
            ++next;
        } else if (star >= 0) {
            next = star + 1;
            at = ++starredUntil;
        } else {
            return false;
        }
    }
    return std::ranges::all_of(pattern.sliced(next), [](QChar left) { return left == kAnyText; });
}

EnvironmentRules::EnvironmentRules(const EnvironmentChoices &choices)
    : m_onlyProduction(choices.onlyProduction)
{
    for (const EnvironmentRule &rule : choices.rules) {
        const QString text = rule.pattern.toCaseFolded();
        Scope &scope = m_scopes[rule.repositoryID];
        if (isPattern(text))
            scope.patterns.push_back({text, text.size() - text.count(kAnyText), rule.choice});
        else
            scope.names.insert(text, rule.choice);
        m_areHiding = m_areHiding || rule.choice == EnvironmentChoice::Hide;
    }
    for (Scope &scope : m_scopes) {
        std::ranges::sort(scope.patterns, [](const Pattern &left, const Pattern &right) {
            return left.literals != right.literals ? left.literals > right.literals : left.text < right.text;
        });
    }
}

std::optional<EnvironmentChoice> EnvironmentRules::Scope::choice(const QString &folded) const
{
    if (const auto named = names.constFind(folded); named != names.constEnd())
        return *named;
    const auto found
        = std::ranges::find_if(patterns, [&](const Pattern &pattern) { return isNamed(folded, pattern.text); });
    return found == patterns.end() ? std::nullopt : std::optional(found->choice);
}

EnvironmentChoice EnvironmentRules::choice(const QString &repositoryID, const QString &environment) const
{
    const QString folded = environment.toCaseFolded();
    for (const QString &scope : {repositoryID, QString()}) {
        const auto rules = m_scopes.constFind(scope);
        if (rules == m_scopes.constEnd())
            continue;
        if (const auto chosen = rules->choice(folded))
            return *chosen;
    }
    return m_onlyProduction && !isProduction(environment) ? EnvironmentChoice::Show : EnvironmentChoice::Notify;
}

DividedDeployments divided(const DeploymentList &deployments, const EnvironmentRules &rules)
{
    DividedDeployments divided;
    if (!rules.areHiding())
        return {deployments, {}};
    QHash<std::pair<QString, QString>, bool> known; // many deployments share an environment
    for (const SharedDeployment &deployment : deployments) {
        const std::pair place(deployment->repositoryNodeID, deployment->environment);
        auto isHidden = known.constFind(place);
        if (isHidden == known.constEnd())
            isHidden = known.insert(place, rules.choice(deployment) == EnvironmentChoice::Hide);
        (*isHidden ? divided.hidden : divided.listed).append(deployment);
    }
    if (divided.hidden.isEmpty())
        divided.listed = deployments;
    return divided;
}

} // namespace velmora
