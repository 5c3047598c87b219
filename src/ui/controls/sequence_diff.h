// SPDX-License-Identifier: MIT
#pragma once

#include <QStringView>

#include <span>
#include <vector>

namespace velmora
{

/// One edit; its positions are those at the time of the edit.
struct SequenceEdit {
    enum class Kind {
        Remove, ///< `count` elements from `at`
        Move, ///< the element at `at`, to the position `to`
        Insert, ///< at `at`, `count` elements that start at `source` in the new sequence
    };

    Kind kind = Kind::Remove;
    qsizetype at = 0;
    qsizetype count = 1;
    qsizetype to = 0;
    qsizetype source = 0;

    friend bool operator==(const SequenceEdit &, const SequenceEdit &) = default;
};

/// The edits that turn `before` into `after`: removals first, then as few moves as possible, mixed with insertions. The
/// keys of a sequence must be unique. Common elements at both ends cost one comparison each.
[[nodiscard]] std::vector<SequenceEdit> sequenceDiff(
    std::span<const QStringView> before, std::span<const QStringView> after);

} // namespace velmora
