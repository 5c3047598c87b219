// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringView>
#include <QUtf8StringView>

#include <chrono>
#include <optional>

namespace velmora
{

/// A point in time, UTC, exact to the microsecond, compared exactly.
using Instant = std::chrono::sys_time<std::chrono::microseconds>;

/// The first of January of the year 1, earlier than every real instant.
[[nodiscard]] Instant distantPast();

/// Seconds since 2001-01-01T00:00:00Z: the form of instants in Velmora's own files.
[[nodiscard]] double secondsSinceReferenceDate(Instant instant);

/// The inverse of secondsSinceReferenceDate(), rounded to the microsecond. Returns nullopt for a number that is not
/// finite or lies outside the years 1 to 9999.
[[nodiscard]] std::optional<Instant> instantFromReferenceDate(double seconds);

/// Reads an ISO 8601 internet date-time: date, "T", time with or without fractional seconds, and "Z" or an offset such
/// as "+02:00". Cuts digits beyond the microsecond. Returns nullopt for anything else, a bare date included.
[[nodiscard]] std::optional<Instant> parseISO8601(QStringView text);
[[nodiscard]] std::optional<Instant> parseISO8601(QUtf8StringView text);

/// "2026-05-01T12:00:00Z", with ".123456" before the Z when the instant is not on a whole second.
[[nodiscard]] QString toISO8601(Instant instant);

} // namespace velmora
