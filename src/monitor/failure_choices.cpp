// SPDX-License-Identifier: MIT
#include "monitor/failure_choices.h"

#include "model/failure_preferences.h"

namespace velmora
{

FailureChoices failureChoices(const Preferences &defaults)
{
    return {defaults.boolean(QString::fromLatin1(kIgnoresMendedPreference))};
}

bool isFailureChoice(const QString &key)
{
    return key == QLatin1String(kIgnoresMendedPreference);
}

} // namespace velmora
