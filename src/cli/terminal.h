// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QSize>
#include <QStringList>

#include <functional>

namespace velmora
{

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

    /// Writes all bytes; blocks until the reader takes them. Does nothing once the reader has gone.
    void write(const QByteArray &bytes);
    /// Writes any text as one line, without what could control the terminal.
    void writeLine(const QString &text);
    /// Writes one line unchanged, which may contain colours; foreign text must have passed harmless().
    void writeRawLine(const QString &text);
    void writeRawLines(const QStringList &texts);
    /// Whether the reader has gone.
    [[nodiscard]] bool isClosed() const { return m_isClosed; }

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
};

} // namespace velmora
