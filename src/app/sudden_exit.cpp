// SPDX-License-Identifier: MIT
#include "app/sudden_exit.h"

#include <QCoreApplication>
#include <QMetaObject>

#include <atomic>
#include <thread>

#include <unistd.h>

namespace velmora
{

namespace
{

// exit() has no argument to pass an object in. Used on the main thread only:
std::function<void()> lastWishOfAll; // NOLINT(cert-err58-cpp): a function that is empty throws nothing
bool isWishUnderWay = false;
// Used on every thread:
std::atomic<std::chrono::milliseconds> patienceOfAll{};
/// The process that the wish belongs to; 0 for none. A child between fork() and exec() must not run it.
std::atomic<pid_t> ownerOfWish = 0;

/// Has the main thread exit, and waits for that. The main thread may already be running the wish, or may be waiting for
/// this thread, so the wait has a limit.
void leaveToMainThread(int code)
{
    const auto exitThere = [code] {
        if (!isWishUnderWay)
            ::_exit(code);
    };
    QMetaObject::invokeMethod(QCoreApplication::instance(), exitThere, Qt::QueuedConnection);
    std::this_thread::sleep_for(patienceOfAll.load());
}

} // namespace

SuddenExit::SuddenExit(std::function<void()> lastWish, std::chrono::milliseconds patience)
{
    lastWishOfAll = std::move(lastWish);
    patienceOfAll = patience;
    ownerOfWish = ::getpid();
}

SuddenExit::~SuddenExit()
{
    ownerOfWish = 0;
    lastWishOfAll = nullptr;
}

bool SuddenExit::takeOver(int code)
{
    const pid_t process = ::getpid();
    if (process != ownerOfWish)
        return false;
    // On Linux the main thread's id is that of the process.
    if (::gettid() != process) {
        leaveToMainThread(code);
        return true;
    }
    isWishUnderWay = true;
    lastWishOfAll();
    return true;
}

} // namespace velmora
