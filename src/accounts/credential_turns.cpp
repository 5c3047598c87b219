// SPDX-License-Identifier: MIT
#include "accounts/credential_turns.h"

#include "accounts/credential_fingerprint.h"
#include "support/expiry.h"
#include "support/file_lock.h"
#include "support/private_file.h"

#include <QFileInfo>
#include <QLoggingCategory>
#include <QUrl>

namespace velmora
{

using namespace std::chrono_literals;

namespace
{

Q_LOGGING_CATEGORY(accountsLog, "velmora.accounts", QtWarningMsg)

constexpr std::chrono::milliseconds kLongestWait = 15s;
constexpr std::chrono::milliseconds kFirstPause = 50ms;
constexpr std::chrono::milliseconds kLongestPause = 500ms;

/// The lock files of one account, in the order of preference.
QStringList lockPaths(const CredentialLockPlaces &places, qint64 accountID)
{
    const QString service = QString::fromLatin1(QUrl::toPercentEncoding(places.keyringService));
    const QString name = QLatin1Char('/') + service + QStringLiteral("-%1.lock").arg(accountID);
    QStringList paths;
    for (const QString &folder : places.folders)
        paths.append(folder + name);
    return paths;
}

/// Waits without limit for the lock. Polls, since nothing announces its release.
QCoro::Task<std::shared_ptr<FileLock>> acquire(QString path, Clock *clock, std::stop_token stop)
{
    makePrivateFolder(QFileInfo(path).absolutePath());
    std::chrono::milliseconds pause = kFirstPause;
    std::shared_ptr<FileLock> lock = FileLock::tryLock(path);
    while (!lock) {
        co_await clock->sleep(pause, stop);
        pause = std::min(pause * 2, kLongestPause);
        lock = FileLock::tryLock(path);
    }
    co_return lock;
}

/// Waits for the lock on the first file that can be locked at all. Returns null without paths.
QCoro::Task<std::shared_ptr<FileLock>> acquireFirst(QStringList paths, Clock *clock, std::stop_token stop)
{
    std::exception_ptr failure;
    for (const QString &path : std::as_const(paths)) {
        try {
            auto lock = co_await acquire(path, clock, stop);
            co_return lock;
        } catch (const FileError &) {
            failure = std::current_exception();
        }
    }
    if (failure)
        std::rethrow_exception(failure);
    co_return std::shared_ptr<FileLock>();
}

} // namespace

CredentialTurn::CredentialTurn(AsyncMutex::Lock lock, std::shared_ptr<FileLock> processLock)
    : m_lock(std::move(lock))
    , m_processLock(std::move(processLock))
{
}

void CredentialTurn::release()
{
    // Release the file first: the next caller in this process tries to lock it at once.
    m_processLock.reset();
    m_lock.release();
}

void CredentialTurn::beginReplacing(const GitHubCredential &credential)
{
    if (m_processLock && !m_processLock->setNote(fingerprint(credential)))
        qCInfo(accountsLog) << "No word can be left of the renewal of a credential.";
}

void CredentialTurn::endReplacing()
{
    if (m_processLock)
        std::ignore = m_processLock->setNote({});
}

bool CredentialTurn::wasBeingReplaced(const GitHubCredential &credential) const
{
    return m_processLock && m_processLock->note() == fingerprint(credential);
}

CredentialTurnTrace lookAtTurn(const CredentialLockPlaces &places, qint64 accountID)
{
    const QStringList paths = lockPaths(places, accountID);
    for (const QString &path : paths) {
        if (!QFileInfo::exists(path))
            continue;
        try {
            const auto lock = FileLock::tryLock(path);
            return {!lock, lock ? lock->note() : QByteArray()};
        } catch (const FileError &) {
            // take() would use the next file too.
        }
    }
    return {};
}

CredentialTurns::CredentialTurns(CredentialLockPlaces places, Clock *clock)
    : m_places(std::move(places))
    , m_clock(clock)
{
}

QCoro::Task<CredentialTurn> CredentialTurns::take(qint64 accountID, CredentialUse use, std::stop_token stop)
{
    const QStringList paths = lockPaths(m_places, accountID);
    Clock *const clock = m_clock;
    const Seat seat = m_seats[accountID];
    const Expiry expiry(clock, kLongestWait, stop);
    bool isAlone = false;
    try {
        auto lock = co_await seat.mutex.lock(expiry.stopToken());
        isAlone = true;
        *seat.use = use;
        auto processLock = co_await acquireFirst(paths, clock, expiry.stopToken());
        co_return CredentialTurn(std::move(lock), std::move(processLock));
    } catch (const CancellationError &) {
        if (!expiry.hasExpired())
            throw;
    }
    throw isAlone ? CredentialBusyError::otherProcess() : CredentialBusyError::inUse(*seat.use);
}

} // namespace velmora
