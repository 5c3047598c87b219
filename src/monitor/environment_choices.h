// SPDX-License-Identifier: MIT
#pragma once

#include "monitor/environment_rules.h"
#include "platform/preferences.h"

#include <QStringList>

namespace velmora
{

// What the user chooses about environments is kept in the preferences, which the Velmora processes of a profile share.

/// The choices as they are stored, in no particular order. What is no choice is ignored.
[[nodiscard]] EnvironmentChoices environmentChoices(const Preferences &defaults);

/// Whether the key is that of the choices.
[[nodiscard]] bool isEnvironmentChoice(const QString &key);

/// Stores these choices in place of all others.
void storeEnvironmentChoices(Preferences *defaults, const EnvironmentChoices &choices);

/// The rules of the stored choices, made anew when others are stored.
class StoredEnvironmentRules
{
public:
    /// The preferences are not owned and outlive this object.
    explicit StoredEnvironmentRules(const Preferences *defaults)
        : m_defaults(defaults)
    {
    }

    /// The rules as they are stored now. Valid until the next call.
    [[nodiscard]] const EnvironmentRules &current() const;

private:
    const Preferences *m_defaults;
    mutable QStringList m_lines; ///< from which the rules were made
    mutable EnvironmentRules m_rules;
};

} // namespace velmora
