// SPDX-License-Identifier: MIT
#include "ui/controls/sequence_diff.h"

#include <QHash>

#include <algorithm>

namespace velmora
{

namespace
{

using Keys = std::span<const QStringView>;
using Places = std::vector<qsizetype>;

constexpr qsizetype kNowhere = -1;

qsizetype size(Keys keys)
{
    return static_cast<qsizetype>(keys.size());
}

qsizetype commonPrefix(Keys before, Keys after)
{
    return std::ranges::mismatch(before, after).in1 - before.begin();
}

qsizetype commonSuffix(Keys before, Keys after)
{
    qsizetype length = 0;
    while (length < std::min(size(before), size(after))
        && before[before.size() - 1 - static_cast<std::size_t>(length)]
            == after[after.size() - 1 - static_cast<std::size_t>(length)])
        ++length;
    return length;
}

/// For each key its position in `other`, or kNowhere. Each position is used once.
Places placesIn(Keys other, Keys keys)
{
    if (keys.empty())
        return {};
    QHash<QStringView, qsizetype> places;
    places.reserve(size(other));
    for (qsizetype i = 0; i < size(other); ++i)
        places.insert(other[static_cast<std::size_t>(i)], i);
    Places result;
    result.reserve(keys.size());
    for (const QStringView key : keys) {
        const auto place = places.find(key);
        result.push_back(place == places.end() ? kNowhere : std::exchange(*place, kNowhere));
    }
    return result;
}

/// Marks a longest increasing subsequence: the elements that stay while the others move around them.
std::vector<bool> longestIncreasing(const Places &values)
{
    std::vector<std::size_t> ends; // for each length the subsequence with the smallest last element
    std::vector<std::size_t> previous(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto end
            = std::ranges::lower_bound(ends, values[i], {}, [&](std::size_t element) { return values[element]; });
        previous[i] = end == ends.begin() ? i : *(end - 1);
        if (end == ends.end())
            ends.push_back(i);
        else
            *end = i;
    }
    std::vector<bool> chosen(values.size());
    if (ends.empty())
        return chosen;
    std::size_t element = ends.back();
    for (std::size_t left = ends.size(); left > 0; --left) {
        chosen[element] = true;
        element = previous[element];
    }
    return chosen;
}

/// Computes the edits of the part in which the sequences differ.
class Middle
{
public:
    Middle(Keys before, Keys after, qsizetype offset)
        : m_places(placesIn(after, before))
        , m_count(size(after))
        , m_offset(offset)
    {
    }

    std::vector<SequenceEdit> edits()
    {
        removeWhatIsGone();
        moveAndInsert();
        return std::move(m_edits);
    }

private:
    void removeWhatIsGone()
    {
        for (qsizetype end = length(); end > 0;) {
            if (at(end - 1) != kNowhere) {
                --end;
                continue;
            }
            qsizetype begin = end - 1;
            while (begin > 0 && at(begin - 1) == kNowhere)
                --begin;
            m_edits.push_back({SequenceEdit::Kind::Remove, m_offset + begin, end - begin, 0, 0});
            end = begin;
        }
        std::erase(m_places, kNowhere);
    }

    /// Works from the end to the beginning; everything from `anchor` on is in its final place. Elements that still have
    /// to move may stand between those that stay and do no harm there.
    void moveAndInsert()
    {
        const std::vector<bool> stays = longestIncreasing(m_places);
        enum class Fate : char { New, Stays, Moves };
        std::vector<Fate> fates(static_cast<std::size_t>(m_count), Fate::New);
        for (std::size_t i = 0; i < m_places.size(); ++i)
            fates[static_cast<std::size_t>(m_places[i])] = stays[i] ? Fate::Stays : Fate::Moves;

        qsizetype anchor = length();
        for (qsizetype target = m_count - 1; target >= 0; --target) {
            switch (fates[static_cast<std::size_t>(target)]) {
            case Fate::Stays:
                do {
                    --anchor;
                } while (at(anchor) != target);
                break;
            case Fate::Moves:
                anchor = move(target, anchor);
                break;
            case Fate::New: {
                const qsizetype last = target;
                while (target > 0 && fates[static_cast<std::size_t>(target - 1)] == Fate::New)
                    --target;
                insert(target, last - target + 1, anchor);
                break;
            }
            }
        }
    }

    qsizetype move(qsizetype target, qsizetype anchor)
    {
        const qsizetype from = std::ranges::find(m_places, target) - m_places.begin();
        const qsizetype to = from < anchor ? anchor - 1 : anchor;
        if (from != to) {
            const auto begin = m_places.begin();
            if (from < to)
                std::rotate(begin + from, begin + from + 1, begin + to + 1);
            else
                std::rotate(begin + to, begin + from, begin + from + 1);
            m_edits.push_back({SequenceEdit::Kind::Move, m_offset + from, 1, m_offset + to, 0});
        }
        return to;
    }

    void insert(qsizetype target, qsizetype count, qsizetype anchor)
    {
        m_places.insert(m_places.begin() + anchor, static_cast<std::size_t>(count), kNowhere);
        m_edits.push_back({SequenceEdit::Kind::Insert, m_offset + anchor, count, 0, m_offset + target});
    }

    [[nodiscard]] qsizetype at(qsizetype index) const { return m_places[static_cast<std::size_t>(index)]; }
    [[nodiscard]] qsizetype length() const { return static_cast<qsizetype>(m_places.size()); }

    Places m_places; ///< the target position of each element
    qsizetype m_count;
    qsizetype m_offset;
    std::vector<SequenceEdit> m_edits;
};

/// The most common change, found without a hash table: one element has moved from one end of the range to the other.
std::optional<SequenceEdit> singleMove(Keys before, Keys after, qsizetype offset)
{
    if (before.size() != after.size() || before.size() < 2)
        return std::nullopt;
    const auto rest = before.size() - 1;
    const qsizetype last = offset + static_cast<qsizetype>(rest);
    if (before.front() == after.back() && std::ranges::equal(before.last(rest), after.first(rest)))
        return SequenceEdit{SequenceEdit::Kind::Move, offset, 1, last, 0};
    if (before.back() == after.front() && std::ranges::equal(before.first(rest), after.last(rest)))
        return SequenceEdit{SequenceEdit::Kind::Move, last, 1, offset, 0};
    return std::nullopt;
}

} // namespace

std::vector<SequenceEdit> sequenceDiff(Keys before, Keys after)
{
    const qsizetype prefix = commonPrefix(before, after);
    before = before.subspan(static_cast<std::size_t>(prefix));
    after = after.subspan(static_cast<std::size_t>(prefix));
    const auto suffix = static_cast<std::size_t>(commonSuffix(before, after));
    before = before.first(before.size() - suffix);
    after = after.first(after.size() - suffix);
    if (const auto move = singleMove(before, after, prefix))
        return {*move};
    return Middle(before, after, prefix).edits();
}

} // namespace velmora
