// SPDX-License-Identifier: MIT
#include "support/instant.h"

#include "support/test_main.h"

#include <cmath>

#include <QTest>

using namespace velmora;
using namespace std::chrono_literals;

class InstantTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:

    void parsesInternetDateTimes_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("whole seconds") << "2026-05-01T12:00:00Z"
                                       << "2026-05-01T12:00:00Z";
        QTest::newRow("milliseconds") << "2026-05-01T12:00:00.123Z"
                                      << "2026-05-01T12:00:00.123000Z";
        QTest::newRow("microseconds") << "2026-05-01T12:00:00.123456Z"
                                      << "2026-05-01T12:00:00.123456Z";
        QTest::newRow("digits beyond are cut") << "2026-05-01T12:00:00.1234569Z"
                                               << "2026-05-01T12:00:00.123456Z";
        QTest::newRow("offset east") << "2026-05-01T01:30:00+02:00"
                                     << "2026-04-30T23:30:00Z";
        QTest::newRow("offset west") << "2026-12-31T23:30:00-05:30"
                                     << "2027-01-01T05:00:00Z";
        QTest::newRow("offset without colon") << "2026-05-01T12:00:00+0200"
                                              << "2026-05-01T10:00:00Z";
        QTest::newRow("leap second") << "2016-12-31T23:59:60Z"
                                     << "2017-01-01T00:00:00Z";
        QTest::newRow("leap day") << "2024-02-29T00:00:00Z"
                                  << "2024-02-29T00:00:00Z";
        QTest::newRow("first instant") << "0001-01-01T00:00:00Z"
                                       << "0001-01-01T00:00:00Z";
        QTest::newRow("last second") << "9999-12-31T23:59:59Z"
                                     << "9999-12-31T23:59:59Z";
        QTest::newRow("before 1970") << "1969-12-31T23:59:59.999999Z"
                                     << "1969-12-31T23:59:59.999999Z";
    }

    void parsesInternetDateTimes()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        const auto instant = parseISO8601(text);
        QVERIFY(instant.has_value());
        QCOMPARE(toISO8601(*instant), expected);
        QVERIFY(parseISO8601(QUtf8StringView(text.toUtf8())) == instant);
    }

    void rejectsEverythingElse_data()
    {
        QTest::addColumn<QString>("text");
        for (const char *text : {"", "2026-05-01", "2026-05-01T12:00:00", "2026-05-01 12:00:00Z", "2026-05-01T12:00Z",
                 "2026-05-01T12:00:00.Z", "2026-05-01T12:00:00ZZ", "2026-13-01T12:00:00Z", "2026-02-29T12:00:00Z",
                 "2026-05-01T24:00:00Z", "2026-05-01T12:60:00Z", "2026-05-01T12:00:61Z", "0000-01-01T00:00:00Z",
                 "2026-05-01T12:00:00+24:00", "2026-05-01T12:00:00+02:60", "2026-05-01T12:00:00+2",
                 "0001-01-01T00:00:00+00:01", "9999-12-31T23:59:60Z", "9999-12-31T23:59:00-00:01",
                 "2026-05-01T12:00:00*02:00", " 2026-05-01T12:00:00Z", "-026-05-01T12:00:00Z"})
            QTest::newRow(text) << QString::fromLatin1(text);
        QTest::newRow("digits of another script") << QStringLiteral("\u0662026-05-01T12:00:00Z");
        QTest::newRow("a letter that ends like a digit") << QStringLiteral("2026-05-01T12:00:0\u0130Z");
    }

    void rejectsEverythingElse()
    {
        QFETCH(QString, text);
        QVERIFY(!parseISO8601(text).has_value());
        QVERIFY(!parseISO8601(QUtf8StringView(text.toUtf8())).has_value());
    }

    void secondsSinceTheReferenceDateComeBackToTheMicrosecond()
    {
        for (const char *text : {"2001-01-01T00:00:00Z", "2026-05-01T12:00:00.000001Z", "2026-05-01T12:00:00.999999Z",
                 "1980-01-01T00:00:00.123457Z", "2099-12-31T23:59:59.500001Z"}) {
            const auto instant = parseISO8601(QString::fromLatin1(text)).value();
            QVERIFY(instantFromReferenceDate(secondsSinceReferenceDate(instant)) == instant);
        }
        QCOMPARE(secondsSinceReferenceDate(parseISO8601(u"2001-01-01T00:00:01.5Z").value()), 1.5);
        QVERIFY(instantFromReferenceDate(secondsSinceReferenceDate(distantPast())) == distantPast());
    }

    void numbersOutsideOfTheYearsOneTo9999AreNoInstants()
    {
        const double first = secondsSinceReferenceDate(distantPast());
        for (const double seconds : {first - 1, 1e300, -1e300, 252'423'993'600.0, std::nan(""), HUGE_VAL, -HUGE_VAL})
            QVERIFY(!instantFromReferenceDate(seconds).has_value());
        QVERIFY(instantFromReferenceDate(252'423'993'599.0).has_value());
    }
};

VELMORA_TEST(InstantTest)
#include "instant_test.moc"
