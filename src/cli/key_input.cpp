// SPDX-License-Identifier: MIT
#include "cli/key_input.h"

#include <unistd.h>

namespace velmora
{

namespace
{

bool isForeground()
{
    return ::isatty(STDIN_FILENO) == 1 && ::tcgetpgrp(STDIN_FILENO) == ::getpgrp();
}

} // namespace

KeyInput::KeyInput(QObject *parent)
    : QObject(parent)
{
    takeTerminal();
}

KeyInput::~KeyInput()
{
    if (m_original && isForeground())
        ::tcsetattr(STDIN_FILENO, TCSANOW, &*m_original);
}

void KeyInput::takeTerminal()
{
    // Changing the terminal from the background would stop the process (SIGTTOU).
    if (!isForeground())
        return;
    termios settings{};
    if (::tcgetattr(STDIN_FILENO, &settings) != 0)
        return;
    if (!m_original)
        m_original = settings;
    settings.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON);
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    ::tcsetattr(STDIN_FILENO, TCSANOW, &settings);
    if (m_notifier)
        return;
    m_notifier = std::make_unique<QSocketNotifier>(STDIN_FILENO, QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &KeyInput::readKeys);
}

void KeyInput::readKeys()
{
    char keys[64];
    const auto count = ::read(STDIN_FILENO, keys, sizeof keys);
    if (count <= 0) {
        m_notifier->setEnabled(false); // the terminal was closed
        return;
    }
    const bool quits = std::any_of(keys, keys + count, [](char key) { return key == 'q' || key == 'Q' || key == 4; });
    if (quits)
        Q_EMIT quitPressed();
}

} // namespace velmora
