// SPDX-License-Identifier: MIT
#pragma once

#include "app/session.h"

#include <QCoroTask>
#include <QObject>

#include <memory>

namespace velmora
{

/// One run of a command that works with accounts, deployments or a Velmora that runs already.
class Run : public QObject
{
    Q_OBJECT

public:
    explicit Run(RunContext context);
    ~Run() override;

    /// Runs the command and returns how it ended. Throws what the user is to be told, and a CancellationError when the
    /// stop is requested. Call it once; the run outlives the task.
    [[nodiscard]] virtual QCoro::Task<ExitCode> execute() = 0;

    /// From now on other processes do not find this run on the session bus.
    virtual void withdraw() { }

    /// The session of this process; null where the run needs none.
    [[nodiscard]] Session *session() const { return m_session.get(); }

Q_SIGNALS:
    /// The program is to end: another process asked for it, or the run is of no use any more.
    void endRequested();

protected:
    [[nodiscard]] const RunContext &context() const { return m_context; }

    /// Creates and starts the session; a session of before is replaced. Throws what Session::start() throws.
    [[nodiscard]] QCoro::Task<> createSession();

    /// Destroys the session, which is idle.
    void destroySession() { m_session.reset(); }

private:
    RunContext m_context;
    std::unique_ptr<Session> m_session;
};

} // namespace velmora
