// SPDX-License-Identifier: MIT
#include "github/deployment_client_error.h"
#include "github/github_client_error.h"
#include "github/rate_limit_notice.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace std::chrono_literals;

namespace
{

const Instant kNow = *parseISO8601(u"2026-05-01T12:00:00Z");

} // namespace

class RateLimitNoticeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void headersAreFoundInAnyCaseOfLettersAndTheFirstCounts()
    {
        const HTTPResponse response{200, {{"Retry-After", "1"}, {"retry-after", "2"}}, {}};
        QCOMPARE(response.header("RETRY-AFTER"), std::optional(QByteArray("1")));
        QVERIFY(!response.header("retry").has_value());
    }

    void theHeadersTellWhenToGoOn_data()
    {
        QTest::addColumn<QByteArray>("retryAfter");
        QTest::addColumn<QByteArray>("remaining");
        QTest::addColumn<QByteArray>("reset");
        QTest::addColumn<QString>("expected");
        const QByteArray reset = QByteArray::number(qint64(kNow.time_since_epoch() / 1s) + 100);
        const auto row = [&](const char *name, const char *after, const char *remaining, const QByteArray &at,
                             const char *expected) {
            QTest::newRow(name) << QByteArray(after) << QByteArray(remaining) << at << QString::fromLatin1(expected);
        };
        row("nothing", "", "", "", "");
        row("seconds", "30", "", "", "2026-05-01T12:00:30Z");
        row("seconds before reset", "30", "0", reset, "2026-05-01T12:00:30Z");
        row("a date", "Fri, 01 May 2026 12:05:00 GMT", "", "", "2026-05-01T12:05:00Z");
        row("a bad value", "soon", "", "", "");
        row("a negative value", "-5", "", "", "");
        row("a huge value", "99999999999999999999", "", "", "9999-12-31T23:59:59Z");
        row("a blank value and reset", " ", "0", reset, "2026-05-01T12:01:40Z");
        row("reset with points left", "", "4", reset, "");
        row("exhausted without reset", "", "0", "", "");
        row("a huge reset", "", "0", "9223372036854775807", "9999-12-31T23:59:59Z");
    }
    void theHeadersTellWhenToGoOn()
    {
        QFETCH(QByteArray, retryAfter);
        QFETCH(QByteArray, remaining);
        QFETCH(QByteArray, reset);
        QFETCH(QString, expected);
        HTTPResponse response;
        if (!retryAfter.isEmpty())
            response.headers.append({"Retry-After", retryAfter});
        if (!remaining.isEmpty())
            response.headers.append({"X-RateLimit-Remaining", remaining});
        if (!reset.isEmpty())
            response.headers.append({"X-RateLimit-Reset", reset});
        const auto instant = resumeInstant(response, kNow);
        QCOMPARE(instant ? toISO8601(*instant) : QString(), expected);
    }

    void aRateLimitIsToldFromAPlainRefusal_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("isLimit");
        const auto row
            = [](const char *name, int status, const char *header, const char *value, const char *body, bool isLimit) {
                  QTest::newRow(name) << status << QByteArray(header) << QByteArray(value)
                                      << QByteArray(body).replace('\'', '"') << isLimit;
              };
        row("429", 429, "", "", "", true);
        row("plain 403", 403, "", "", "{'message':'Resource not accessible'}", false);
        row("403 with points", 403, "x-ratelimit-remaining", "12", "", false);
        row("403 exhausted", 403, "x-ratelimit-remaining", "0", "", true);
        row("403 retry-after", 403, "retry-after", "60", "", true);
        row("403 blank retry-after", 403, "retry-after", "", "", true);
        row("403 words", 403, "", "", "{'message':'You have exceeded a Secondary Rate Limit.'}", true);
        row("403 page", 403, "", "", "{'documentation_url':'https://docs/x#secondary-rate-limits'}", true);
        row("403 old page", 403, "", "", "{'documentation_url':'https://docs/x#abuse-rate-limits'}", true);
        row("401 exhausted", 401, "x-ratelimit-remaining", "0", "secondary rate limit", false);
        row("503 retry-after", 503, "retry-after", "60", "", false);
        row("200 exhausted", 200, "x-ratelimit-remaining", "0", "", false);
    }
    void aRateLimitIsToldFromAPlainRefusal()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, header);
        QFETCH(QByteArray, value);
        QFETCH(QByteArray, body);
        QFETCH(bool, isLimit);
        HTTPResponse response{status, {}, body};
        if (!header.isEmpty())
            response.headers.append({header, value});
        QCOMPARE(rateLimitNotice(response, kNow).has_value(), isLimit);
    }

    void aFailureCarriesItsRateLimitBesideItsCase()
    {
        const RateLimitNotice notice{kNow};
        const auto http = GitHubClientError::requestFailed(403, notice);
        const auto graphQL = DeploymentClientError::graphQL({}, notice);
        QCOMPARE(rateLimitOf(std::make_exception_ptr(http)), std::optional(notice));
        QCOMPARE(rateLimitOf(std::make_exception_ptr(graphQL)), std::optional(notice));
        QVERIFY(!rateLimitOf(std::make_exception_ptr(GitHubClientError::requestFailed(403))).has_value());
        QVERIFY(!rateLimitOf(std::make_exception_ptr(CancellationError())).has_value());
        QVERIFY(!rateLimitOf(nullptr).has_value());
        QCOMPARE(http, GitHubClientError::requestFailed(403));
        QCOMPARE(graphQL, DeploymentClientError::graphQL({}));
    }
};

VELMORA_TEST(RateLimitNoticeTest)
#include "rate_limit_notice_test.moc"
