// SPDX-License-Identifier: MIT
#pragma once

#include "control/report_source.h"
#include "support/task_scope.h"

#include <QPointer>

#include <functional>

namespace velmora
{

/// The reports of the Velmora that runs in the session for as long as there is one, and of a substitute whenever there
/// is none: nobody who follows them asks GitHub for what is asked for already.
class SessionReports final : public ReportSource
{
    Q_OBJECT

public:
    /// What stands in.
    struct Substitute {
        /// Makes the source, which stays until `leave` is called. May throw.
        std::function<QCoro::Task<ReportSource *>()> enter;
        /// Ends the source; another one is used when that is done.
        std::function<QCoro::Task<>()> leave;
    };

    /// `running` reports of the running Velmora, is not owned and outlives the reports; it may be told to follow again
    /// whenever there is one.
    SessionReports(ReportSource *running, Substitute substitute, QObject *parent = nullptr);

    /// Whether there is a running Velmora, from now on. Nothing is reported before the first call.
    void setRunning(bool isRunning);

    /// Of whoever is the source at the end; throws what the substitute throws.
    [[nodiscard]] QCoro::Task<MonitorReport> report(std::stop_token stop) override;
    void follow() override;

Q_SIGNALS:
    /// There is another source, or none could be made.
    void settled();

private:
    QCoro::Task<> settle();
    QCoro::Task<> leaveSubstitute();
    QCoro::Task<> enterSubstitute();
    void use(ReportSource *source);
    void dropSource();
    [[nodiscard]] bool isRight() const;

    ReportSource *m_running;
    Substitute m_substitute;
    QPointer<ReportSource> m_source; ///< none while one is exchanged for another
    std::exception_ptr m_failure; ///< of the substitute
    bool m_isRunning = false;
    bool m_isSettling = false;
    bool m_isFollowing = false;
    int m_exchanges = 0;
    TaskScope m_scope;
};

} // namespace velmora
