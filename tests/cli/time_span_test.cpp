// SPDX-License-Identifier: MIT
#include "cli/time_span.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace std::chrono_literals;

class TimeSpanTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void secondsMinutesAndHoursAreRead()
    {
        QCOMPARE(parseTimeSpan(QStringLiteral("0s")), std::optional(0s));
        QCOMPARE(parseTimeSpan(QStringLiteral("90s")), std::optional(90s));
        QCOMPARE(parseTimeSpan(QStringLiteral("30m")), std::optional<std::chrono::seconds>(30min));
        QCOMPARE(parseTimeSpan(QStringLiteral("2h")), std::optional<std::chrono::seconds>(2h));
        QCOMPARE(parseTimeSpan(QStringLiteral("999999999h")), std::optional<std::chrono::seconds>(999'999'999h));
    }

    void nothingElseIs_data()
    {
        QTest::addColumn<QString>("text");
        for (const char *text :
            {"30", "m", "-5m", "+5m", "1.5h", "1h30m", "5 m", "5M", "5d", "5m\n", "1000000000s", "٣m"})
            QTest::newRow(text) << QString::fromUtf8(text);
    }

    void nothingElseIs()
    {
        QVERIFY(!parseTimeSpan(QString()));
        QFETCH(QString, text);
        QVERIFY(!parseTimeSpan(text));
    }
};

VELMORA_TEST(TimeSpanTest)
#include "time_span_test.moc"
