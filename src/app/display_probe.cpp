// SPDX-License-Identifier: MIT
#include "app/display_probe.h"

#include <QByteArray>
#include <QtGlobal>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace velmora
{

namespace
{

using namespace std::chrono_literals;

[[noreturn]] void tryDisplay()
{
    // Its messages about a broken display must not be seen, and it must leave no core file.
    const rlimit noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::dup2(nowhere, stream);
    ::execl("/proc/self/exe", "velmora", "--is-display-usable", static_cast<char *>(nullptr));
    ::_exit(127);
}

bool endsWell(pid_t child)
{
    const auto deadline = std::chrono::steady_clock::now() + 3s;
    int status = 0;
    while (true) {
        const pid_t ended = ::waitpid(child, &status, WNOHANG);
        if (ended == child)
            return WIFEXITED(status) && WEXITSTATUS(status) == 0;
        if (ended < 0 && errno != EINTR)
            return false;
        if (std::chrono::steady_clock::now() > deadline) {
            ::kill(child, SIGKILL);
            ::waitpid(child, &status, 0);
            return false;
        }
        std::this_thread::sleep_for(5ms);
    }
}

} // namespace

bool isDisplayNamed()
{
    for (const char *variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        if (!qEnvironmentVariableIsEmpty(variable))
            return true;
    }
    return false;
}

void reportNoDisplay()
{
    std::fputs("There is no display to show Velmora on. “velmora watch” watches in the terminal.\n", stderr);
}

void endQuietlyWithoutDisplay()
{
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &) {
        if (type != QtFatalMsg)
            return;
        reportNoDisplay();
        ::_exit(EXIT_FAILURE);
    });
}

bool isDisplayUsable()
{
    if (!isDisplayNamed())
        return false;
    const pid_t child = ::fork();
    if (child == 0)
        tryDisplay();
    return child > 0 && endsWell(child);
}

} // namespace velmora
