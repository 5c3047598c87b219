// SPDX-License-Identifier: MIT
#include "monitor/term.h"

namespace velmora
{

namespace
{

/// Smaller steps back are corrections of the clock.
constexpr std::chrono::minutes kSmallestStepBack{5};
constexpr QLatin1Char kDivider('/');
constexpr QLatin1String kOpen("..");

} // namespace

bool Term::isOver(Instant now) const
{
    return until && (now >= *until || now < since - kSmallestStepBack);
}

QString toInterval(const Term &term)
{
    return toISO8601(term.since) + kDivider + (term.until ? toISO8601(*term.until) : QString(kOpen));
}

std::optional<Term> parseInterval(QStringView text)
{
    const qsizetype divider = text.indexOf(kDivider);
    if (divider < 0)
        return std::nullopt;
    const auto since = parseISO8601(text.first(divider));
    const QStringView end = text.sliced(divider + 1);
    const auto until = parseISO8601(end);
    if (!since || (!until && end != kOpen))
        return std::nullopt;
    return Term{*since, until};
}

} // namespace velmora
