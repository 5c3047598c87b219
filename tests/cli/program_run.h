// SPDX-License-Identifier: MIT
#pragma once

#include "support/await.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <csignal>
#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace velmora::testing
{

/// The time that "within a second" allows, in milliseconds. A sanitized program looks for leaks before it ends.
#ifdef __SANITIZE_ADDRESS__
inline constexpr int kWithinASecond = 15'000;
#else
inline constexpr int kWithinASecond = 1'000;
#endif

/// The real program as a child process with pipes as its streams.
class ProgramRun
{
public:
    ProgramRun(const QStringList &arguments, const QProcessEnvironment &environment)
    {
        m_process.setProcessEnvironment(environment);
        m_process.setProgram(QStringLiteral(VELMORA_PROGRAM));
        m_process.setArguments(arguments);
        m_process.setChildProcessModifier(&heedSignals);
    }

    /// Restores the default handling of these signals: a shell may have started the tests with some of them ignored.
    static void heedSignals()
    {
        for (const int number : {SIGINT, SIGTERM, SIGHUP})
            ::signal(number, SIG_DFL);
    }
    ~ProgramRun()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished();
        }
    }

    void start()
    {
        m_process.start();
        m_process.closeWriteChannel();
    }

    /// Runs the event loop until the program has ended; false if it has not after `milliseconds`.
    [[nodiscard]] bool ends(int milliseconds = kPatience)
    {
        return waitUntil([this] { return m_process.state() == QProcess::NotRunning; }, milliseconds);
    }

    /// Runs the event loop until the output contains the text; false if it never does.
    [[nodiscard]] bool prints(const QByteArray &text)
    {
        return waitUntil([&] { return out().contains(text) || m_process.state() == QProcess::NotRunning; })
            && out().contains(text);
    }

    [[nodiscard]] const QByteArray &out()
    {
        m_out += m_process.readAllStandardOutput();
        return m_out;
    }
    [[nodiscard]] const QByteArray &err()
    {
        m_err += m_process.readAllStandardError();
        return m_err;
    }
    /// The exit code; -1 if a signal ended the program.
    [[nodiscard]] int code() const
    {
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }
    /// Sends the signal, unless the program has ended.
    void signal(int number) const
    {
        const auto process = static_cast<pid_t>(m_process.processId());
        if (process != 0)
            ::kill(process, number);
    }
    [[nodiscard]] QProcess &process() { return m_process; }

private:
    QProcess m_process;
    QByteArray m_out;
    QByteArray m_err;
};

/// A terminal of 80 columns and 24 rows for the program's input and output.
class PseudoTerminal
{
public:
    PseudoTerminal()
    {
        winsize size{24, 80, 0, 0};
        m_isOpen = ::openpty(&m_master, &m_slave, nullptr, nullptr, &size) == 0;
        ::fcntl(m_master, F_SETFL, O_NONBLOCK);
        // A program that had this end itself would wait forever to write when the test is killed.
        ::fcntl(m_master, F_SETFD, FD_CLOEXEC);
    }
    ~PseudoTerminal()
    {
        ::close(m_master);
        ::close(m_slave);
    }

    /// Makes this terminal the controlling terminal of the process, and the one that it writes to.
    void attach(QProcess &process, int output = STDOUT_FILENO) const
    {
        const int slave = m_slave;
        process.setChildProcessModifier([slave, output] {
            ProgramRun::heedSignals();
            ::setsid();
            ::ioctl(slave, TIOCSCTTY, 0);
            ::dup2(slave, STDIN_FILENO);
            ::dup2(slave, output);
        });
    }
    /// The end that programs use.
    [[nodiscard]] int slave() const { return m_slave; }

    /// All output so far.
    const QByteArray &output()
    {
        char buffer[4096];
        ssize_t count = 0;
        while ((count = ::read(m_master, buffer, sizeof buffer)) > 0)
            m_output.append(buffer, count);
        return m_output;
    }
    [[nodiscard]] bool shows(const QByteArray &text)
    {
        return waitUntil([&] { return output().contains(text); });
    }
    void clear() { m_output.clear(); }
    void type(const QByteArray &keys) const { std::ignore = ::write(m_master, keys.constData(), size_t(keys.size())); }
    void resize(unsigned short rows, unsigned short columns) const
    {
        const winsize size{rows, columns, 0, 0};
        ::ioctl(m_master, TIOCSWINSZ, &size);
    }
    [[nodiscard]] bool echoes() const
    {
        termios settings{};
        return ::tcgetattr(m_slave, &settings) == 0 && (settings.c_lflag & ECHO) != 0;
    }
    [[nodiscard]] bool isOpen() const { return m_isOpen; }

private:
    int m_master = -1;
    int m_slave = -1;
    bool m_isOpen = false;
    QByteArray m_output;
};

} // namespace velmora::testing
