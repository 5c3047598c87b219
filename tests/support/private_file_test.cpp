// SPDX-License-Identifier: MIT
#include "support/error.h"
#include "support/private_file.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>

#include <QTest>

using namespace velmora;
using namespace std::chrono_literals;

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

    void whatCannotBeReadIsAnError() { QVERIFY_THROWS_EXCEPTION(FileError, (void)readFile(m_folder.path())); }

    void aFileOverTheLimitIsAnError()
    {
        const QString path = m_folder.filePath(QStringLiteral("huge"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(256LL * 1024 * 1024 + 1));
        file.close();
        QVERIFY_THROWS_EXCEPTION(FileError, (void)readFile(path));
    }

    void aFileInThePlaceOfAFolderIsAnError()
    {
        const QString path = m_folder.filePath(QStringLiteral("plain"));
        writePrivateFile(path, QByteArrayView("x"));
        QVERIFY_THROWS_EXCEPTION(FileError, makePrivateFolder(path));
        QVERIFY_THROWS_EXCEPTION(FileError, makePrivateFolder(path + QStringLiteral("/below")));
        QVERIFY_THROWS_EXCEPTION(FileError, writePrivateFile(path + QStringLiteral("/file"), QByteArrayView("x")));
        QVERIFY_THROWS_EXCEPTION(FileError, writePrivateFile(m_folder.path(), QByteArrayView("x")));
        QCOMPARE(readFile(path), std::optional<QByteArray>("x"));
    }

private:
    static unsigned mode(const QString &path)
    {
        struct stat status = {};
        if (::stat(QFile::encodeName(path).constData(), &status) != 0)
            return 0;
        return status.st_mode & 07777U;
    }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(PrivateFileTest)
#include "private_file_test.moc"
