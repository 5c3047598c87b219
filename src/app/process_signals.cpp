// SPDX-License-Identifier: MIT
#include "app/process_signals.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace velmora
{

namespace
{

volatile std::sig_atomic_t s_endRequested = 0;
volatile std::sig_atomic_t s_writeEnd = -1;

/// How often each signal was received.
std::array<volatile std::sig_atomic_t, NSIG> s_counts{};

constexpr std::array kEndSignals{SIGINT, SIGTERM, SIGHUP};

bool isEndSignal(int number)
{
    return std::ranges::find(kEndSignals, number) != kEndSignals.end();
}

/// Does only what is allowed in a signal handler.
extern "C" void recordSignal(int number)
{
    const int saved = errno;
    if (isEndSignal(number)) {
        s_endRequested = 1;
        auto &count = s_counts.at(static_cast<std::size_t>(number));
        count = count + 1;
        // If the event loop hangs, the next signal ends the process.
        if (count == 2)
            ::signal(number, SIG_DFL);
    }
    const auto byte = static_cast<unsigned char>(number);
    [[maybe_unused]] const auto written = ::write(static_cast<int>(s_writeEnd), &byte, 1);
    errno = saved;
}

void handle(int number, int flags)
{
    struct sigaction previous {
    };
    ::sigaction(number, nullptr, &previous);
    if (isEndSignal(number) && previous.sa_handler == SIG_IGN)
        return;
    struct sigaction action {
    };
    action.sa_handler = recordSignal;
    action.sa_flags = flags;
    ::sigaction(number, &action, nullptr);
}

void restore(int number)
{
    struct sigaction current {
    };
    ::sigaction(number, nullptr, &current);
    if (current.sa_handler == recordSignal)
        ::signal(number, SIG_DFL);
}

} // namespace

ProcessSignals::ProcessSignals(QObject *parent)
    : TerminalEvents(parent)
{
    ::signal(SIGPIPE, SIG_IGN);
    // A write beyond the size limit then fails like any other.
    ::signal(SIGXFSZ, SIG_IGN);
    if (::pipe2(m_pipe.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    s_writeEnd = m_pipe[1];
    m_notifier = std::make_unique<QSocketNotifier>(m_pipe[0], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &ProcessSignals::readSignals);
    // Only the end interrupts a write that waits for its reader: the other signals restart it.
    for (const int number : kEndSignals)
        handle(number, 0);
    handle(SIGWINCH, SA_RESTART);
    handle(SIGCONT, SA_RESTART);
}

ProcessSignals::~ProcessSignals()
{
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGWINCH, SIGCONT})
        restore(number);
    s_writeEnd = -1;
    m_notifier.reset();
    for (const int end : m_pipe) {
        if (end >= 0)
            ::close(end);
    }
}

bool ProcessSignals::isEndRequested()
{
    return s_endRequested != 0;
}

void ProcessSignals::readSignals()
{
    std::array<unsigned char, 64> numbers{};
    const auto count = ::read(m_pipe[0], numbers.data(), numbers.size());
    bool isEnd = false;
    bool isDemanded = false;
    bool isResized = false;
    bool isContinued = false;
    for (ssize_t i = 0; i < count; ++i) {
        const int number = numbers.at(static_cast<size_t>(i));
        const bool isFirst = isEndSignal(number) && m_read.insert(number).second;
        isEnd = isEnd || isFirst;
        isDemanded = isDemanded || (isEndSignal(number) && !isFirst);
        isResized = isResized || number == SIGWINCH;
        isContinued = isContinued || number == SIGCONT;
    }
    if (isContinued)
        Q_EMIT continued();
    if (isResized)
        Q_EMIT resized();
    if (isEnd)
        Q_EMIT endRequested();
    if (isDemanded)
        Q_EMIT endDemanded();
}

} // namespace velmora
