// SPDX-License-Identifier: MIT
#include "app/profile_problems.h"

#include "app/run_context.h"
#include "cli/terminal.h"
#include "monitor/environments.h"
#include "platform/file_preferences.h"

namespace velmora
{

void reportProblems(FilePreferences *preferences, const RunContext &context)
{
    const auto report = [err = context.err](const QString &message) {
        if (!message.isEmpty())
            err->writeLine(message);
    };
    const auto reportFailure = [report, preferences] {
        report(preferences->failure());
    };
    report(preferences->earlyDamage());
    reportFailure();
    QObject::connect(preferences, &Preferences::damageFound, preferences, report);
    if (context.line.isForDesktop())
        QObject::connect(preferences, &Preferences::failureChanged, preferences, reportFailure);
}

void reportProblems(Environments *environments, const RunContext &context)
{
    QObject::connect(environments, &Environments::damageFound, environments,
        [err = context.err](const QString &message) { err->writeLine(message); });
}

} // namespace velmora
