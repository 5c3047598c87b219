// SPDX-License-Identifier: MIT
#pragma once

#include <QList>

#include <random>

namespace velmora::simulator
{

/// Random numbers that are reproducible from the seed on every platform; the standard distributions are not.
class Random
{
public:
    explicit Random(quint64 seed)
        : m_engine(seed)
    {
    }

    /// A number from `least` to `most`, inclusive.
    [[nodiscard]] qint64 between(qint64 least, qint64 most)
    {
        return least + qint64(m_engine() % quint64(most - least + 1));
    }
    /// True with a probability of `percent`.
    [[nodiscard]] bool chance(int percent) { return between(1, 100) <= percent; }
    /// A random entry; the list must not be empty.
    template <typename T>
    [[nodiscard]] const T &pick(const QList<T> &list)
    {
        return list[qsizetype(between(0, list.size() - 1))];
    }
    /// Random hexadecimal digits, for a commit for instance.
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
