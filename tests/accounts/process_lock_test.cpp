// SPDX-License-Identifier: MIT
#include "accounts/process_lock.h"

#include "support/await.h"
#include "support/fake_clock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;
using namespace velmora;
using namespace velmora::testing;

class ProcessLockTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = m_folder->filePath(QStringLiteral("new/folder/42.lock"));
    }

    void aFreeLockIsHeldAtOnceAndUntilItIsLetGo()
    {
        FakeClock clock;
        auto first = awaitValue(acquireProcessLock(m_path, &clock, {}));
        QVERIFY(first->isLocked());
        QVERIFY(clock.requestedSleeps.isEmpty());
        const auto second = start(acquireProcessLock(m_path, &clock, {}));
        for (int i = 0; i < 20; ++i)
            QVERIFY(clock.advanceToNextWake());
        QVERIFY(!second->isDone);
        first.reset();
        QVERIFY(clock.advanceToNextWake());
        QVERIFY(second->isDone);
        QVERIFY(second->value.value()->isLocked());
    }

    void theWaitsGrowFrom50To500Milliseconds()
    {
        FakeClock clock;
        const auto held = awaitValue(acquireProcessLock(m_path, &clock, {}));
        std::stop_source stop;
        const auto waiting = start(acquireProcessLock(m_path, &clock, stop.get_token()));
        while (clock.requestedSleeps.size() < 6)
            QVERIFY(clock.advanceToNextWake());
        QCOMPARE(clock.requestedSleeps, (QList<std::chrono::milliseconds>{50ms, 100ms, 200ms, 400ms, 500ms, 500ms}));
        stop.request_stop();
        QVERIFY(waiting->isDone);
    }

    void aStopEndsTheWait()
    {
        FakeClock clock;
        const auto held = awaitValue(acquireProcessLock(m_path, &clock, {}));
        std::stop_source stop;
        const auto waiting = start(acquireProcessLock(m_path, &clock, stop.get_token()));
        stop.request_stop();
        QVERIFY(waiting->failedWithType<CancellationError>());
        QVERIFY(held->isLocked());
        QVERIFY(await(acquireProcessLock(m_path, &clock, stop.get_token())).failedWithType<CancellationError>());
    }

    void theLockOfADeadProcessDoesNotCount()
    {
        QVERIFY(QDir().mkpath(QFileInfo(m_path).absolutePath()));
        const pid_t child = ::fork();
        if (child == 0)
            ::_exit(0);
        QVERIFY(child > 0);
        // Waited for, so that its number belongs to nobody.
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        writeLock(QByteArray::number(child));
        FakeClock clock;
        QVERIFY(awaitValue(acquireProcessLock(m_path, &clock, {}))->isLocked());
        QVERIFY(clock.requestedSleeps.isEmpty());
    }

    void theLockOfALivingProcessCountsHoweverOldItIs()
    {
        FakeClock clock;
        const auto held = awaitValue(acquireProcessLock(m_path, &clock, {}));
        QFile file(m_path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(QDateTime::currentDateTimeUtc().addDays(-3), QFileDevice::FileModificationTime));
        std::stop_source stop;
        const auto waiting = start(acquireProcessLock(m_path, &clock, stop.get_token()));
        QVERIFY(clock.advanceToNextWake());
        QVERIFY(!waiting->isDone);
        stop.request_stop();
    }

    void folderAndFileAreOfTheUserAlone()
    {
        FakeClock clock;
        const auto held = awaitValue(acquireProcessLock(m_path, &clock, {}));
        const auto mode = [](const QString &path) {
            struct stat information = {};
            return ::stat(QFile::encodeName(path).constData(), &information) == 0 ? information.st_mode & 0777U : 0U;
        };
        QCOMPARE(mode(m_path), 0600U);
        QCOMPARE(mode(QFileInfo(m_path).absolutePath()), 0700U);
    }

    void aPlaceWhereNoLockCanBeMadeIsAnError()
    {
        QFile obstacle(m_folder->filePath(QStringLiteral("obstacle")));
        QVERIFY(obstacle.open(QIODevice::WriteOnly));
        FakeClock clock;
        QVERIFY(await(acquireProcessLock(obstacle.fileName() + QLatin1String("/x.lock"), &clock, {}))
                    .failedWithType<FileError>());
        // No file can be made here, not even by the superuser.
        QVERIFY(await(acquireProcessLock(QStringLiteral("/proc/x.lock"), &clock, {})).failedWithType<FileError>());
    }

private:
    void writeLock(const QByteArray &pid)
    {
        QFile file(m_path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(pid + "\nprocess_lock_test\n" + QSysInfo::machineHostName().toUtf8() + '\n');
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
};

QTEST_GUILESS_MAIN(ProcessLockTest)
#include "process_lock_test.moc"
