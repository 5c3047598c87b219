// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>
#include <optional>
#include <termios.h>

namespace velmora
{

/// Reads single keys from the terminal on standard input, without echo and without Return. Does nothing if standard
/// input is not a terminal, or belongs to another process group. The destructor restores the settings. Keys that send
/// signals keep doing so.
class KeyInput final : public QObject
{
    Q_OBJECT

public:
    explicit KeyInput(QObject *parent = nullptr);
    ~KeyInput() override;

    /// Applies the settings again, after the program was stopped and continued.
    void takeTerminal();

Q_SIGNALS:
    void quitPressed();

private:
    void readKeys();

    std::optional<termios> m_original;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace velmora
