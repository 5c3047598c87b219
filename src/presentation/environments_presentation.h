// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/environment_lines.h"

#include <QString>
#include <QStringMatcher>

namespace velmora
{

/// The texts of the Environments tab. An ampersand marks the mnemonic of a control.
struct EnvironmentsSettingsTexts {
    static QString title() { return QStringLiteral("Environments"); }
    static QString subtitle()
    {
        return QStringLiteral("Notify as usual, show without notifications, or hide altogether.");
    }
    static QString search() { return QStringLiteral("Search environments"); }
    static QString onlyProduction() { return QStringLiteral("Only &production"); }
    static QString onlyProductionHelp()
    {
        return QStringLiteral("Production is “production”, “prod”, a name that begins with one of these words, and "
                              "“github-pages”. Everything else is listed, but not announced unless you choose so "
                              "afterwards.");
    }
    static QString none() { return QStringLiteral("No environments yet"); }
    static QString noneHelp()
    {
        return QStringLiteral("Every environment appears here that had a deployment in the last 30 days.");
    }
};

/// Finds the lines whose name, or repository, contains the text, ignoring case. The text is not trimmed; an empty text
/// finds all.
class EnvironmentSearch
{
public:
    explicit EnvironmentSearch(const QString &text = {});

    [[nodiscard]] QString text() const { return m_matcher.pattern(); }
    [[nodiscard]] bool finds(const EnvironmentLine &line) const;

private:
    QStringMatcher m_matcher;
};

/// The choice as a word of the interface: "Notify", "Show" or "Hide".
[[nodiscard]] QString choiceText(EnvironmentChoice choice);

/// Below the name: "3 repositories in the last 30 days".
[[nodiscard]] QString environmentDetails(const EnvironmentLine &line);

/// What assistive technology reads for a line: "preview-*, Hide".
[[nodiscard]] QString environmentSentence(const EnvironmentLine &line);

/// What a menu offers for the line of this name: "Show preview-* without notifications".
[[nodiscard]] QString environmentAction(EnvironmentChoice choice, const QString &line);

} // namespace velmora
