// SPDX-License-Identifier: MIT
// Tells ThreadSanitizer what it cannot see, because Qt is not built with it: that a job which is given to a pool, and a
// call which is queued for another thread, happen after whatever the giver did before. Replaces the functions of Qt
// through which the program does either, and the call by which Qt starts programs. Only part of the tests under that
// sanitizer.
#include <QObject>
#include <QThreadPool>

#include <sanitizer/tsan_interface.h>

#include <dlfcn.h>
#include <sched.h>

#include <cstdarg>
#include <cstring>
#include <functional>

namespace
{

template <typename Function>
Function original(const char *mangledName, void *library = RTLD_NEXT)
{
    void *const found = ::dlsym(library, mangledName);
    if (!found)
        qFatal("There is no %s", mangledName);
    Function function = nullptr;
    std::memcpy(&function, &found, sizeof found);
    return function;
}

/// A call in place of another one, which it makes.
class QueuedCall final : public QtPrivate::QSlotObjectBase
{
public:
    explicit QueuedCall(QSlotObjectBase *call)
        : QSlotObjectBase(&handle)
        , m_call(call)
    {
        __tsan_release(this);
    }

private:
    static void handle(int operation, QSlotObjectBase *base, QObject *receiver, void **arguments, bool *)
    {
        auto *const self = static_cast<QueuedCall *>(base);
        __tsan_acquire(self);
        if (operation == Call) {
            self->m_call->call(receiver, arguments);
            __tsan_release(self); // the giver may be the one who destroys it
        } else if (operation == Destroy) {
            self->m_call->destroyIfLastRef();
            delete self;
        }
    }

    QSlotObjectBase *m_call;
};

} // namespace

bool QMetaObject::invokeMethodImpl(
    QObject *object, QtPrivate::QSlotObjectBase *slot, Qt::ConnectionType type, void *result)
{
    using Invoke = bool (*)(QObject *, QtPrivate::QSlotObjectBase *, Qt::ConnectionType, void *);
    static const auto invoke = original<Invoke>(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2Qt14ConnectionTypeEPv");
    return invoke(object, new QueuedCall(slot), type, result);
}

void QThreadPool::start(std::function<void()> job, int priority)
{
    using Start = void (*)(QThreadPool *, std::function<void()>, int);
    static const auto begin = original<Start>("_ZN11QThreadPool5startESt8functionIFvvEEi");
    // Qt itself copies only the pointers.
    auto *const given = new std::function<void()>(std::move(job));
    const auto run = [given, pool = this] {
        __tsan_acquire(given);
        (*given)();
        delete given;
        __tsan_release(pool);
    };
    __tsan_release(given);
    begin(this, run, priority);
}

bool QThreadPool::waitForDone(int milliseconds)
{
    using Wait = bool (*)(QThreadPool *, int);
    static const auto wait = original<Wait>("_ZN11QThreadPool11waitForDoneEi");
    const bool isDone = wait(this, milliseconds);
    __tsan_acquire(this);
    return isDone;
}

/// Calls the C library itself. QProcess starts a program by a clone() that shares the memory of its parent until the
/// program begins. ThreadSanitizer takes that for a fork: from then on it ignores what the parent does, and lets it
/// start no thread.
extern "C" int clone(int (*function)(void *), void *stack, int flags, void *argument, ...) noexcept
{
    using Clone = int (*)(int (*)(void *), void *, int, void *, ...);
    static const auto begin = original<Clone>("clone", ::dlopen("libc.so.6", RTLD_LAZY | RTLD_NOLOAD));
    va_list rest;
    va_start(rest, argument);
    auto *const parentPlace = va_arg(rest, pid_t *);
    auto *const storage = va_arg(rest, void *);
    auto *const childPlace = va_arg(rest, pid_t *);
    va_end(rest);
    return begin(function, stack, flags, argument, parentPlace, storage, childPlace);
}
