// SPDX-License-Identifier: MIT
#include "ui/window/refresh_keys.h"

#include "support/test_main.h"

#include <QApplication>
#include <QTest>
#include <QWidget>

using namespace velmora;

/// Tests the keys with the scheme of a desktop, which an application reads when it starts.
class RefreshKeysTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyKeyIsThereOnce_data()
    {
        QTest::addColumn<QList<QKeySequence>>("ofDesktop");
        QTest::addColumn<QList<QKeySequence>>("keys");
        const QKeySequence f5(Qt::Key_F5);
        const QKeySequence controlR(Qt::CTRL | Qt::Key_R);
        const QKeySequence refresh(Qt::Key_Refresh);
        const auto row = [](const char *name, const QList<QKeySequence> &ofDesktop, const QList<QKeySequence> &keys) {
            QTest::newRow(name) << ofDesktop << keys;
        };
        row("none", {}, {f5, controlR});
        row("both", {controlR, f5}, {f5, controlR});
        row("one of them", {f5}, {f5, controlR});
        row("another one", {refresh, f5, refresh}, {f5, controlR, refresh});
    }

    void everyKeyIsThereOnce()
    {
        QFETCH(QList<QKeySequence>, ofDesktop);
        QFETCH(QList<QKeySequence>, keys);
        QCOMPARE(refreshKeys(ofDesktop), keys);
    }

    void bothKeysWorkOnThisDesktop()
    {
        QWidget window;
        int refreshes = 0;
        onRefreshKeys(&window, [&refreshes] { ++refreshes; });
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QTest::keyClick(&window, Qt::Key_F5);
        QCOMPARE(refreshes, 1);
        QTest::keyClick(&window, Qt::Key_R, Qt::ControlModifier);
        QCOMPARE(refreshes, 2);
    }

    /// Without this check all desktops might run with the same scheme.
    void theDesktopHasTheKeysForWhichItWasChosen()
    {
        const QString expected = qEnvironmentVariable("VELMORA_TEST_REFRESH_KEY", QStringLiteral("F5"));
        QCOMPARE(QKeySequence::keyBindings(QKeySequence::Refresh).value(0).toString(), expected);
    }
};

VELMORA_WIDGET_TEST(RefreshKeysTest)
#include "refresh_keys_test.moc"
