// SPDX-License-Identifier: MIT
#include "support/private_file.h"
#include "support/test_main.h"

#include "support/child_process.h"
#include "support/error.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace velmora;
using namespace velmora::testing;

namespace
{

/// The description of the FileError that the work throws; empty for none.
template <typename Work>
QString failureOf(Work work)
{
    try {
        work();
    } catch (const FileError &error) {
        return error.description();
    }
    return {};
}

QStringList filesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

} // namespace

class PrivateFileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:

    void writesAFileThatOnlyItsOwnerCanRead()
    {
        const QString path = m_folder.filePath(QStringLiteral("a/b/file"));
        writePrivateFile(path, QByteArrayView("content"));
        QCOMPARE(readFile(path), std::optional<QByteArray>("content"));
        QCOMPARE(mode(path), 0600U);
        QCOMPARE(mode(m_folder.filePath(QStringLiteral("a"))), 0700U);
        QCOMPARE(mode(m_folder.filePath(QStringLiteral("a/b"))), 0700U);
    }

    void replacesAFileAsAWholeAndLeavesNothingElse()
    {
        const QString path = m_folder.filePath(QStringLiteral("c/file"));
        writePrivateFile(path, QByteArrayView("a long first content"));
        ::chmod(QFile::encodeName(path).constData(), 0644);
        writePrivateFile(path, QByteArrayView("second"));
        QCOMPARE(readFile(path), std::optional<QByteArray>("second"));
        QCOMPARE(mode(path), 0600U);
        const QDir folder(m_folder.filePath(QStringLiteral("c")));
        QCOMPARE(folder.entryList(QDir::Files | QDir::Hidden), QStringList(QStringLiteral("file")));
    }

    void aFolderThatExistsKeepsItsPermissions()
    {
        const QString path = m_folder.filePath(QStringLiteral("shared"));
        QVERIFY(QDir().mkpath(path));
        ::chmod(QFile::encodeName(path).constData(), 0755);
        makePrivateFolder(path);
        QCOMPARE(mode(path), 0755U);
    }

    void aMissingFileIsAbsentAndAnEmptyOneIsEmpty()
    {
        QVERIFY(!readFile(m_folder.filePath(QStringLiteral("none"))).has_value());
        const QString path = m_folder.filePath(QStringLiteral("empty"));
        writePrivateFile(path, QByteArrayView());
        QCOMPARE(readFile(path), std::optional<QByteArray>(QByteArray()));
    }

    void aFileOverTheLimitOfTheProcessLeavesTheOldOne_data() { sizes(); }
    void aFileOverTheLimitOfTheProcessLeavesTheOldOne()
    {
        QFETCH(int, size);
        const QString path = m_folder.filePath(QStringLiteral("limited/file"));
        const QByteArray old(size, 'o');
        writePrivateFile(path, old);
        const QString failure = inChild([&] {
            ::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit{static_cast<rlim_t>(size - 1), static_cast<rlim_t>(size - 1)};
            ::setrlimit(RLIMIT_FSIZE, &limit);
            return failureOf([&] { writePrivateFile(path, QByteArray(size, 'n')); });
        });
        QCOMPARE(failure, QStringLiteral("Cannot write %1: File too large").arg(path));
        QCOMPARE(readFile(path), std::optional(old));
        QCOMPARE(filesIn(m_folder.filePath(QStringLiteral("limited"))), QStringList(QStringLiteral("file")));
    }

    void aFullDiskLeavesTheOldFile_data() { sizes(); }
    void aFullDiskLeavesTheOldFile()
    {
        QFETCH(int, size);
        const QString folder = m_folder.filePath(QStringLiteral("disk"));
        QVERIFY(QDir().mkpath(folder));
        const QString result = inChild([&] {
            if (!mountSmallDisk(folder, "256k"))
                return kNotAllowed;
            const QString path = folder + QStringLiteral("/file");
            const QByteArray old(size, 'o');
            writePrivateFile(path, old);
            fillDisk(folder + QStringLiteral("/filler"));
            const QString inAdvance = failureOf([&] { requireWritable(path); });
            const QString failure = failureOf([&] { writePrivateFile(path, QByteArray(size, 'n')); });
            if (inAdvance != failure)
                return QStringLiteral("in advance: ") + inAdvance;
            if (readFile(path) != old)
                return QStringLiteral("the old content is lost");
            if (filesIn(folder) != QStringList{QStringLiteral("file"), QStringLiteral("filler")})
                return QStringLiteral("something is left behind");
            return failure;
        });
        if (result == kNotAllowed)
            QSKIP("A disk of one's own cannot be mounted here.");
        QCOMPARE(result, QStringLiteral("Cannot write %1/file: No space left on device").arg(folder));
    }

    void aReadOnlyFolderLeavesTheOldFile()
    {
        const QString folder = m_folder.filePath(QStringLiteral("read-only"));
        const QString path = folder + QStringLiteral("/file");
        const QString result = inChild([&] {
            // The superuser ignores permissions.
            if (::geteuid() == 0 && (::chmod(QFile::encodeName(m_folder.path()), 0777) != 0 || ::setuid(65534) != 0))
                return kNotAllowed;
            writePrivateFile(path, QByteArrayView("old"));
            ::chmod(QFile::encodeName(folder).constData(), 0500);
            const QString inAdvance = failureOf([&] { requireWritable(path); });
            const QString failure = failureOf([&] { writePrivateFile(path, QByteArrayView("new")); });
            if (inAdvance != failure)
                return QStringLiteral("in advance: ") + inAdvance;
            const bool isKept = readFile(path) == "old";
            ::chmod(QFile::encodeName(folder).constData(), 0700);
            return isKept ? failure : QStringLiteral("the old content is lost");
        });
        if (result == kNotAllowed)
            QSKIP("The superuser's rights cannot be given up here.");
        QCOMPARE(result, QStringLiteral("Cannot write %1: Permission denied").arg(path));
        QCOMPARE(filesIn(folder), QStringList(QStringLiteral("file")));
    }

    void aFileThatItsOwnerMadeReadOnlyIsNotReplaced()
    {
        const QString path = m_folder.filePath(QStringLiteral("kept/file"));
        const QString result = inChild([&] {
            if (::geteuid() == 0 && (::chmod(QFile::encodeName(m_folder.path()), 0777) != 0 || ::setuid(65534) != 0))
                return kNotAllowed;
            writePrivateFile(path, QByteArrayView("old"));
            ::chmod(QFile::encodeName(path).constData(), 0400);
            return failureOf([&] { writePrivateFile(path, QByteArrayView("new")); });
        });
        if (result == kNotAllowed)
            QSKIP("The superuser's rights cannot be given up here.");
        QCOMPARE(result, QStringLiteral("Cannot write %1: Permission denied").arg(path));
    }

    void whatIsNoFileIsNeitherWaitedForNorReadNorReplaced_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("reason");
        const QString noFile = QStringLiteral("it is not a regular file");
        QTest::newRow("folder") << QStringLiteral("folder") << QStringLiteral("it is a folder");
        QTest::newRow("link to a folder") << QStringLiteral("to-folder") << QStringLiteral("it is a folder");
        QTest::newRow("FIFO") << QStringLiteral("fifo") << noFile;
        QTest::newRow("device without an end") << QStringLiteral("zero") << noFile;
        QTest::newRow("terminal") << QStringLiteral("terminal") << noFile;
        QTest::newRow("link to nothing") << QStringLiteral("dangling")
                                         << QStringLiteral("it is a link that leads to nothing");
        QTest::newRow("loop of links") << QStringLiteral("loop") << QStringLiteral("Too many levels of symbolic links");
    }
    void whatIsNoFileIsNeitherWaitedForNorReadNorReplaced()
    {
        QFETCH(QString, name);
        QFETCH(QString, reason);
        const QDir folder(m_folder.filePath(QStringLiteral("odd")));
        QDir(m_folder.path()).mkpath(QStringLiteral("odd/folder"));
        ::mkfifo(QFile::encodeName(folder.filePath(QStringLiteral("fifo"))).constData(), 0600);
        const auto link = [&](const char *target, const char *linked) {
            QFile::link(QString::fromUtf8(target), folder.filePath(QString::fromUtf8(linked)));
        };
        link("folder", "to-folder");
        link("/dev/zero", "zero");
        link("/dev/ptmx", "terminal");
        link("nowhere", "dangling");
        link("loop", "loop");
        const QStringList before = filesIn(folder.path());
        const QString path = folder.filePath(name);
        QCOMPARE(failureOf([&] { (void)readFile(path); }), QStringLiteral("Cannot read %1: %2").arg(path, reason));
        const QString refusal = QStringLiteral("Cannot write %1: %2").arg(path, reason);
        QCOMPARE(failureOf([&] { writePrivateFile(path, QByteArrayView("x")); }), refusal);
        QCOMPARE(failureOf([&] { requireWritable(path); }), refusal);
        QCOMPARE(filesIn(folder.path()), before);
    }

    void aLinkToAFileOfOnesOwnIsFollowed()
    {
        const QString target = m_folder.filePath(QStringLiteral("dotfiles/velmora.json"));
        const QString path = m_folder.filePath(QStringLiteral("linked/file"));
        writePrivateFile(target, QByteArrayView("old"));
        makePrivateFolder(m_folder.filePath(QStringLiteral("linked")));
        QVERIFY(QFile::link(QStringLiteral("../dotfiles/velmora.json"), path));
        QCOMPARE(readPrivateFile(path), std::optional<QByteArray>("old"));
        requireWritable(path);
        writePrivateFile(path, QByteArrayView("new"));
        QCOMPARE(QFile(path).symLinkTarget(), target);
        QCOMPARE(readFile(target), std::optional<QByteArray>("new"));
        QCOMPARE(filesIn(m_folder.filePath(QStringLiteral("dotfiles"))), QStringList(QStringLiteral("velmora.json")));
    }

    void aFileOfAnotherUserIsNeitherTrustedNorReplaced()
    {
        const QString path = m_folder.filePath(QStringLiteral("foreign"));
        writePrivateFile(path, QByteArrayView("theirs"));
        if (::geteuid() != 0 || ::chown(QFile::encodeName(path).constData(), 65534, 65534) != 0)
            QSKIP("Only the superuser can give a file away.");
        QCOMPARE(failureOf([&] { (void)readPrivateFile(path); }),
            QStringLiteral("Cannot read %1: it belongs to another user").arg(path));
        QCOMPARE(failureOf([&] { writePrivateFile(path, QByteArrayView("x")); }),
            QStringLiteral("Cannot write %1: it belongs to another user").arg(path));
        // Files that an administrator has provided for all users may be read.
        QCOMPARE(readFile(path), std::optional<QByteArray>("theirs"));
    }

    void whatCannotBeReachedIsAnErrorAndNotMissing()
    {
        const QString path = m_folder.filePath(QStringLiteral("closed/file"));
        const QString result = inChild([&] {
            if (::geteuid() == 0 && (::chmod(QFile::encodeName(m_folder.path()), 0777) != 0 || ::setuid(65534) != 0))
                return kNotAllowed;
            writePrivateFile(path, QByteArrayView("hidden"));
            ::chmod(QFile::encodeName(m_folder.filePath(QStringLiteral("closed"))).constData(), 0);
            return failureOf([&] { (void)readFile(path); });
        });
        if (result == kNotAllowed)
            QSKIP("The superuser's rights cannot be given up here.");
        QCOMPARE(result, QStringLiteral("Cannot read %1: Permission denied").arg(path));
    }

    void aFileOverTheLargestSizeIsNeitherReadNorWritten()
    {
        const QString path = m_folder.filePath(QStringLiteral("huge"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(kLargestFile));
        QCOMPARE(readFile(path).value().size(), kLargestFile);
        QVERIFY(file.resize(kLargestFile + 1));
        file.close();
        QCOMPARE(failureOf([&] { (void)readFile(path); }),
            QStringLiteral("Cannot read %1: it is larger than 8 MiB").arg(path));
        const QByteArray content(kLargestFile + 1, 'x');
        QCOMPARE(failureOf([&] { writePrivateFile(path, content); }),
            QStringLiteral("Cannot write %1: it is larger than 8 MiB").arg(path));
        QCOMPARE(QFileInfo(path).size(), kLargestFile + 1);
        writePrivateFile(path, QByteArrayView(content).first(kLargestFile));
        QCOMPARE(QFileInfo(path).size(), kLargestFile);
    }

    void whereAFolderIsStillToBeMadeAFileCanBeWritten()
    {
        requireWritable(m_folder.filePath(QStringLiteral("not/yet/there")));
        QVERIFY(!QFileInfo::exists(m_folder.filePath(QStringLiteral("not"))));
    }

    void aFileInThePlaceOfAFolderIsAnError()
    {
        const QString path = m_folder.filePath(QStringLiteral("plain"));
        writePrivateFile(path, QByteArrayView("x"));
        QVERIFY_THROWS_EXCEPTION(FileError, makePrivateFolder(path));
        QVERIFY_THROWS_EXCEPTION(FileError, makePrivateFolder(path + QStringLiteral("/below")));
        QVERIFY_THROWS_EXCEPTION(FileError, writePrivateFile(path + QStringLiteral("/file"), QByteArrayView("x")));
        QVERIFY_THROWS_EXCEPTION(FileError, writePrivateFile(m_folder.path(), QByteArrayView("x")));
        QCOMPARE(failureOf([&] { requireWritable(path + QStringLiteral("/file")); }),
            QStringLiteral("Cannot write %1/file: Not a directory").arg(path));
        QCOMPARE(readFile(path), std::optional<QByteArray>("x"));
    }

private:
    static void sizes()
    {
        QTest::addColumn<int>("size");
        for (const int size : {1, 1000, 4095, 4096, 4097, 16 * 1024, 16 * 1024 + 1, 100'000})
            QTest::addRow("%d bytes", size) << size;
    }

    static unsigned mode(const QString &path)
    {
        struct stat status = {};
        if (::stat(QFile::encodeName(path).constData(), &status) != 0)
            return 0;
        return status.st_mode & 07777U;
    }

    QTemporaryDir m_folder;
};

VELMORA_TEST(PrivateFileTest)
#include "private_file_test.moc"
