// SPDX-License-Identifier: MIT
#pragma once

#include "month_clock.h"

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QString>

#include <deque>

namespace velmora::testing
{

/// What has happened in a month, and how much memory it has taken.
class MonthRecord
{
public:
    /// The clock is not owned and outlives the record.
    explicit MonthRecord(const MonthClock *clock);

    /// Notes an event, whose first two words are its kind.
    void note(const QString &event);
    /// A day is over.
    void endDay();

    /// The simulated time since the beginning.
    [[nodiscard]] MonthClock::Duration duration() const { return m_clock->truth() - m_begin; }
    /// Resident memory after the last day, as a multiple of that after the first.
    [[nodiscard]] double memoryGrowth() const { return double(m_memory.last()) / double(m_memory.first()); }
    /// The latest events in a line each.
    [[nodiscard]] QString latestEvents() const;
    /// Real time, memory and events, in lines.
    [[nodiscard]] QString report() const;

private:
    const MonthClock *m_clock;
    Instant m_begin;
    QElapsedTimer m_realTime;
    QHash<QString, int> m_counts; ///< by the kind of event
    std::deque<QString> m_latest;
    QList<qint64> m_memory; ///< in bytes, after each day
    QList<qint64> m_allocated; ///< of that, on the heap
};

} // namespace velmora::testing
