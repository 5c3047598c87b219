// SPDX-License-Identifier: MIT
#include "cli/loading.h"

#include "control/control_texts.h"

namespace velmora
{

ProgressLine::ProgressLine(Terminal *terminal, const QString &text)
    : m_terminal(terminal->isLive() ? terminal : nullptr)
{
    if (m_terminal)
        m_terminal->write(text.toUtf8());
}

ProgressLine::~ProgressLine()
{
    if (m_terminal)
        m_terminal->write("\r\x1b[2K");
}

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
