// SPDX-License-Identifier: MIT
#include "accounts/credential_turns.h"

#include "support/await.h"
#include "support/fake_clock.h"
#include "support/file_lock.h"
#include "support/test_main.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace std::chrono_literals;
using namespace velmora;
using namespace velmora::testing;

class CredentialTurnsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_clock = std::make_unique<FakeClock>();
    }

    void oneAtATimeHasTheTurnOfAnAccount()
    {
        CredentialTurns turns({}, m_clock.get());
        auto first = awaitValue(turns.take(1, CredentialUse::Renewing, {}));
        const auto second = start(turns.take(1, CredentialUse::Renewing, {}));
        const auto other = start(turns.take(2, CredentialUse::Renewing, {}));
        QVERIFY(!second->isDone && other->isDone);
        first.release();
        QVERIFY(second->isDone && !second->failure);
        QCOMPARE(m_clock->sleeperCount(), 0);
    }

    void aWaitOf15SecondsEndsWithItsReason_data()
    {
        QTest::addColumn<int>("use");
        QTest::addColumn<QString>("reason");
        QTest::newRow("renewal") << static_cast<int>(CredentialUse::Renewing)
                                 << QStringLiteral("The token of this account is still being renewed.");
        QTest::newRow("connection") << static_cast<int>(CredentialUse::Connecting)
                                    << QStringLiteral("This account is being connected again. If the keyring asks a "
                                                      "question, answer it.");
        QTest::newRow("removal") << static_cast<int>(CredentialUse::Removing)
                                 << QStringLiteral("This account is being removed. If the keyring asks a question, "
                                                   "answer it.");
    }

    void aWaitOf15SecondsEndsWithItsReason()
    {
        QFETCH(int, use);
        QFETCH(QString, reason);
        CredentialTurns turns({}, m_clock.get());
        const auto held = awaitValue(turns.take(1, static_cast<CredentialUse>(use), {}));
        const auto waiting = start(turns.take(1, CredentialUse::Renewing, {}));
        m_clock->advance(15s - 1ms);
        drainEvents();
        QVERIFY(!waiting->isDone);
        m_clock->advance(1ms);
        drainEvents();
        QVERIFY(waiting->failedWith(CredentialBusyError::inUse(static_cast<CredentialUse>(use))));
        QCOMPARE(waiting->description(), reason);
    }

    void theReasonIsThatOfTheOneWhoHasTheTurnNow()
    {
        CredentialTurns turns({}, m_clock.get());
        auto first = awaitValue(turns.take(1, CredentialUse::Connecting, {}));
        const auto second = start(turns.take(1, CredentialUse::Removing, {}));
        first.release();
        QVERIFY(second->isDone);
        const auto third = start(turns.take(1, CredentialUse::Renewing, {}));
        m_clock->advance(15s);
        drainEvents();
        QVERIFY(third->failedWith(CredentialBusyError::inUse(CredentialUse::Removing)));
    }

    void anotherProcessIsWaitedForNoLongerThan15SecondsEither()
    {
        CredentialTurns turns({{m_folder->path()}, QStringLiteral("service")}, m_clock.get());
        auto other = FileLock::tryLock(m_folder->filePath(QStringLiteral("service-1.lock")));
        QVERIFY(other != nullptr);
        const auto waiting = start(turns.take(1, CredentialUse::Renewing, {}));
        const auto otherAccount = start(turns.take(2, CredentialUse::Renewing, {}));
        QVERIFY(otherAccount->isDone && !otherAccount->failure);
        m_clock->advance(15s);
        drainEvents();
        QVERIFY(waiting->failedWith(CredentialBusyError::otherProcess()));
        QCOMPARE(waiting->description(),
            QStringLiteral(
                "Another Velmora program keeps the token of this account locked. If it is stopped, let it go "
                "on, or end it."));
        // A failed caller leaves no lock behind.
        other.reset();
        const auto later = start(turns.take(1, CredentialUse::Renewing, {}));
        QVERIFY(later->isDone && !later->failure);
    }

    void bothWaitsTogetherTakeNoMoreThan15Seconds()
    {
        CredentialTurns turns({{m_folder->path()}, QStringLiteral("service")}, m_clock.get());
        const auto other = FileLock::tryLock(m_folder->filePath(QStringLiteral("service-1.lock")));
        const auto first = start(turns.take(1, CredentialUse::Renewing, {}));
        m_clock->advance(10s);
        const auto second = start(turns.take(1, CredentialUse::Renewing, {}));
        m_clock->advance(15s);
        drainEvents();
        QVERIFY(first->failedWith(CredentialBusyError::otherProcess()));
        QVERIFY(second->failedWith(CredentialBusyError::otherProcess()));
    }

    void aStopIsACancellationAndNoReason()
    {
        CredentialTurns turns({}, m_clock.get());
        const auto held = awaitValue(turns.take(1, CredentialUse::Renewing, {}));
        std::stop_source source;
        const auto waiting = start(turns.take(1, CredentialUse::Renewing, source.get_token()));
        source.request_stop();
        drainEvents();
        QVERIFY(waiting->failedWithType<CancellationError>());
        QCOMPARE(m_clock->sleeperCount(), 0);
    }

    void theLockIsTriedAgainAfter50To500Milliseconds()
    {
        CredentialTurns turns({{m_folder->path()}, QStringLiteral("service")}, m_clock.get());
        const auto other = FileLock::tryLock(m_folder->filePath(QStringLiteral("service-1.lock")));
        std::stop_source stop;
        const auto waiting = start(turns.take(1, CredentialUse::Renewing, stop.get_token()));
        while (m_clock->requestedSleeps.size() < 7)
            QVERIFY(m_clock->advanceToNextWake());
        QCOMPARE(m_clock->requestedSleeps.mid(1), // the first is the limit of 15 seconds
            (QList<std::chrono::milliseconds>{50ms, 100ms, 200ms, 400ms, 500ms, 500ms}));
        stop.request_stop();
        drainEvents();
        QVERIFY(waiting->failedWithType<CancellationError>());
    }

    void theFolderIsMadeForTheUserAlone()
    {
        const QString folder = m_folder->filePath(QStringLiteral("new/locks"));
        CredentialTurns turns({{folder}, QStringLiteral("service")}, m_clock.get());
        const auto held = awaitValue(turns.take(1, CredentialUse::Renewing, {}));
        struct stat information = {};
        QCOMPARE(::stat(QFile::encodeName(folder).constData(), &information), 0);
        QCOMPARE(information.st_mode & 0777U, 0700U);
    }

    void theLockIsNamedAfterTheKeyringsServiceAndTheAccount()
    {
        CredentialTurns turns({{m_folder->path()}, QStringLiteral("service@https://ghe.test/x")}, m_clock.get());
        const auto held = awaitValue(turns.take(7, CredentialUse::Renewing, {}));
        QVERIFY(QFile::exists(m_folder->filePath(QStringLiteral("service%40https%3A%2F%2Fghe.test%2Fx-7.lock"))));
    }

    void profilesOfTheSameServiceTakeTurns()
    {
        const CredentialLockPlaces places{{m_folder->path()}, QStringLiteral("service")};
        CredentialTurns here(places, m_clock.get());
        CredentialTurns there(places, m_clock.get());
        auto held = awaitValue(here.take(1, CredentialUse::Renewing, {}));
        const auto waiting = start(there.take(1, CredentialUse::Renewing, {}));
        QVERIFY(!waiting->isDone);
        held.release();
        m_clock->advance(1s);
        QVERIFY(waiting->isDone && !waiting->failure);
    }

    void aFolderInWhichNoLockCanBeMadeGivesWayToTheNext()
    {
        QFile obstacle(m_folder->filePath(QStringLiteral("obstacle")));
        QVERIFY(obstacle.open(QIODevice::WriteOnly));
        const QString second = m_folder->filePath(QStringLiteral("second"));
        CredentialTurns turns({{obstacle.fileName(), second}, QStringLiteral("service")}, m_clock.get());
        const auto held = awaitValue(turns.take(1, CredentialUse::Renewing, {}));
        QVERIFY(FileLock::tryLock(second + QStringLiteral("/service-1.lock")) == nullptr);
    }

    void whereNoFolderWillDoTheLastReasonIsTold()
    {
        QVERIFY(QDir(m_folder->path()).mkpath(QStringLiteral("service-1.lock")));
        CredentialTurns turns({{m_folder->path()}, QStringLiteral("service")}, m_clock.get());
        const auto outcome = await(turns.take(1, CredentialUse::Renewing, {}));
        QVERIFY(outcome.failedWithType<FileError>());
        QVERIFY(outcome.description().endsWith(QStringLiteral("Is a directory")));
        // The failure must not keep the turn within this process.
        const auto again = await(turns.take(1, CredentialUse::Renewing, {}));
        QVERIFY(again.failedWithType<FileError>());
    }

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<FakeClock> m_clock;
};

VELMORA_TEST(CredentialTurnsTest)
#include "credential_turns_test.moc"
