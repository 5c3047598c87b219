// SPDX-License-Identifier: MIT
#include "platform/clipboard_pasteboard.h"

#include "support/test_main.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTest>

using velmora::ClipboardPasteboard;

class ClipboardPasteboardTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withoutADisplayNothingIsCopied()
    {
        int count = 1;
        char name[] = "test";
        char *arguments[] = {name, nullptr};
        const QGuiApplication application(count, arguments);
        QCOMPARE(QGuiApplication::platformName(), QStringLiteral("offscreen"));
        QGuiApplication::clipboard()->setText(QStringLiteral("before"));
        QVERIFY(!ClipboardPasteboard().setText(QStringLiteral("after")));
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("before"));
    }

    void withoutAGraphicalApplicationNothingIsCopied()
    {
        QVERIFY(!ClipboardPasteboard().setText(QStringLiteral("text")));
        int count = 1;
        char name[] = "test";
        char *arguments[] = {name, nullptr};
        const QCoreApplication application(count, arguments);
        QVERIFY(!ClipboardPasteboard().setText(QStringLiteral("text")));
    }
};

VELMORA_TEST_WITHOUT_APPLICATION(ClipboardPasteboardTest)
#include "clipboard_pasteboard_test.moc"
