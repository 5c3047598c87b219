// SPDX-License-Identifier: MIT
#include "cli/commands.h"
#include "cli/loading.h"
#include "cli/report_views.h"
#include "control/control.h"

namespace velmora
{

QCoro::Task<ExitCode> runRefresh(CommandContext context)
{
    Control *const control = context.control;
    const QString text = QStringLiteral("Loading deployments from GitHub…");
    auto work = control->refresh(context.stop);
    const LoadingAnswer answer = co_await withProgress(context, text, std::move(work));
    if (answer.hasAccounts) {
        const MonitorReport report = co_await control->report(context.stop);
        printTable(context, report, 1);
    }
    co_return reportLoading(context, answer);
}

} // namespace velmora
