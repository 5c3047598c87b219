// SPDX-License-Identifier: MIT
#include "support/foreign_text.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;

class ForeignTextTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unsafeCharactersAreDroppedOrReplaced_data()
    {
        QTest::addColumn<QString>("unsafe");
        QTest::newRow("escape") << QStringLiteral("\x1b");
        QTest::newRow("C1 control") << QStringLiteral("\u009b");
        QTest::newRow("carriage return") << QStringLiteral("\r");
        QTest::newRow("Arabic letter mark") << QStringLiteral("\u061C");
        QTest::newRow("left-to-right mark") << QStringLiteral("\u200E");
        QTest::newRow("right-to-left mark") << QStringLiteral("\u200F");
        QTest::newRow("override") << QStringLiteral("\u202E");
        QTest::newRow("isolate") << QStringLiteral("\u2066");
    }
    void unsafeCharactersAreDroppedOrReplaced()
    {
        QFETCH(QString, unsafe);
        const QString text = QLatin1Char('a') + unsafe + QLatin1Char('b');
        QCOMPARE(cleanedText(text, UnsafeCharacters::Dropped), QStringLiteral("ab"));
        QCOMPARE(cleanedText(text, UnsafeCharacters::Replaced), QStringLiteral("a\uFFFDb"));
    }

    void wordsAndLinesStayApart()
    {
        QCOMPARE(cleanedText(u"a\tb\nc\u2028d\u2029e", UnsafeCharacters::Dropped), QStringLiteral("a b\nc\nd\ne"));
    }

    void lettersOfAnyScriptJoinedEmojiAndFlagsStay()
    {
        const QString text = QStringLiteral("pr\u00fcfung \u8a66\u9a13 \u05d0 \U0001F469\u200D\U0001F680 "
                                            "\U0001F3F4\U000E0067\U000E007F");
        QCOMPARE(cleanedText(text, UnsafeCharacters::Replaced), text);
    }

    void whatIsNoCharacterIsReplaced()
    {
        const QString text = QString(QChar(0xD800)) + QChar(0xFFFE);
        QCOMPARE(cleanedText(text, UnsafeCharacters::Dropped), QStringLiteral("\uFFFD\uFFFD"));
    }

    void aCutGoesThroughNoPairAndNoLetterWithItsMarks()
    {
        QCOMPARE(presentableText(QStringLiteral("ab🚀d"), 4), QStringLiteral("ab…"));
        QCOMPARE(presentableText(QStringLiteral("ae\u0301bcd"), 3), QStringLiteral("a…"));
        QCOMPARE(presentableText(QStringLiteral("🚀🚀"), 3), QStringLiteral("🚀…"));
        // A single letter longer than the limit, whose marks are surrogate pairs.
        const QString marks = QStringLiteral("\U0001D165").repeated(10);
        QCOMPARE(presentableText(QStringLiteral("e") + marks, 5), QStringLiteral("e\U0001D165…"));
    }
};

VELMORA_TEST(ForeignTextTest)
#include "foreign_text_test.moc"
