// SPDX-License-Identifier: MIT
#pragma once

#include <QStringView>

#include <span>
#include <vector>

namespace velmora
{

/// One step from an old sequence to a new one, in positions as they are when the step is taken.
struct SequenceEdit {
    enum class Kind {
        Remove, ///< `count` elements from `at`
        Move, ///< the element at `at`, so that it then stands at `to`
        Insert, ///< `count` elements at `at`: those that the new sequence has from `source`
    };

    Kind kind = Kind::Remove;
    qsizetype at = 0;
    qsizetype count = 1;
    qsizetype to = 0;
    qsizetype source = 0;

    friend bool operator==(const SequenceEdit &, const SequenceEdit &) = default;
};

/// The steps that make `before` into `after`: removals first, then moves of as few elements as possible, and
/// insertions. Keys are unique within a sequence. What is equal at the beginning and at the end costs one comparison of
/// keys each.
[[nodiscard]] std::vector<SequenceEdit> sequenceDiff(
    std::span<const QStringView> before, std::span<const QStringView> after);

} // namespace velmora
