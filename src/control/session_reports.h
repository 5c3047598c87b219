// SPDX-License-Identifier: MIT
#pragma once

#include "control/report_source.h"
#include "support/task_scope.h"

#include <QPointer>

#include <functional>

namespace velmora
{

/// Reports of the running Velmora while there is one, else of a substitute. Following these reports never makes two
/// processes ask GitHub for the same.
class SessionReports final : public ReportSource
{
    Q_OBJECT

public:
    /// Creates and ends the substitute.
    struct Substitute {
        /// Creates the source, which is used until `leave` is called. May throw.
        std::function<QCoro::Task<ReportSource *>()> enter;
        /// Ends the source. The next source is used when this has returned.
        std::function<QCoro::Task<>()> leave;
    };

    /// `running` reports on the running Velmora; it is not owned and outlives the reports. Its follow() may be called
    /// each time a Velmora starts.
    SessionReports(ReportSource *running, Substitute substitute, QObject *parent = nullptr);

    /// Sets whether a Velmora runs. report() waits for the first call.
    void setRunning(bool isRunning);

    /// Asks again if the source changes meanwhile. Throws what creating the substitute threw.
    [[nodiscard]] QCoro::Task<MonitorReport> report(std::stop_token stop) override;
    void follow() override;

Q_SIGNALS:
    /// The source has changed, or no substitute could be created.
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
    QPointer<ReportSource> m_source; ///< null while sources are exchanged
    std::exception_ptr m_failure; ///< of creating the substitute
    bool m_isRunning = false;
    bool m_isSettling = false;
    bool m_isFollowing = false;
    int m_exchanges = 0;
    TaskScope m_scope;
};

} // namespace velmora
