// SPDX-License-Identifier: MIT
#pragma once

#include "program_run.h"

#include "simulator/simulator.h"

#include <QDBusConnection>
#include <QJsonObject>
#include <QTemporaryDir>

namespace velmora::testing
{

/// A session bus that the test starts and ends, always at the same address.
class PrivateBus
{
public:
    PrivateBus();
    ~PrivateBus() { end(); }

    [[nodiscard]] bool start();
    void end();
    /// Stops the bus from answering until resume().
    void freeze() const { ::kill(static_cast<pid_t>(m_process.processId()), SIGSTOP); }
    void resume() const { ::kill(static_cast<pid_t>(m_process.processId()), SIGCONT); }
    [[nodiscard]] QString address() const;
    [[nodiscard]] QString folder() const { return m_folder.path(); }

private:
    QTemporaryDir m_folder;
    QProcess m_process;
};

/// A home and a simulated GitHub for the real program.
class Household
{
public:
    /// The path at which tokens are requested.
    static inline const QByteArray kTokens = "/login/oauth/access_token";

    Household();

    [[nodiscard]] bool start() { return simulator.start(); }
    /// The environment of the program, with the session bus of the test.
    [[nodiscard]] QProcessEnvironment environment() const;
    /// Starts the program in environment().
    [[nodiscard]] std::unique_ptr<ProgramRun> started(const QStringList &arguments) const;
    [[nodiscard]] std::unique_ptr<ProgramRun> finished(const QStringList &arguments) const;
    /// Connects the next identity of the simulator.
    [[nodiscard]] bool connectAccount() const;
    [[nodiscard]] QString firstLogin();
    /// Connects the account of the first identity; again if it is already connected.
    [[nodiscard]] bool connectFirstAccount();
    /// Saves these accounts, a JSON array, in the preferences, without tokens, as if the home came from another
    /// machine.
    [[nodiscard]] bool keepAccounts(const QByteArray &accounts) const;
    /// From now on requests for the path get no answer.
    void silence(const QByteArray &path);
    /// Waits until a request for the path is open.
    [[nodiscard]] bool isAsked(const QByteArray &path);
    /// The refresh tokens that were sent since the log was cleared, in order.
    [[nodiscard]] QStringList refreshTokens();
    /// The JSON object in the file; nothing if the file is missing or damaged. The preferences have the keys that the
    /// program uses for accounts of this GitHub.
    [[nodiscard]] std::optional<QJsonObject> preferences() const;
    [[nodiscard]] std::optional<QJsonObject> cache() const;
    [[nodiscard]] bool isCachePresent() const;
    /// The file that cache() reads.
    [[nodiscard]] QString cachePath() const;

    simulator::Simulator simulator;

private:
    /// The suffix that distinguishes the keys of this GitHub from those of github.com.
    [[nodiscard]] QString keySuffix() const;

    QTemporaryDir m_home;
};

/// The process that owns the program's name on the bus; 0 for none.
[[nodiscard]] qint64 ownerOnBus(const QDBusConnection &bus, const QString &name = QStringLiteral("com.tarvik.Velmora"));
/// Activates an action of the running program over the bus: "refresh", "settings", "quit".
void askRunning(const QDBusConnection &bus, const QString &action);
/// Whether the process has installed a handler for the signal.
[[nodiscard]] bool heeds(qint64 process, int number);
/// Whether the signal is pending: sent to the process, but not delivered.
[[nodiscard]] bool isPending(qint64 process, int number);
/// The living children of this process.
[[nodiscard]] QList<qint64> childrenOf(qint64 process);
/// Whether the process exists and has not ended.
[[nodiscard]] bool isAlive(qint64 process);
/// The processor time used by the process, in milliseconds.
[[nodiscard]] qint64 processorTime(qint64 process);
/// Waits until the process has been idle for 300 milliseconds.
[[nodiscard]] bool comesToRest(qint64 process);

} // namespace velmora::testing
