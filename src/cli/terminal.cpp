// SPDX-License-Identifier: MIT
#include "cli/terminal.h"

#include "cli/command_line.h"
#include "cli/plain_text.h"

#include <cerrno>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace velmora
{

Terminal::Terminal(int descriptor)
    : m_descriptor(descriptor)
{
    const QByteArray type = qgetenv("TERM");
    m_isLive = ::isatty(descriptor) == 1 && !type.isEmpty() && type != "dumb";
    m_isColoured = m_isLive && qEnvironmentVariableIsEmpty("NO_COLOR");
}

QSize Terminal::size() const
{
    winsize size{};
    if (::ioctl(m_descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
        return QSize(80, 24);
    return QSize(size.ws_col, size.ws_row);
}

void Terminal::write(const QByteArray &bytes)
{
    qsizetype done = 0;
    while (!m_isClosed && done < bytes.size()) {
        const auto written = ::write(m_descriptor, bytes.constData() + done, static_cast<size_t>(bytes.size() - done));
        if (written >= 0) {
            done += written;
        } else if (errno == EAGAIN) {
            // A process that shares the terminal has made it non-blocking.
            pollfd wait{m_descriptor, POLLOUT, 0};
            ::poll(&wait, 1, 1000);
        } else if (errno != EINTR) {
            m_isClosed = true;
            // A terminal that was hung up answers EIO.
            if (errno != EPIPE && !(m_isLive && errno == EIO))
                m_failure = qt_error_string(errno);
        }
        if (done < bytes.size() && isInterrupted && isInterrupted())
            return;
    }
}

void Terminal::writeLine(const QString &text)
{
    writeRawLine(harmless(text));
}

void Terminal::writeRawLine(const QString &text)
{
    if (beforeLine)
        beforeLine();
    write((text + QLatin1Char('\n')).toUtf8());
    if (afterLine)
        afterLine();
}

void Terminal::writeRawLines(const QStringList &texts)
{
    for (const QString &text : texts)
        writeRawLine(text);
}

ExitCode codeAfterWriting(const Terminal &out, Terminal &err, ExitCode code)
{
    if (out.failure().isEmpty())
        return code;
    err.writeLine(QStringLiteral("The output cannot be written: %1.").arg(out.failure()));
    return ExitCode::Failed;
}

} // namespace velmora
