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
    /// The bus answers nobody until it is resumed.
    void freeze() const { ::kill(static_cast<pid_t>(m_process.processId()), SIGSTOP); }
    void resume() const { ::kill(static_cast<pid_t>(m_process.processId()), SIGCONT); }
    [[nodiscard]] QString address() const;
    [[nodiscard]] QString folder() const { return m_folder.path(); }

private:
    QTemporaryDir m_folder;
    QProcess m_process;
};

/// A home, and a GitHub that answers in this process, for the real program.
class Household
{
public:
    /// Where tokens are asked for.
    static inline const QByteArray kTokens = "/login/oauth/access_token";

    Household();

    [[nodiscard]] bool start() { return simulator.start(); }
    /// What the program needs to live here, on the session bus of the test.
    [[nodiscard]] QProcessEnvironment environment() const;
    /// Starts the program; by itself in this environment.
    [[nodiscard]] std::unique_ptr<ProgramRun> started(const QStringList &arguments) const;
    [[nodiscard]] std::unique_ptr<ProgramRun> finished(const QStringList &arguments) const;
    /// Connects one account: of GitHub's people, the first, then the next.
    [[nodiscard]] bool connectAccount() const;
    [[nodiscard]] QString firstLogin();
    /// Connects the account of GitHub's first person, anew if need be.
    [[nodiscard]] bool connectFirstAccount();
    /// Has these accounts, a JSON array, in the preferences and nowhere else: what another machine's keyring leaves.
    [[nodiscard]] bool keepAccounts(const QByteArray &accounts) const;
    /// From now on, requests for the path are not answered.
    void silence(const QByteArray &path);
    /// Waits until somebody waits for an answer to a request for the path.
    [[nodiscard]] bool isAsked(const QByteArray &path);
    /// The refresh tokens that were sent since the log was cleared, in their order.
    [[nodiscard]] QStringList refreshTokens();
    /// The object that the file holds; nothing when there is no file or it is not whole. Of the preferences, with the
    /// keys of this GitHub's accounts as the program knows them.
    [[nodiscard]] std::optional<QJsonObject> preferences() const;
    [[nodiscard]] std::optional<QJsonObject> cache() const;
    [[nodiscard]] bool isCachePresent() const;

    simulator::Simulator simulator;

private:
    /// What distinguishes the keys of this GitHub's accounts from github.com's.
    [[nodiscard]] QString keySuffix() const;
    [[nodiscard]] QString cachePath() const;

    QTemporaryDir m_home;
};

/// The process that has the program's name on the bus; 0 for none.
[[nodiscard]] qint64 ownerOnBus(const QDBusConnection &bus, const QString &name = QStringLiteral("com.tarvik.Velmora"));
/// Has the running program do what its name on the bus offers: "refresh", "settings", "quit".
void askRunning(const QDBusConnection &bus, const QString &action);
/// Whether the process handles the signal by now.
[[nodiscard]] bool heeds(qint64 process, int number);
/// Whether the signal was sent to the process and has not reached it yet.
[[nodiscard]] bool isPending(qint64 process, int number);
/// The processes that this one started and that are still there.
[[nodiscard]] QList<qint64> childrenOf(qint64 process);
/// Whether there is such a process that has not ended.
[[nodiscard]] bool isAlive(qint64 process);
/// The time on a processor that the process has used, in milliseconds.
[[nodiscard]] qint64 processorTime(qint64 process);
/// Waits until the process has had nothing to do for a moment.
[[nodiscard]] bool comesToRest(qint64 process);

} // namespace velmora::testing
