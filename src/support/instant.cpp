// SPDX-License-Identifier: MIT
#include "support/instant.h"

#include <cmath>

namespace velmora
{

using namespace std::chrono;

namespace
{

constexpr Instant kReferenceDate = sys_days{2001y / January / 1};
constexpr Instant kFirst = sys_days{1y / January / 1};
constexpr Instant kEnd = sys_days{year{10000} / January / 1};

/// Reads from the front of a text, in UTF-16 or UTF-8. After one failed step ok() stays false.
template <typename Char>
class Scanner
{
public:
    Scanner(const Char *begin, const Char *end)
        : m_next(begin)
        , m_end(end)
    {
    }

    [[nodiscard]] bool ok() const { return m_ok; }
    [[nodiscard]] bool atEnd() const { return m_next == m_end; }
    [[nodiscard]] Char peek() const { return atEnd() ? Char(0) : *m_next; }

    /// Exactly `Count` decimal digits.
    template <int Count>
    int digits()
    {
        if (m_end - m_next < Count) {
            m_ok = false;
            return 0;
        }
        int value = 0;
        bool areDigits = true;
        for (int i = 0; i < Count; ++i) {
            const auto digit = static_cast<unsigned>(m_next[i]) - unsigned{'0'};
            areDigits = areDigits && digit < 10;
            value = value * 10 + static_cast<int>(digit);
        }
        if (areDigits)
            m_next += Count;
        m_ok = m_ok && areDigits;
        return areDigits ? value : 0;
    }

    bool accept(char expected)
    {
        if (peek() != Char(expected) || atEnd())
            return false;
        ++m_next;
        return true;
    }

    void require(char expected) { m_ok = accept(expected) && m_ok; }

    void requireThat(bool condition) { m_ok = condition && m_ok; }

    /// One or more digits after a decimal point, as microseconds.
    microseconds fraction()
    {
        int count = 0;
        int value = 0;
        while (isDigit()) {
            if (count < 6)
                value = value * 10 + (*m_next - Char('0'));
            ++count;
            ++m_next;
        }
        if (count == 0)
            m_ok = false;
        for (int i = count; i < 6; ++i)
            value *= 10;
        return microseconds{value};
    }

private:
    [[nodiscard]] bool isDigit() const { return !atEnd() && *m_next >= Char('0') && *m_next <= Char('9'); }

    const Char *m_next;
    const Char *m_end;
    bool m_ok = true;
};

/// "Z", or a sign, hours and minutes with or without a colon.
template <typename Char>
minutes scanOffset(Scanner<Char> &scanner)
{
    if (scanner.accept('Z'))
        return 0min;
    const bool negative = scanner.peek() == Char('-');
    if (!scanner.accept('+'))
        scanner.require('-');
    const hours offsetHours{scanner.template digits<2>()};
    scanner.accept(':');
    const minutes offsetMinutes{scanner.template digits<2>()};
    scanner.requireThat(offsetHours < 24h && offsetMinutes < 60min);
    const minutes offset = offsetHours + offsetMinutes;
    return negative ? -offset : offset;
}

template <typename Char>
std::optional<Instant> scanInstant(Scanner<Char> scanner)
{
    const int yearDigits = scanner.template digits<4>();
    scanner.require('-');
    const int monthDigits = scanner.template digits<2>();
    scanner.require('-');
    const int dayDigits = scanner.template digits<2>();
    scanner.require('T');
    const int hourDigits = scanner.template digits<2>();
    scanner.require(':');
    const int minuteDigits = scanner.template digits<2>();
    scanner.require(':');
    const int secondDigits = scanner.template digits<2>();
    const auto fraction = scanner.accept('.') ? scanner.fraction() : 0us;
    const auto offset = scanOffset(scanner);
    if (!scanner.ok() || !scanner.atEnd())
        return std::nullopt;

    const year_month_day date{
        year{yearDigits}, month{static_cast<unsigned>(monthDigits)}, day{static_cast<unsigned>(dayDigits)}};
    // A leap second is written as second 60.
    if (!date.ok() || yearDigits < 1 || hourDigits > 23 || minuteDigits > 59 || secondDigits > 60)
        return std::nullopt;
    const Instant instant{
        sys_days{date} + hours{hourDigits} + minutes{minuteDigits} + seconds{secondDigits} + fraction - offset};
    // The offset can move the instant out of the years that its other forms can hold.
    if (instant < kFirst || instant >= kEnd)
        return std::nullopt;
    return instant;
}

} // namespace

Instant distantPast()
{
    return kFirst;
}

double secondsSinceReferenceDate(Instant instant)
{
    return static_cast<double>((instant - kReferenceDate).count()) / 1e6;
}

std::optional<Instant> instantFromReferenceDate(double seconds)
{
    static const double lowest = secondsSinceReferenceDate(kFirst);
    static const double end = secondsSinceReferenceDate(kEnd);
    if (!std::isfinite(seconds) || seconds < lowest || seconds >= end)
        return std::nullopt;
    return kReferenceDate + microseconds{std::llround(seconds * 1e6)};
}

std::optional<Instant> parseISO8601(QStringView text)
{
    return scanInstant(Scanner(text.utf16(), text.utf16() + text.size()));
}

std::optional<Instant> parseISO8601(QUtf8StringView text)
{
    return scanInstant(Scanner(text.data(), text.data() + text.size()));
}

QString toISO8601(Instant instant)
{
    const auto dayStart = floor<days>(instant);
    const year_month_day date{dayStart};
    const hh_mm_ss time{instant - dayStart};
    const auto number = [](auto value, int width) {
        return QStringLiteral("%1").arg(static_cast<int>(value), width, 10, QLatin1Char('0'));
    };
    QString text = number(static_cast<int>(date.year()), 4) + QLatin1Char('-')
        + number(static_cast<unsigned>(date.month()), 2) + QLatin1Char('-')
        + number(static_cast<unsigned>(date.day()), 2) + QLatin1Char('T') + number(time.hours().count(), 2)
        + QLatin1Char(':') + number(time.minutes().count(), 2) + QLatin1Char(':') + number(time.seconds().count(), 2);
    if (const auto fraction = time.subseconds().count(); fraction != 0)
        text += QLatin1Char('.') + number(fraction, 6);
    return text + QLatin1Char('Z');
}

} // namespace velmora
