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

// An exit knows of nothing but these. The main thread's:
std::function<void()> lastWishOfAll; // NOLINT(cert-err58-cpp): a function that is empty throws nothing
bool isWishUnderWay = false;
// Of every thread:
std::atomic<std::chrono::milliseconds> patienceOfAll{};
/// The process that the wish belongs to, 0 for none: a child that has not become another program yet has none.
std::atomic<pid_t> ownerOfWish = 0;

/// The main thread may have found out by itself, or be waiting for the one that this is called on.
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
    // The main thread has the number of its process.
    if (::gettid() != process) {
        leaveToMainThread(code);
        return true;
    }
    isWishUnderWay = true;
    lastWishOfAll();
    return true;
}

} // namespace velmora
