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

/// The exclusive turn to replace the credential of one account. Held until it is destroyed or released.
class CredentialTurn
{
public:
    CredentialTurn() = default;
    CredentialTurn(AsyncMutex::Lock lock, std::shared_ptr<FileLock> processLock);

    void release();

    /// Records in the lock file that the refresh token of this credential may be used up from now on. If this process
    /// is killed, the next holder finds out with wasBeingReplaced(). Needs the lock between processes.
    void beginReplacing(const GitHubCredential &credential);
    /// Removes the record: the new credential is stored, or the replacement has failed.
    void endReplacing();
    /// Whether an earlier holder recorded the replacement of this credential and did not finish it: it was killed, or
    /// could not store the new one.
    [[nodiscard]] bool wasBeingReplaced(const GitHubCredential &credential) const;

private:
    AsyncMutex::Lock m_lock;
    std::shared_ptr<FileLock> m_processLock;
};

/// The places of the locks between processes.
struct CredentialLockPlaces {
    /// The first folder that allows a lock is used. Without folders, turns hold within this process only.
    QStringList folders;
    /// The keyring service of the credentials: processes that share it share the locks.
    QString keyringService;
};

/// The state of an account's turn, seen from outside.
struct CredentialTurnTrace {
    bool isTaken = false; ///< a process holds the turn
    QByteArray replaced; ///< fingerprint of the credential whose replacement was begun but not finished; else empty
};

/// Reads the state without waiting and without creating a file. `replaced` is empty while the turn is taken.
[[nodiscard]] CredentialTurnTrace lookAtTurn(const CredentialLockPlaces &places, qint64 accountID);

/// Grants the turn to replace the credential of an account to one holder at a time, among all processes that share the
/// locks. A refresh token works only once, so it must not be sent twice.
class CredentialTurns
{
public:
    /// `clock` is not owned.
    CredentialTurns(CredentialLockPlaces places, Clock *clock);

    /// Waits for the turn for at most 15 seconds, then throws CredentialBusyError, which names the current use. A stop
    /// ends the wait with a CancellationError. Throws FileError if no lock file can be used. A turn may outlive this
    /// object.
    [[nodiscard]] QCoro::Task<CredentialTurn> take(qint64 accountID, CredentialUse use, std::stop_token stop);

private:
    /// The turn of one account within this process.
    struct Seat {
        AsyncMutex mutex;
        std::shared_ptr<CredentialUse> use = std::make_shared<CredentialUse>(); ///< the use by the holder of the mutex
    };

    CredentialLockPlaces m_places;
    Clock *m_clock;
    QHash<qint64, Seat> m_seats;
};

} // namespace velmora
