// SPDX-License-Identifier: MIT
#include "cli/progress_line.h"

#include "cli/plain_text.h"
#include "cli/terminal.h"

namespace velmora
{

ProgressLine::ProgressLine(Terminal *terminal, std::function<QString()> text)
    : m_terminal(terminal)
    , m_text(std::move(text))
{
    if (!m_terminal->isLive())
        return;
    m_terminal->beforeLine = [this] {
        erase();
    };
    m_terminal->afterLine = [this] {
        redraw();
    };
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { redraw(); });
    m_timer.start(std::chrono::seconds(1));
    redraw();
}

ProgressLine::~ProgressLine()
{
    if (!m_terminal->isLive())
        return;
    m_terminal->beforeLine = nullptr;
    m_terminal->afterLine = nullptr;
    erase();
}

void ProgressLine::redraw() const
{
    if (!m_terminal->isLive())
        return;
    erase();
    // A line that fills the last column may wrap.
    m_terminal->write(elidedMiddle(harmless(m_text()), m_terminal->size().width() - 1).toUtf8());
}

void ProgressLine::erase() const
{
    m_terminal->write("\r\x1b[2K");
}

} // namespace velmora
