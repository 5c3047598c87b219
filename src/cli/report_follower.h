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

/// Passes the reports of a source to a printing function until the reader of the output has gone.
class ReportFollower final : public QObject
{
    Q_OBJECT

public:
    using Show = std::function<void(const MonitorReport &)>;

    /// The pointers are not owned and outlive the follower. Nothing is shown before the first update().
    ReportFollower(ReportSource *source, Terminal *out, Show show);

    /// Shows the current report. If the source answers at once, it is shown when this returns.
    void update();

    /// Resolved when the reader has gone or finish() was called; failed with what the source threw.
    [[nodiscard]] const OneShot<> &done() const { return m_done; }
    void finish() { m_done.resolve(); }
    /// Call this after printing anything else; resolves done() if the reader has gone.
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
    bool m_isOutdated = false; ///< another report is due after the one being fetched
    TaskScope m_scope;
};

} // namespace velmora
