// SPDX-License-Identifier: MIT
#include "presentation/muting_texts.h"

#include "support/builders.h"
#include "support/test_main.h"

#include <QLocale>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

class MutingTextsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom)); }

    void anEndIsATimeWithItsDayUnlessItIsToday()
    {
        QCOMPARE(untilText(noon() + 5h, noon()), u"until 17:00"_s);
        QCOMPARE(untilText(noon() + 12h - 1s, noon()), u"until 23:59"_s);
        QCOMPARE(untilText(noon() + 12h, noon()), u"until tomorrow, 00:00"_s);
        QCOMPARE(untilText(noon() + 21h, noon()), u"until tomorrow, 09:00"_s);
        QCOMPARE(untilText(noon() + 48h, noon()), u"until 03/05/2026, 12:00"_s);
    }

    void anActionNamesTheRepositoryOnOneLine()
    {
        QCOMPARE(mutingAction(u"acme/web"_s, false), u"Mute acme/web"_s);
        QCOMPARE(mutingAction(u"acme/web"_s, true), u"Unmute acme/web"_s);
        QCOMPARE(mutingAction(u"acme/\nweb"_s, false), u"Mute acme/ web"_s);
    }

    void aMutingTellsItsEnd()
    {
        QCOMPARE(mutedText(std::nullopt, noon()), QString());
        QCOMPARE(mutedText(Term{noon(), std::nullopt}, noon()), u"muted"_s);
        QCOMPARE(mutedText(Term{noon(), noon() + 8h}, noon()), u"muted until 20:00"_s);
    }
};

VELMORA_TEST(MutingTextsTest)
#include "muting_texts_test.moc"
