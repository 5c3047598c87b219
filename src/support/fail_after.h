// SPDX-License-Identifier: MIT
#pragma once

#include "support/one_shot.h"

#include <QTimer>

#include <chrono>
#include <exception>

namespace velmora
{

/// While this object lives, fails the OneShot once the time is over. Needs an event loop.
template <typename T = void>
class FailAfter
{
public:
    FailAfter(const OneShot<T> &pending, std::chrono::milliseconds time, std::exception_ptr failure)
    {
        const auto fail = [pending, failure = std::move(failure)] {
            pending.fail(failure);
        };
        m_timer.setSingleShot(true);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, fail);
        m_timer.start(time);
    }
    FailAfter(const FailAfter &) = delete;
    FailAfter &operator=(const FailAfter &) = delete;

private:
    QTimer m_timer;
};

} // namespace velmora
