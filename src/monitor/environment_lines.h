// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/environment_rules.h"
#include "monitor/seen_environments.h"

#include <QList>

namespace velmora
{

/// The pattern of all names that differ from this one only in the number or the hash at their end: "preview-*" for
/// "preview-117", "pr-42" or "deploy-1a2b3c4" alike. Empty where there is none. What stands before it ends in a
/// character that is neither letter nor digit, so that the pattern means nothing else.
[[nodiscard]] QString commonPattern(const QString &environment);

/// A line of the list of environments: what one choice is about.
struct EnvironmentLine {
    EnvironmentRule rule; ///< the choice in effect, which the line may share with others, and what it is about
    qsizetype repositories = 0; ///< how many have had deployments there in the last 30 days
    bool isChosen = false; ///< by a rule of its own

    friend bool operator==(const EnvironmentLine &, const EnvironmentLine &) = default;
};

/// A line for each environment that was seen, and one for each other rule, unless it says Notify and nothing was seen
/// of what it is about. Names with a commonPattern() share a line where there are three of them, or a rule about that
/// pattern; those with a rule of their own have a line of their own. In alphabetical order, those of single
/// repositories last.
[[nodiscard]] QList<EnvironmentLine> environmentLines(const SeenEnvironments &seen, const EnvironmentChoices &choices);

/// The pattern of the line that names the environment.
[[nodiscard]] QString patternOfLine(const QString &environment, const QList<EnvironmentLine> &lines);

} // namespace velmora
