// SPDX-License-Identifier: MIT
#include "cli/report_follower.h"

#include "cli/terminal.h"
#include "control/report_source.h"

#include <QPointer>

#include <sys/stat.h>

namespace velmora
{

ReportFollower::ReportFollower(ReportSource *source, Terminal *out, Show show)
    : m_source(source)
    , m_out(out)
    , m_show(std::move(show))
    , m_readerGone(out->descriptor(), QSocketNotifier::Exception)
{
    // Detects at once that the reader of a pipe has gone, not only at the next write.
    m_readerGone.setEnabled(isPipe());
    connect(&m_readerGone, &QSocketNotifier::activated, this, &ReportFollower::finish);
}

bool ReportFollower::isPipe() const
{
    struct stat status {
    };
    return ::fstat(m_out->descriptor(), &status) == 0 && (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode));
}

void ReportFollower::update()
{
    m_isOutdated = true;
    if (!m_isShowing)
        m_scope.launch(showLatest(), "showing a report");
}

QCoro::Task<> ReportFollower::showLatest()
{
    const QPointer<ReportFollower> self(this);
    m_isShowing = true;
    std::exception_ptr failure;
    try {
        co_await showUntilLatest();
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    m_isShowing = false;
    if (failure)
        m_done.fail(failure);
}

QCoro::Task<> ReportFollower::showUntilLatest()
{
    const QPointer<ReportFollower> self(this);
    while (m_isOutdated) {
        m_isOutdated = false;
        const MonitorReport report = co_await m_source->report(m_scope.stopToken());
        if (!self)
            co_return;
        m_show(report);
        endWhenClosed();
    }
}

void ReportFollower::endWhenClosed()
{
    if (m_out->isClosed())
        m_done.resolve();
}

} // namespace velmora
