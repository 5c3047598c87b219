// SPDX-License-Identifier: MIT
#include "presentation/environments_presentation.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace Qt::Literals::StringLiterals;
using enum EnvironmentChoice;

class EnvironmentsPresentationTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void choicesHaveTheSameWordsEverywhere()
    {
        QCOMPARE(choiceText(Notify), u"Notify"_s);
        QCOMPARE(choiceText(Show), u"Show"_s);
        QCOMPARE(choiceText(Hide), u"Hide"_s);
        QCOMPARE(environmentAction(Notify, u"staging"_s), u"Notify about staging"_s);
        QCOMPARE(environmentAction(Show, u"preview-*"_s), u"Show preview-* without notifications"_s);
        QCOMPARE(environmentAction(Hide, u"preview-*"_s), u"Hide preview-*"_s);
    }

    void aForeignNameKeepsAMenuInShape()
    {
        const QString action = environmentAction(Hide, u"a\nb\u202e"_s + QString(300, u'x'));
        QVERIFY(action.startsWith(u"Hide a b"_s));
        QVERIFY(action.size() < 70);
        QVERIFY(!action.contains(u'\u202e'));
    }

    void aLineIsReadWithItsChoice()
    {
        EnvironmentLine line{{u"preview-*"_s, Hide}, 2, true};
        QCOMPARE(environmentSentence(line), u"preview-*, Hide"_s);
        QCOMPARE(environmentDetails(line), u"2 repositories in the last 30 days"_s);
        line = {{u"staging"_s, Show, u"R_1"_s, u"acme/web"_s}, 1, true};
        QCOMPARE(environmentSentence(line), u"acme/web:staging, Show"_s);
        QCOMPARE(environmentDetails(line), u"1 repository in the last 30 days"_s);
        line.repositories = 0;
        QCOMPARE(environmentDetails(line), u"Not seen in the last 30 days"_s);
    }

    void aSearchFindsNamesAndRepositories()
    {
        const EnvironmentLine line{{u"Staging"_s, Show, u"R_1"_s, u"acme/web"_s}, 1, true};
        for (const QString &text : {QString(), u"stag"_s, u"ACME"_s, u"web:st"_s})
            QVERIFY2(EnvironmentSearch(text).finds(line), qPrintable(text));
        QVERIFY(!EnvironmentSearch(u" "_s).finds(line));
        QCOMPARE(EnvironmentSearch(u"x"_s).text(), u"x"_s);
    }
};

VELMORA_TEST(EnvironmentsPresentationTest)
#include "environments_presentation_test.moc"
