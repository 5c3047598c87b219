// SPDX-License-Identifier: MIT
#include "control/session_reports.h"

#include "control/control_error.h"
#include "support/signal_waiting.h"

namespace velmora
{

namespace
{

/// How long after a failed call to wait for the news that its process has ended.
constexpr std::chrono::seconds kLongestParting{1};

} // namespace

SessionReports::SessionReports(ReportSource *running, Substitute substitute, QObject *parent)
    : ReportSource(parent)
    , m_running(running)
    , m_substitute(std::move(substitute))
{
}

void SessionReports::setRunning(bool isRunning)
{
    m_isRunning = isRunning;
    if (!m_isSettling)
        m_scope.launch(settle(), "following the running Velmora");
}

/// Whether the current source fits m_isRunning.
bool SessionReports::isRight() const
{
    if (m_isRunning)
        return m_source == m_running;
    return m_failure || (m_source && m_source != m_running);
}

QCoro::Task<> SessionReports::settle()
{
    const QPointer<SessionReports> self(this);
    m_isSettling = true;
    while (!isRight()) {
        if (m_isRunning)
            co_await leaveSubstitute();
        else
            co_await enterSubstitute();
        if (!self)
            co_return;
    }
    m_isSettling = false;
    ++m_exchanges;
    Q_EMIT settled();
    if (self && m_isFollowing)
        Q_EMIT reportChanged();
}

/// Disconnects only what use() connected; the owner of the source may have connections of its own.
void SessionReports::dropSource()
{
    if (m_source) {
        disconnect(m_source, &ReportSource::reportChanged, this, nullptr);
        disconnect(m_source, &ReportSource::announced, this, nullptr);
    }
    m_source.clear();
}

/// Switches to the running Velmora, unless it ends meanwhile.
QCoro::Task<> SessionReports::leaveSubstitute()
{
    const QPointer<SessionReports> self(this);
    if (m_source) {
        dropSource();
        co_await m_substitute.leave();
    }
    if (self && m_isRunning)
        use(m_running);
}

QCoro::Task<> SessionReports::enterSubstitute()
{
    const QPointer<SessionReports> self(this);
    dropSource();
    ReportSource *source = nullptr;
    std::exception_ptr failure;
    try {
        source = co_await m_substitute.enter();
    } catch (...) {
        failure = std::current_exception();
    }
    if (!self)
        co_return;
    m_failure = failure;
    // If a Velmora has started meanwhile, settle() leaves this substitute at once.
    if (source && m_isRunning)
        m_source = source;
    else if (source)
        use(source);
}

void SessionReports::use(ReportSource *source)
{
    m_failure = nullptr;
    m_source = source;
    connect(source, &ReportSource::reportChanged, this, &ReportSource::reportChanged);
    connect(source, &ReportSource::announced, this, &ReportSource::announced);
    if (m_isFollowing)
        source->follow();
}

QCoro::Task<MonitorReport> SessionReports::report(std::stop_token stop)
{
    const QPointer<SessionReports> self(this);
    const std::function<bool()> isKnown = [self] {
        return self && !self->m_isSettling && self->isRight();
    };
    while (true) {
        co_await waitFor(this, &SessionReports::settled, isKnown, stop);
        throwIfStopped(stop);
        if (!self)
            throw CancellationError();
        if (m_failure)
            std::rethrow_exception(m_failure);
        const int exchanges = m_exchanges;
        std::exception_ptr failure;
        try {
            MonitorReport report = co_await m_source->report(stop);
            co_return report;
        } catch (const ControlError &) {
            failure = std::current_exception();
        } catch (const CancellationError &) {
            // The substitute ended during the call, or the caller requested the stop.
            failure = std::current_exception();
        }
        throwIfStopped(stop);
        const std::function<bool()> isExchanged = [self, exchanges] {
            return self && (self->m_isSettling || self->m_exchanges != exchanges);
        };
        // The news that the process has ended may arrive later than the failure.
        if (self)
            co_await waitFor(this, &SessionReports::settled, isExchanged, stop, kLongestParting);
        if (!isExchanged())
            std::rethrow_exception(failure);
    }
}

void SessionReports::follow()
{
    m_isFollowing = true;
    if (m_source)
        m_source->follow();
}

} // namespace velmora
