// SPDX-License-Identifier: MIT
#pragma once

#include "cli/command_context.h"
#include "cli/progress_line.h"
#include "control/control_records.h"

#include <QCoroTask>

namespace velmora
{

/// Awaits the task. Shows the text on standard error meanwhile, if that is a terminal.
template <typename Answer>
[[nodiscard]] QCoro::Task<Answer> withProgress(CommandContext context, QString text, QCoro::Task<Answer> task)
{
    const auto same = [text] {
        return text;
    };
    const ProgressLine progress(context.err, same);
    Answer answer = co_await task;
    co_return answer;
}

/// Prints why loading was incomplete. Failed if it was, and also without an account, in which case it prints how to
/// connect one.
[[nodiscard]] ExitCode reportLoading(const CommandContext &context, const LoadingAnswer &answer);

/// True if the change was saved. Otherwise prints why not.
[[nodiscard]] bool isSaved(const CommandContext &context, const std::optional<QString> &unsaved);

} // namespace velmora
