// SPDX-License-Identifier: MIT
#pragma once

#include "support/instant.h"

#include <QStringView>

#include <optional>

namespace velmora
{

/// The time for which a choice holds: from when it was made until its end, or, without one, until it is taken back.
struct Term {
    Instant since;
    std::optional<Instant> until;

    /// Whether its end has passed. A clock that was set back to well before the beginning ends it, too: the term would
    /// otherwise last longer than it was meant to.
    [[nodiscard]] bool isOver(Instant now) const;

    friend bool operator==(const Term &, const Term &) = default;
};

/// An ISO 8601 interval, which holds no space: "2026-05-01T12:00:00Z/2026-05-01T20:00:00Z", with ".." for no end.
[[nodiscard]] QString toInterval(const Term &term);
/// The inverse. Returns nullopt for anything else.
[[nodiscard]] std::optional<Term> parseInterval(QStringView text);

} // namespace velmora
