// SPDX-License-Identifier: MIT
#pragma once

#include "model/shared_deployment.h"

#include <QHash>
#include <QList>
#include <QString>

#include <optional>
#include <vector>

namespace velmora
{

/// What becomes of the deployments to an environment.
enum class EnvironmentChoice {
    Notify, ///< listed and announced, as far as other choices allow it
    Show, ///< listed, never announced
    Hide, ///< neither listed, counted nor announced
};

/// The name of a choice in the terminal and in files: "notify", "show" or "hide".
[[nodiscard]] QString rawValue(EnvironmentChoice choice);

/// The choice for the environments that a pattern names, in every repository or in one.
struct EnvironmentRule {
    QString pattern; ///< the name of an environment, in which `*` stands for any text; letters may be in any case
    EnvironmentChoice choice = EnvironmentChoice::Notify;
    QString repositoryID = {}; ///< the node id of the repository of which it holds; empty for every one
    QString repositoryName = {}; ///< its owner and name when the choice was made

    /// "preview-*", or "owner/name:preview-*".
    [[nodiscard]] QString target() const;
    /// Equal for rules that are about the same, of which only one can hold.
    [[nodiscard]] QString key() const;

    friend bool operator==(const EnvironmentRule &, const EnvironmentRule &) = default;
};

/// What the user has chosen about environments.
struct EnvironmentChoices {
    QList<EnvironmentRule> rules; ///< no two about the same
    bool onlyProduction = false; ///< what no rule names is announced only if isProduction()

    friend bool operator==(const EnvironmentChoices &, const EnvironmentChoices &) = default;
};

/// The choices after `rules` were added, which replace those about the same. Of equal ones the last counts. A rule that
/// says Notify of one name is left out where that holds without it.
[[nodiscard]] EnvironmentChoices withRules(EnvironmentChoices choices, const QList<EnvironmentRule> &rules);

/// The choices under which only production is announced, or again everything that no rule names. The former drops all
/// rules but those that hide something other than production.
[[nodiscard]] EnvironmentChoices withOnlyProduction(EnvironmentChoices choices, bool isOnly);

/// Whether the environment counts as production: its name is, or begins with the word, "production" or "prod", or is
/// "github-pages", the environment of GitHub's own pages. Letters may be in any case.
[[nodiscard]] bool isProduction(const QString &environment);

/// Whether a text is what the pattern names. Both are case-folded.
[[nodiscard]] bool isNamed(QStringView text, QStringView pattern);

/// Answers what holds for an environment: the rule of its repository before those of every repository; in both, an
/// exact name before a pattern, and the most specific pattern first, which is the one with the most characters that are
/// no `*`. Of equally specific ones the first in the order of their characters counts.
class EnvironmentRules
{
public:
    explicit EnvironmentRules(const EnvironmentChoices &choices = {});

    /// Whether any rule hides.
    [[nodiscard]] bool areHiding() const { return m_areHiding; }
    /// Takes a pattern like a name.
    [[nodiscard]] EnvironmentChoice choice(const QString &repositoryID, const QString &environment) const;
    [[nodiscard]] EnvironmentChoice choice(const DeploymentSnapshot &deployment) const
    {
        return choice(deployment.repositoryNodeID, deployment.environment);
    }

private:
    struct Pattern {
        QString text;
        qsizetype literals = 0;
        EnvironmentChoice choice;
    };
    /// The rules of one repository, or of every repository.
    struct Scope {
        QHash<QString, EnvironmentChoice> names;
        std::vector<Pattern> patterns; ///< the most specific first

        [[nodiscard]] std::optional<EnvironmentChoice> choice(const QString &folded) const;
    };

    QHash<QString, Scope> m_scopes; ///< by the id of the repository, which is empty for every one
    bool m_onlyProduction;
    bool m_areHiding = false;
};

/// A list as the choices divide it.
struct DividedDeployments {
    DeploymentList listed;
    DeploymentList hidden;
};

/// Keeps the order. What hides nothing yields the same list, not a copy.
[[nodiscard]] DividedDeployments divided(const DeploymentList &deployments, const EnvironmentRules &rules);

} // namespace velmora
