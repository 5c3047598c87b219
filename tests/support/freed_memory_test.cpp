// SPDX-License-Identifier: MIT
#include "support/freed_memory.h"

#include "support/test_main.h"

#include <QFile>
#include <QTest>

using namespace velmora;

namespace
{

/// The resident memory that is backed by files, in KiB.
qint64 residentOfFiles()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("RssFile:"))
            return line.simplified().split(' ').at(1).toLongLong();
    }
    return 0;
}

int written = 1; ///< beside what the file of the program holds
const char *const kRelocated[] = {"one", "two"}; ///< addresses that the loader has written

} // namespace

class FreedMemoryTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatIsNotUsedIsNotMappedAndWhatWasWrittenStays()
    {
        written = 2;
        const qint64 before = residentOfFiles();
        unmapUnusedCode();
        QCOMPARE_LT(residentOfFiles(), before / 2);
        QCOMPARE(written, 2);
        QCOMPARE(QByteArray(kRelocated[1]), QByteArray("two"));
    }
};

VELMORA_TEST(FreedMemoryTest)
#include "freed_memory_test.moc"
