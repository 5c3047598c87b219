// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_busy_error.h"
#include "github/github_credential.h"
#include "support/async_mutex.h"
#include "support/clock.h"

#include <QHash>
#include <QStringList>

#include <memory>

namespace velmora
{

class FileLock;

/// The right to replace the credential of one account. Held until it is destroyed or released.
class CredentialTurn
{
public:
    CredentialTurn() = default;
    CredentialTurn(AsyncMutex::Lock lock, std::shared_ptr<FileLock> processLock);

    void release();

    /// This credential is about to be replaced: GitHub may take its refresh token, which works only once. A holder
    /// that is killed from here on leaves that to the next one. Needs the lock between processes.
    void beginReplacing(const GitHubCredential &credential);
    /// It is replaced and stored, or is as good as before.
    void endReplacing();
    /// Whether a holder was killed, or has not stored the new one, since it began to replace this credential.
    [[nodiscard]] bool wasBeingReplaced(const GitHubCredential &credential) const;

private:
    AsyncMutex::Lock m_lock;
    std::shared_ptr<FileLock> m_processLock;
};

/// Where the locks are by which processes take turns.
struct CredentialLockPlaces {
    /// The first folder in which a lock can be made is used. Without one turns hold in this process only.
    QStringList folders;
    /// What the credentials are filed under: processes that share it share the locks.
    QString keyringService;
};

/// What a look at the turn of an account tells.
struct CredentialTurnTrace {
    bool isTaken = false; ///< a process has the turn
    QByteArray replaced; ///< fingerprint of the credential whose replacement was begun and not finished; else empty
};

/// Looks without taking the turn, and makes no file. One that is taken says nothing of what is replaced.
[[nodiscard]] CredentialTurnTrace lookAtTurn(const CredentialLockPlaces &places, qint64 accountID);

/// Lets one at a time replace the credential of an account, in this process and among all that share
/// the locks. A refresh token works only once, so two must never use the same.
class CredentialTurns
{
public:
    /// `clock` is not owned.
    CredentialTurns(CredentialLockPlaces places, Clock *clock);

    /// Waits for the turn, at most 15 seconds; then throws CredentialBusyError, which names what it waited
    /// for. A stop ends the waiting with a CancellationError. Throws FileError when no lock can be made. A turn
    /// outlives this object.
    [[nodiscard]] QCoro::Task<CredentialTurn> take(qint64 accountID, CredentialUse use, std::stop_token stop);

private:
    /// Of one account in this process.
    struct Seat {
        AsyncMutex mutex;
        std::shared_ptr<CredentialUse> use = std::make_shared<CredentialUse>(); ///< of who holds the mutex
    };

    CredentialLockPlaces m_places;
    Clock *m_clock;
    QHash<qint64, Seat> m_seats;
};

} // namespace velmora
