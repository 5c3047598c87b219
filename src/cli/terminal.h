// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QSize>
#include <QString>

#include <functional>

namespace velmora
{

/// One of the standard streams, with what it can do.
class Terminal
{
public:
    /// `descriptor` is borrowed. What the stream can do is decided here, from the descriptor, TERM and NO_COLOR.
    explicit Terminal(int descriptor);

    [[nodiscard]] int descriptor() const { return m_descriptor; }
    /// Whether what was written can be written over.
    [[nodiscard]] bool isLive() const { return m_isLive; }
    [[nodiscard]] bool isColoured() const { return m_isColoured; }
    /// Columns and rows; 80 by 24 where nobody knows.
    [[nodiscard]] QSize size() const;

    /// Writes all of it, waiting for the reader. After the reader has gone nothing is written any more.
    void write(const QByteArray &bytes);
    /// Writes the text, which may hold anything, as one harmless line.
    void writeLine(const QString &text);
    /// Writes one line that is known to be harmless, and may hold colours.
    void writeRawLine(const QString &text);
    /// Whether the reader has gone.
    [[nodiscard]] bool isClosed() const { return m_isClosed; }

    /// Asked when a write is interrupted by a signal: true gives the writing up.
    std::function<bool()> isInterrupted;
    /// Called before and after anything is written by writeLine(), for a picture that must step aside.
    std::function<void()> beforeLine;
    std::function<void()> afterLine;

private:
    int m_descriptor;
    bool m_isLive = false;
    bool m_isColoured = false;
    bool m_isClosed = false;
};

} // namespace velmora
