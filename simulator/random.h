// SPDX-License-Identifier: MIT
#pragma once

#include <QList>

#include <random>

namespace velmora::simulator
{

/// Chance that comes out the same everywhere for one seed; the distributions of the standard library may not.
class Random
{
public:
    explicit Random(quint64 seed)
        : m_engine(seed)
    {
    }

    /// A number from `least` to `most`, both included.
    [[nodiscard]] qint64 between(qint64 least, qint64 most)
    {
        return least + qint64(m_engine() % quint64(most - least + 1));
    }
    /// True in `percent` of a hundred cases.
    [[nodiscard]] bool chance(int percent) { return between(1, 100) <= percent; }
    /// One of the entries; the list must not be empty.
    template <typename T>
    [[nodiscard]] const T &pick(const QList<T> &list)
    {
        return list[qsizetype(between(0, list.size() - 1))];
    }
    /// Hexadecimal digits, such as those of a commit.
    [[nodiscard]] QString hex(int digits)
    {
        QString text;
        for (int i = 0; i < digits; ++i)
            text += QLatin1Char("0123456789abcdef"[m_engine() % 16]);
        return text;
    }

private:
    std::mt19937_64 m_engine;
};

} // namespace velmora::simulator
