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

/// Reads from the front of a text; every step fails once one step has failed.
class Scanner
{
public:
    explicit Scanner(QStringView text)
        : m_text(text)
    {
    }

    [[nodiscard]] bool ok() const { return m_ok; }
    [[nodiscard]] bool atEnd() const { return m_position == m_text.size(); }
    [[nodiscard]] char16_t peek() const { return atEnd() ? u'\0' : m_text.at(m_position).unicode(); }

    /// Exactly `count` decimal digits.
    int digits(int count)
    {
        int value = 0;
        for (int i = 0; i < count; ++i) {
            const auto digit = peek();
            if (digit < u'0' || digit > u'9') {
                m_ok = false;
                return 0;
            }
            value = value * 10 + (digit - u'0');
            ++m_position;
        }
        return value;
    }

    bool accept(char16_t expected)
    {
        if (peek() != expected || atEnd())
            return false;
        ++m_position;
        return true;
    }

    void require(char16_t expected) { m_ok = accept(expected) && m_ok; }

    void requireThat(bool condition) { m_ok = condition && m_ok; }

    /// One or more digits after a decimal point, as microseconds.
    microseconds fraction()
    {
        int count = 0;
        int value = 0;
        while (peek() >= u'0' && peek() <= u'9') {
            if (count < 6)
                value = value * 10 + (peek() - u'0');
            ++count;
            ++m_position;
        }
        if (count == 0)
            m_ok = false;
        for (int i = count; i < 6; ++i)
            value *= 10;
        return microseconds{value};
    }

private:
    QStringView m_text;
    qsizetype m_position = 0;
    bool m_ok = true;
};

/// "Z", or a sign, hours and minutes with or without a colon.
minutes scanOffset(Scanner &scanner)
{
    if (scanner.accept(u'Z'))
        return 0min;
    const bool negative = scanner.peek() == u'-';
    if (!scanner.accept(u'+'))
        scanner.require(u'-');
    const hours offsetHours{scanner.digits(2)};
    scanner.accept(u':');
    const minutes offsetMinutes{scanner.digits(2)};
    scanner.requireThat(offsetHours < 24h && offsetMinutes < 60min);
    const minutes offset = offsetHours + offsetMinutes;
    return negative ? -offset : offset;
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
    Scanner scanner(text);
    const int yearDigits = scanner.digits(4);
    scanner.require(u'-');
    const int monthDigits = scanner.digits(2);
    scanner.require(u'-');
    const int dayDigits = scanner.digits(2);
    scanner.require(u'T');
    const int hourDigits = scanner.digits(2);
    scanner.require(u':');
    const int minuteDigits = scanner.digits(2);
    scanner.require(u':');
    const int secondDigits = scanner.digits(2);
    const auto fraction = scanner.accept(u'.') ? scanner.fraction() : 0us;
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
    // An offset can lead out of the years that every other form of an instant can hold.
    if (instant < kFirst || instant >= kEnd)
        return std::nullopt;
    return instant;
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
