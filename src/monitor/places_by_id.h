// SPDX-License-Identifier: MIT
#pragma once

#include <QHashFunctions>
#include <QString>

#include <bit>
#include <limits>
#include <vector>

namespace velmora
{

/// Maps ids to places in a list. It stores hashes instead of ids, so that most lookups touch one cache line.
class PlacesByID
{
public:
    static constexpr quint32 kNone = std::numeric_limits<quint32>::max();

    explicit PlacesByID(std::size_t mostIDs)
        : m_slots(std::bit_ceil(mostIDs + mostIDs / 2 + 1))
    {
    }

    /// The place of the id, which the caller may change; kNone at first. `idAt` returns the id at a place.
    template <typename IDAt>
    quint32 &of(const QString &id, const IDAt &idAt)
    {
        const auto hash = static_cast<quint32>(qHash(id, m_seed));
        const std::size_t mask = m_slots.size() - 1;
        for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
            Slot &slot = m_slots[i];
            if (slot.place == kNone)
                slot.hash = hash;
            if (slot.place == kNone || (slot.hash == hash && idAt(slot.place) == id))
                return slot.place;
        }
    }

private:
    struct Slot {
        quint32 hash = 0;
        quint32 place = kNone;
    };
    std::vector<Slot> m_slots;
    std::size_t m_seed = QHashSeed::globalSeed();
};

} // namespace velmora
