// SPDX-License-Identifier: MIT
#include "github/rate_limit_notice.h"

#include "github/instant_arithmetic.h"

#include <QDateTime>
#include <QLocale>

namespace velmora
{

using namespace std::chrono;

namespace
{

/// A number of decimal digits only. Returns the maximum for a number that does not fit.
std::optional<qint64> parseDigits(const QByteArray &text)
{
    if (text.isEmpty() || !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return std::nullopt;
    bool fits = false;
    const qint64 number = text.toLongLong(&fits);
    return fits ? number : std::numeric_limits<qint64>::max();
}

std::optional<Instant> retryAfter(const HTTPResponse &response, Instant now)
{
    const QByteArray text = response.header("retry-after").value_or(QByteArray()).trimmed();
    if (const auto wait = parseDigits(text))
        return addingSeconds(now, *wait);
    return parseHTTPDate(text);
}

bool isExhausted(const HTTPResponse &response)
{
    return response.header("x-ratelimit-remaining").value_or(QByteArray()).trimmed() == "0";
}

/// Secondary limits often come without headers, so only the text of the response tells.
bool tellsOfSecondaryLimit(const QByteArray &body)
{
    constexpr qsizetype kLongestNotice = 4096;
    const QByteArray words = body.left(kLongestNotice).toLower();
    return words.contains("secondary rate limit") || words.contains("secondary-rate-limits")
        || words.contains("abuse-rate-limits");
}

} // namespace

std::optional<Instant> parseHTTPDate(const QByteArray &text)
{
    if (!text.endsWith(" GMT"))
        return std::nullopt;
    const auto date
        = QLocale::c().toDateTime(QString::fromLatin1(text.chopped(4)), QStringLiteral("ddd, dd MMM yyyy hh:mm:ss"));
    if (!date.isValid())
        return std::nullopt;
    return addingSeconds(Instant(), QDateTime(date.date(), date.time(), Qt::UTC).toSecsSinceEpoch());
}

std::optional<Instant> resumeInstant(const HTTPResponse &response, Instant now)
{
    if (const auto instant = retryAfter(response, now))
        return instant;
    if (!isExhausted(response))
        return std::nullopt;
    const auto reset = parseDigits(response.header("x-ratelimit-reset").value_or(QByteArray()).trimmed());
    if (!reset)
        return std::nullopt;
    return addingSeconds(Instant{}, *reset);
}

std::optional<RateLimitNotice> rateLimitNotice(const HTTPResponse &response, Instant now)
{
    const int status = response.statusCode.value_or(0);
    const bool isRateLimit = status == 429
        || (status == 403
            && (response.header("retry-after").has_value() || isExhausted(response)
                || tellsOfSecondaryLimit(response.body)));
    if (!isRateLimit)
        return std::nullopt;
    return RateLimitNotice{resumeInstant(response, now)};
}

} // namespace velmora
