// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QTimer>

#include <functional>

namespace velmora
{

class Terminal;

/// A line that tells what the user waits for. It is redrawn in place, and erased in the end. Nothing is written where
/// the output is no terminal.
class ProgressLine
{
public:
    /// `text` is asked for any text, every second and in redraw(). The terminal is not owned and outlives the line;
    /// lines that others write to it come before this one.
    ProgressLine(Terminal *terminal, std::function<QString()> text);
    ~ProgressLine();
    ProgressLine(const ProgressLine &) = delete;
    ProgressLine &operator=(const ProgressLine &) = delete;

    /// Shows the present text.
    void redraw() const;

private:
    void erase() const;

    Terminal *m_terminal;
    std::function<QString()> m_text;
    QTimer m_timer; ///< redraws relative times
};

} // namespace velmora
