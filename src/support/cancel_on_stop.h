// SPDX-License-Identifier: MIT
#pragma once

#include "support/error.h"
#include "support/one_shot.h"

#include <QCoreApplication>
#include <QMetaObject>

#include <exception>
#include <stop_token>

namespace velmora
{

/// While this object lives, a stop fails the OneShot with a CancellationError.
///
/// The error is delivered from the event loop, because a stop may be requested in a destructor, where no coroutine may
/// be resumed. Without an application object it is delivered at once.
template <typename T = void>
class CancelOnStop
{
    struct Interrupt {
        OneShot<T> pending;

        void operator()() const
        {
            const auto cancel = [pending = pending] {
                pending.fail(std::make_exception_ptr(CancellationError()));
            };
            if (const auto application = QCoreApplication::instance())
                QMetaObject::invokeMethod(application, cancel, Qt::QueuedConnection);
            else
                cancel();
        }
    };

public:
    CancelOnStop(const OneShot<T> &pending, const std::stop_token &stop)
        : m_callback(stop, Interrupt{pending})
    {
    }

private:
    std::stop_callback<Interrupt> m_callback;
};

} // namespace velmora
