// SPDX-License-Identifier: MIT
#include "cli/loading.h"

#include "control/control_texts.h"

namespace velmora
{

ExitCode reportLoading(const CommandContext &context, const LoadingAnswer &answer)
{
    if (!answer.hasAccounts) {
        context.err->writeLine(noAccountText());
        return ExitCode::Failed;
    }
    for (const QString &message : answer.messages)
        context.err->writeLine(message);
    return answer.isComplete ? ExitCode::Done : ExitCode::Failed;
}

bool isSaved(const CommandContext &context, const std::optional<QString> &unsaved)
{
    if (unsaved)
        context.err->writeLine(QStringLiteral("The change is not saved. ") + *unsaved);
    return !unsaved;
}

} // namespace velmora
