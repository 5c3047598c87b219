// SPDX-License-Identifier: MIT
#include "cli/plain_text.h"

#include "support/test_main.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace velmora;

class PlainTextTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatSteersATerminalIsMadeHarmless_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const QString &text, const QString &expected) {
            QTest::newRow(name) << text << expected;
        };
        row("plain", QStringLiteral("acme/web"), QStringLiteral("acme/web"));
        row("letters of any script", QStringLiteral("prüfung 試験"), QStringLiteral("prüfung 試験"));
        row("colour", QStringLiteral("a\x1b[31mb"), QStringLiteral("a\uFFFD[31mb"));
        row("title of the window", QStringLiteral("\x1b]0;x\x07"), QStringLiteral("\uFFFD]0;x\uFFFD"));
        row("C1 sequence", QStringLiteral("\u009b31m"), QStringLiteral("\uFFFD31m"));
        row("delete and backspace", QStringLiteral("a\x7f\x08"), QStringLiteral("a\uFFFD\uFFFD"));
        row("line breaks and tabs", QStringLiteral("a\nb\r\tc\u2028d"), QStringLiteral("a b  c d"));
        row("right-to-left override", QStringLiteral("a\u202Eb\u2066c"), QStringLiteral("a\uFFFDb\uFFFDc"));
        row("zero", QString(QChar(0)), QStringLiteral("\uFFFD"));
        row("half a pair", QString(QChar(0xD800)), QStringLiteral("\uFFFD"));
        row("an emoji", QStringLiteral("\U0001F680"), QStringLiteral("\U0001F680"));
    }

    void whatSteersATerminalIsMadeHarmless()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(harmless(text), expected);
    }

    void widthIsCountedInColumns_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("width");
        QTest::newRow("empty") << QString() << 0;
        QTest::newRow("ASCII") << QStringLiteral("abc") << 3;
        QTest::newRow("umlaut") << QStringLiteral("ü") << 1;
        QTest::newRow("combining mark") << QStringLiteral("u\u0308") << 1;
        QTest::newRow("wide") << QStringLiteral("試験") << 4;
        QTest::newRow("emoji") << QStringLiteral("\U0001F680") << 2;
    }

    void widthIsCountedInColumns()
    {
        QFETCH(QString, text);
        QFETCH(int, width);
        QCOMPARE(displayWidth(text), width);
    }

    void longTextIsElidedInTheMiddle_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("width");
        QTest::addColumn<QString>("expected");
        QTest::newRow("it fits") << QStringLiteral("abcdef") << 6 << QStringLiteral("abcdef");
        QTest::newRow("odd") << QStringLiteral("abcdefgh") << 5 << QStringLiteral("ab…gh");
        QTest::newRow("even") << QStringLiteral("abcdefgh") << 6 << QStringLiteral("abc…gh");
        QTest::newRow("one column") << QStringLiteral("abc") << 1 << QStringLiteral("…");
        QTest::newRow("no column") << QStringLiteral("abc") << 0 << QString();
        QTest::newRow("negative") << QStringLiteral("abc") << -3 << QString();
        QTest::newRow("wide ones are not cut in half") << QStringLiteral("試試試試") << 6 << QStringLiteral("試…試");
        QTest::newRow("a mark keeps its letter")
            << QStringLiteral("abcdefu\u0308") << 4 << QStringLiteral("ab…u\u0308");
    }

    void longTextIsElidedInTheMiddle()
    {
        QFETCH(QString, text);
        QFETCH(int, width);
        QFETCH(QString, expected);
        QCOMPARE(elidedMiddle(text, width), expected);
        QVERIFY(displayWidth(elidedMiddle(text, width)) <= std::max(0, width));
        QCOMPARE(displayWidth(fitted(text, width)), std::max(0, width));
    }

    void harmlessJSONIsTheSameDocument()
    {
        const QString text = QStringLiteral("a\u009b\u202E\x7f\u2028\U000E0041é試\U0001F680");
        const QByteArray json = QJsonDocument(QJsonObject{{QStringLiteral("text"), text}}).toJson();
        const QByteArray escaped = harmlessJSON(json);
        QCOMPARE(QJsonDocument::fromJson(escaped).object().value(QLatin1String("text")).toString(), text);
        QVERIFY(escaped.contains("a\\u009b\\u202e\\u007f\\u2028\\udb40\\udc41"));
        QVERIFY(escaped.contains("é試\U0001F680"));
    }
};

// Needs an application object, which sets the locale that character widths depend on.
VELMORA_TEST(PlainTextTest)
#include "plain_text_test.moc"
