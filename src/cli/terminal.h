// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QSize>
#include <QStringList>

#include <functional>

namespace velmora
{

enum class ExitCode : int;

/// A standard stream and its capabilities.
class Terminal
{
public:
    /// `descriptor` is not owned. Capabilities are derived here, from the descriptor, TERM and NO_COLOR.
    explicit Terminal(int descriptor);

    [[nodiscard]] int descriptor() const { return m_descriptor; }
    /// Whether output can be overwritten: the stream is a terminal that is not dumb.
    [[nodiscard]] bool isLive() const { return m_isLive; }
    [[nodiscard]] bool isColoured() const { return m_isColoured; }
    /// Columns and rows; 80 by 24 if unknown.
    [[nodiscard]] QSize size() const;

    /// Writes all bytes; blocks until the reader takes them. Does nothing once the stream is closed.
    void write(const QByteArray &bytes);
    /// Writes any text as one line, without what could control the terminal.
    void writeLine(const QString &text);
    /// Writes one line unchanged, which may contain colours; foreign text must have passed harmless().
    void writeRawLine(const QString &text);
    void writeRawLines(const QStringList &texts);
    /// Whether nothing more can be written: the reader has gone, or writing has failed.
    [[nodiscard]] bool isClosed() const { return m_isClosed; }
    /// Why writing has failed, such as on a full disk; empty while it has not, and for a reader that has gone.
    [[nodiscard]] const QString &failure() const { return m_failure; }

    /// Called when a signal interrupts a write; true abandons the write.
    std::function<bool()> isInterrupted;
    /// Called before and after each line, so that a picture on the same terminal can be erased and redrawn.
    std::function<void()> beforeLine;
    std::function<void()> afterLine;

private:
    int m_descriptor;
    bool m_isLive = false;
    bool m_isColoured = false;
    bool m_isClosed = false;
    QString m_failure;
};

/// The code with which the program ends. What could not be written is a failure, which `err` is told.
[[nodiscard]] ExitCode codeAfterWriting(const Terminal &out, Terminal &err, ExitCode code);

} // namespace velmora
