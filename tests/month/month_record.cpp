// SPDX-License-Identifier: MIT
#include "month_record.h"

#include <QFile>

#include <malloc.h>
#include <unistd.h>

namespace velmora::testing
{

using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace
{

constexpr std::size_t kMostLatest = 25;

qint64 memoryInUse()
{
    malloc_trim(0);
    QFile file(u"/proc/self/statm"_s);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE);
}

QString inMebibytes(const QList<qint64> &sizes)
{
    constexpr double kMebibyte = 1024 * 1024;
    QString text;
    for (const qint64 size : sizes)
        text += u" %1"_s.arg(double(size) / kMebibyte, 0, 'f', 1);
    return text;
}

} // namespace

MonthRecord::MonthRecord(const MonthClock *clock)
    : m_clock(clock)
    , m_begin(clock->truth())
{
    m_realTime.start();
}

void MonthRecord::note(const QString &event)
{
    ++m_counts[event.section(u' ', 0, 1).remove(u':')];
    m_latest.push_back(u"%1 min: %2"_s.arg(duration() / 1min).arg(event));
    if (m_latest.size() > kMostLatest)
        m_latest.pop_front();
}

void MonthRecord::endDay()
{
    m_memory.append(memoryInUse());
    const auto heap = mallinfo2();
    m_allocated.append(qint64(heap.uordblks + heap.hblkhd));
}

QString MonthRecord::latestEvents() const
{
    QString text;
    for (const QString &event : m_latest)
        text += u"  "_s + event + u'\n';
    return text;
}

QString MonthRecord::report() const
{
    constexpr double kMillisecondsInMinute = 60'000;
    QString text = u"  %1 minutes (aim for 30 days: 10)\n"_s.arg(
        double(m_realTime.elapsed()) / kMillisecondsInMinute, 0, 'f', 1);
    text += u"  memory of the last day against the first %1 (aim 1.1); in MiB after each day:"_s.arg(
        memoryGrowth(), 0, 'f', 2);
    text += inMebibytes(m_memory) + u"\n  of that allocated:"_s + inMebibytes(m_allocated) + u"\n  "_s;
    QStringList kinds = m_counts.keys();
    kinds.sort();
    for (QString &kind : kinds)
        kind = u"%1 × %2"_s.arg(m_counts.value(kind)).arg(kind);
    return text + kinds.join(u", "_s) + u'\n';
}

} // namespace velmora::testing
