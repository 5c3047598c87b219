// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command_context.h"
#include "control/control_answers.h"

#include <QCoroTask>

namespace velmora
{

/// A line on a terminal that is gone when the work is done. Nothing where standard error is no terminal.
class ProgressLine
{
public:
    ProgressLine(Terminal *terminal, const QString &text);
    ProgressLine(const ProgressLine &) = delete;
    ProgressLine &operator=(const ProgressLine &) = delete;
    ~ProgressLine();

private:
    Terminal *m_terminal;
};

/// The task, with a progress line as long as it takes.
template <typename Answer>
[[nodiscard]] QCoro::Task<Answer> withProgress(CommandContext context, QString text, QCoro::Task<Answer> task)
{
    const ProgressLine progress(context.err, text);
    Answer answer = co_await task;
    co_return answer;
}

/// Prints why not every identity has answered. Failed for each, and without an account, when it tells how to connect
/// one.
[[nodiscard]] ExitCode reportLoading(const CommandContext &context, const LoadingAnswer &answer);

/// Whether what was changed is kept: nothing stands against it. Prints what does.
[[nodiscard]] bool isSaved(const CommandContext &context, const std::optional<QString> &unsaved);

} // namespace velmora
