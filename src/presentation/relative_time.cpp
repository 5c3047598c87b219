// SPDX-License-Identifier: MIT
#include "presentation/relative_time.h"

#include <array>

namespace velmora
{

using namespace std::chrono;

namespace
{

struct Unit {
    seconds length;
    const char16_t *name;
};

constexpr std::array kUnits{Unit{years{1}, u"year"}, Unit{months{1}, u"month"}, Unit{weeks{1}, u"week"},
    Unit{days{1}, u"day"}, Unit{hours{1}, u"hour"}, Unit{minutes{1}, u"minute"}, Unit{seconds{1}, u"second"}};

QString amount(seconds duration)
{
    for (const Unit &unit : kUnits) {
        if (duration < unit.length)
            continue;
        const auto count = duration / unit.length;
        return QString::number(count) + QLatin1Char(' ') + QString::fromUtf16(unit.name)
            + (count == 1 ? QString() : QStringLiteral("s"));
    }
    return QString();
}

/// The durations with the same text as `duration`: from `begin` up to, but not including, `end`.
struct Span {
    seconds begin;
    seconds end;
};

Span spanOf(seconds duration)
{
    seconds limit = seconds::max();
    for (const Unit &unit : kUnits) {
        if (duration >= unit.length) {
            const auto begin = duration / unit.length * unit.length;
            return {begin, std::min(begin + unit.length, limit)};
        }
        limit = unit.length;
    }
    return {seconds(0), limit};
}

} // namespace

QString relativeTime(Instant instant, Instant now)
{
    const bool isPast = instant <= now;
    const QString text = amount(floor<seconds>(isPast ? now - instant : instant - now));
    if (text.isEmpty())
        return QStringLiteral("now");
    return isPast ? text + QStringLiteral(" ago") : QStringLiteral("in ") + text;
}

QString elapsedTime(Instant since, Instant now)
{
    const QString text = since <= now ? amount(floor<seconds>(now - since)) : QString();
    return text.isEmpty() ? text : QStringLiteral("for ") + text;
}

Instant nextRelativeTimeChange(Instant instant, Instant now)
{
    if (instant <= now)
        return instant + spanOf(floor<seconds>(now - instant)).end;
    // The text of a future instant changes when less than `begin` is left. "now" lasts one second beyond the instant.
    const Span span = spanOf(floor<seconds>(instant - now));
    return span.begin > 0s ? instant - span.begin + 1us : instant + 1s;
}

} // namespace velmora
