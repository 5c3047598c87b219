// SPDX-License-Identifier: MIT
#include "monitor/term.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

class TermTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itIsOverAtItsEnd()
    {
        const Term term{noon(), noon() + 8h};
        QVERIFY(!term.isOver(noon()));
        QVERIFY(!term.isOver(noon() + 8h - 1us));
        QVERIFY(term.isOver(noon() + 8h));
    }

    void withoutAnEndItIsNeverOver()
    {
        const Term term{noon(), std::nullopt};
        QVERIFY(!term.isOver(noon() - 24h * 3650));
        QVERIFY(!term.isOver(noon() + 24h * 3650));
    }

    void aClockThatWasSetBackEndsItUnlessItWasOnlyCorrected()
    {
        const Term term{noon(), noon() + 1h};
        QVERIFY(!term.isOver(noon() - 5min));
        QVERIFY(term.isOver(noon() - 5min - 1us));
    }

    void itsIntervalBringsItBack()
    {
        const Term open{noon(), std::nullopt};
        const Term closed{noon(), noon() + 8h + 1us};
        QCOMPARE(toInterval(open), u"2026-05-01T12:00:00Z/.."_s);
        QCOMPARE(toInterval(closed), u"2026-05-01T12:00:00Z/2026-05-01T20:00:00.000001Z"_s);
        QVERIFY(parseInterval(toInterval(open)) == open);
        QVERIFY(parseInterval(toInterval(closed)) == closed);
    }

    void whatIsNoIntervalIsRefused()
    {
        for (const QString &text : {u""_s, u"/"_s, u"2026-05-01T12:00:00Z"_s, u"2026-05-01T12:00:00Z/"_s, u"../.."_s,
                 u"2026-05-01T12:00:00Z/tomorrow"_s, u"noon/2026-05-01T12:00:00Z"_s})
            QVERIFY2(!parseInterval(text), qPrintable(text));
    }
};

VELMORA_TEST(TermTest)
#include "term_test.moc"
