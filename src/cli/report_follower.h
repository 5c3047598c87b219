// SPDX-License-Identifier: MIT
#pragma once

#include "control/monitor_report.h"
#include "support/one_shot.h"
#include "support/task_scope.h"

#include <QObject>
#include <QSocketNotifier>

#include <functional>

namespace velmora
{

class ReportSource;
class Terminal;

/// Hands every report of a source to whoever prints it, and knows when there is nobody to print for any more.
class ReportFollower final : public QObject
{
    Q_OBJECT

public:
    using Show = std::function<void(const MonitorReport &)>;

    /// The pointers are not owned and outlive the follower. Nothing is shown before update() or a change.
    ReportFollower(ReportSource *source, Terminal *out, Show show);

    /// Shows the report of this moment. Where the source can tell at once, it is shown when this returns.
    void update();

    /// Resolved when the reader has gone or finish() was called; failed with what the source throws.
    [[nodiscard]] const OneShot<> &done() const { return m_done; }
    void finish() { m_done.resolve(); }
    /// To be called after something else was printed.
    void endWhenClosed();

private:
    QCoro::Task<> showLatest();
    QCoro::Task<> showUntilLatest();
    [[nodiscard]] bool isPipe() const;

    ReportSource *m_source;
    Terminal *m_out;
    Show m_show;
    QSocketNotifier m_readerGone;
    OneShot<> m_done;
    bool m_isShowing = false;
    bool m_isOutdated = false; ///< while one is being shown, there is a later report
    TaskScope m_scope;
};

} // namespace velmora
