// SPDX-License-Identifier: MIT
#include "accounts/process_lock.h"

#include "support/error.h"
#include "support/private_file.h"
#include "support/task_scope.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace velmora
{

using namespace std::chrono_literals;

namespace
{

constexpr std::chrono::milliseconds kFirstPause = 50ms;
constexpr std::chrono::milliseconds kLongestPause = 500ms;

/// False while somebody else holds the lock.
bool tryLock(QLockFile &lock, const QString &path)
{
    if (lock.tryLock(0)) {
        QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        return true;
    }
    if (lock.error() == QLockFile::LockFailedError)
        return false;
    throw FileError(QStringLiteral("Cannot lock %1: the file cannot be written").arg(path));
}

} // namespace

QCoro::Task<std::shared_ptr<QLockFile>> acquireProcessLock(QString path, Clock *clock, std::stop_token stop)
{
    throwIfStopped(stop);
    makePrivateFolder(QFileInfo(path).absolutePath());
    auto lock = std::make_shared<QLockFile>(path);
    // No age makes a lock stale, for a refresh may take its time; a holder that is not running any more does.
    lock->setStaleLockTime(0);
    std::chrono::milliseconds pause = kFirstPause;
    while (!tryLock(*lock, path)) {
        co_await clock->sleep(pause, stop);
        pause = std::min(pause * 2, kLongestPause);
    }
    co_return lock;
}

} // namespace velmora
