// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command_context.h"
#include "control/control_records.h"

#include <QCoroTask>

namespace velmora
{

/// Shows a line on a terminal until its destruction. Does nothing if the stream is not a terminal.
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

/// Awaits the task and shows a progress line meanwhile.
template <typename Answer>
[[nodiscard]] QCoro::Task<Answer> withProgress(CommandContext context, QString text, QCoro::Task<Answer> task)
{
    const ProgressLine progress(context.err, text);
    Answer answer = co_await task;
    co_return answer;
}

/// Prints why loading was incomplete. Failed if it was, and also without an account, in which case it prints how to
/// connect one.
[[nodiscard]] ExitCode reportLoading(const CommandContext &context, const LoadingAnswer &answer);

/// True if the change was saved. Otherwise prints why not.
[[nodiscard]] bool isSaved(const CommandContext &context, const std::optional<QString> &unsaved);

} // namespace velmora
