// SPDX-License-Identifier: MIT
#include "cli/commands.h"
#include "cli/deployment_table.h"
#include "cli/loading.h"
#include "control/control.h"
#include "support/clock.h"

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
        const TableStyle style{context.out->size().width(), 1, context.out->isColoured()};
        const QStringList lines = renderReport(report, {}, context.clock->now(), style);
        for (const QString &line : lines)
            context.out->writeRawLine(line);
    }
    co_return reportLoading(context, answer);
}

} // namespace velmora
