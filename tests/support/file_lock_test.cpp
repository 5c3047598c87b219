// SPDX-License-Identifier: MIT
#include "support/file_lock.h"

#include "support/child_process.h"
#include "support/error.h"
#include "support/test_main.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace velmora;
using namespace velmora::testing;

class FileLockTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_path = m_folder->filePath(QStringLiteral("file.lock"));
    }

    void oneHolderAtATimeHasIt()
    {
        auto first = FileLock::tryLock(m_path);
        QVERIFY(first);
        QVERIFY(!FileLock::tryLock(m_path));
        QCOMPARE(inChild([&] { return isFree(); }), QStringLiteral("held"));
        first.reset();
        QCOMPARE(inChild([&] { return isFree(); }), QStringLiteral("free"));
        QVERIFY(FileLock::tryLock(m_path));
    }

    void theFileStaysAndIsTheUsersAlone()
    {
        QVERIFY(FileLock::tryLock(m_path));
        struct stat status = {};
        QCOMPARE(::stat(QFile::encodeName(m_path).constData(), &status), 0);
        QCOMPARE(status.st_mode & 07777U, 0600U);
    }

    void aHolderThatIsKilledHoldsNothing()
    {
        std::array<int, 2> ends{};
        QCOMPARE(::pipe(ends.data()), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            const auto lock = FileLock::tryLock(m_path);
            static_cast<void>(::write(ends[1], lock ? "+" : "-", 1));
            while (true)
                ::pause();
        }
        char isHeld = 0;
        QCOMPARE(::read(ends[0], &isHeld, 1), ssize_t(1));
        QCOMPARE(isHeld, '+');
        QVERIFY(!FileLock::tryLock(m_path));
        // A stopped process keeps the lock.
        ::kill(child, SIGSTOP);
        QVERIFY(!FileLock::tryLock(m_path));
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        QVERIFY(FileLock::tryLock(m_path));
        ::close(ends[0]);
        ::close(ends[1]);
    }

    void aFileFromAnEarlierRunIsNoLock_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("of this process") << QByteArray::number(::getpid()) + "\nvelmora\n";
        QTest::newRow("of the first process") << QByteArray("1\nvelmora\n");
    }
    void aFileFromAnEarlierRunIsNoLock()
    {
        QFETCH(QByteArray, content);
        QFile file(m_path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), content.size());
        file.close();
        QVERIFY(FileLock::tryLock(m_path));
    }

    void theNextHolderFindsWhatTheLastOneLeft()
    {
        auto lock = FileLock::tryLock(m_path);
        QCOMPARE(lock->note(), QByteArray());
        QVERIFY(lock->setNote("a longer note"));
        QVERIFY(lock->setNote("a note"));
        lock.reset();
        lock = FileLock::tryLock(m_path);
        QCOMPARE(lock->note(), QByteArray("a note"));
        QVERIFY(lock->setNote({}));
        QCOMPARE(lock->note(), QByteArray());
    }

    void ofALongFileTheBeginningIsTheNote()
    {
        QFile file(m_path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(QByteArray(10'000, 'x')), 10'000);
        file.close();
        QCOMPARE(FileLock::tryLock(m_path)->note(), QByteArray(4096, 'x'));
    }

    void aFileThatACleanerTookAwayIsMadeAnew()
    {
        auto lock = FileLock::tryLock(m_path);
        QVERIFY(QFile::remove(m_path));
        lock.reset();
        lock = FileLock::tryLock(m_path);
        QVERIFY(lock);
        QVERIFY(QFile::exists(m_path));
        QVERIFY(!FileLock::tryLock(m_path));
    }

    void aLockMakesAnOldFileLookUsed()
    {
        QFile file(m_path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        const auto old = QDateTime::currentDateTimeUtc().addDays(-3);
        QVERIFY(file.setFileTime(old, QFileDevice::FileModificationTime));
        file.close();
        QVERIFY(FileLock::tryLock(m_path));
        QVERIFY(QFileInfo(m_path).lastModified() > old.addDays(2));
    }

    void aProgramThatIsStartedDoesNotInheritTheLock()
    {
        auto lock = FileLock::tryLock(m_path);
        QProcess other;
        other.start(QStringLiteral("cat"), {});
        QVERIFY(other.waitForStarted());
        lock.reset();
        QVERIFY(FileLock::tryLock(m_path));
        other.closeWriteChannel();
        QVERIFY(other.waitForFinished());
    }

    void whereThereCanBeNoLockTheReasonIsTold()
    {
        const QString link = m_folder->filePath(QStringLiteral("link"));
        QVERIFY(QFile::link(QStringLiteral("/dev/zero"), link));
        QVERIFY(failure(link).startsWith(QStringLiteral("Cannot lock %1: ").arg(link)));
        QVERIFY(QDir().mkdir(m_path));
        QCOMPARE(failure(m_path), QStringLiteral("Cannot lock %1: Is a directory").arg(m_path));
        const QString fifo = m_folder->filePath(QStringLiteral("fifo"));
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        QCOMPARE(failure(fifo), QStringLiteral("Cannot lock %1: it is not a regular file").arg(fifo));
        const QString missing = m_folder->filePath(QStringLiteral("missing/file.lock"));
        QCOMPARE(failure(missing), QStringLiteral("Cannot lock %1: No such file or directory").arg(missing));
    }

private:
    [[nodiscard]] QString isFree() const
    {
        return FileLock::tryLock(m_path) ? QStringLiteral("free") : QStringLiteral("held");
    }
    static QString failure(const QString &path)
    {
        try {
            (void)FileLock::tryLock(path);
        } catch (const FileError &error) {
            return error.description();
        }
        return {};
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_path;
};

VELMORA_TEST(FileLockTest)
#include "file_lock_test.moc"
