// SPDX-License-Identifier: MIT
#include "cli/loading.h"

#include "installations/installation_store.h"

namespace velmora
{

namespace
{

/// A line on a terminal that is gone when the work is done.
class ProgressLine
{
public:
    ProgressLine(Terminal *terminal, const QString &text)
        : m_terminal(terminal->isLive() ? terminal : nullptr)
    {
        if (m_terminal)
            m_terminal->write(text.toUtf8());
    }
    ProgressLine(const ProgressLine &) = delete;
    ProgressLine &operator=(const ProgressLine &) = delete;
    ~ProgressLine()
    {
        if (m_terminal)
            m_terminal->write("\r\x1b[2K");
    }

private:
    Terminal *m_terminal;
};

QCoro::Task<> refresh(CommandContext context)
{
    const ProgressLine progress(context.err, QStringLiteral("Loading repositories from GitHub…"));
    co_await context.installations->refresh(context.authentication, context.stop);
}

void report(Terminal *terminal, const QString &message)
{
    const QStringList lines = message.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString &line : lines)
        terminal->writeLine(line);
}

} // namespace

QCoro::Task<ExitCode> loadInstallations(CommandContext context)
{
    if (context.authentication->sessions().isEmpty())
        co_return reportNoAccount(context);
    co_await refresh(context);
    if (context.stop.stop_requested()) {
        context.err->writeLine(QStringLiteral("Cancelled."));
        co_return ExitCode::Failed;
    }
    const InstallationLoadingState state = context.installations->state();
    report(context.err, state.message);
    const bool isComplete = state.state == InstallationLoadingState::Case::Ready;
    const ExitCode result = isComplete ? ExitCode::Done : ExitCode::Failed;
    co_return result;
}

ExitCode reportNoAccount(const CommandContext &context)
{
    context.err->writeLine(QStringLiteral("No GitHub account is connected. Run “velmora connect” to connect one."));
    return ExitCode::Failed;
}

} // namespace velmora
