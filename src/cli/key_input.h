// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>
#include <optional>
#include <termios.h>

namespace velmora
{

/// Single keys of the terminal on standard input: they are not echoed, and come without the Return key. Does nothing
/// where standard input is no terminal or belongs to another program. The terminal's settings are put
/// back at the end; the keys that send signals stay as they are.
class KeyInput final : public QObject
{
    Q_OBJECT

public:
    explicit KeyInput(QObject *parent = nullptr);
    ~KeyInput() override;

    /// Sets the terminal again, after another program has had it.
    void takeTerminal();

Q_SIGNALS:
    void quitPressed();

private:
    void readKeys();

    std::optional<termios> m_original;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace velmora
