// SPDX-License-Identifier: MIT
#include "platform/browser_url_opener.h"

#include "platform/window_frames.h"
#include "support/await.h"
#include "support/test_main.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class BrowserURLOpenerTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_outcome = m_folder->filePath(QStringLiteral("outcome"));
        qputenv("PATH", QFile::encodeName(m_folder->path()) + ":/usr/bin:/bin");
        qputenv("VELMORA_TEST_OUTCOME", QFile::encodeName(m_outcome));
        // Written to another file first, so that the outcome is complete once it exists.
        installOpener("printf '%s\\n' \"$#\" \"$@\" \"$(readlink /proc/self/fd/0)\" \"$(readlink /proc/$$/fd/1)\" "
                      "\"$(readlink /proc/$$/fd/2)\" >\"$VELMORA_TEST_OUTCOME.new\"\n"
                      "mv \"$VELMORA_TEST_OUTCOME.new\" \"$VELMORA_TEST_OUTCOME\"\n");
    }

    void theAddressIsTheOneArgumentAndTheTerminalIsLeftAlone()
    {
        const QString address = QStringLiteral("https://example.com/a?b=c&d=$(id);e#f");
        QVERIFY(m_opener.open(WebAddress(address)));
        const QList<QByteArray> lines = outcome();
        QCOMPARE(lines.size(), 5);
        QCOMPARE(lines.at(0), QByteArray("1"));
        QCOMPARE(lines.at(1), address.toUtf8());
        QCOMPARE(lines.at(2), QByteArray("/dev/null"));
        QCOMPARE(lines.at(3), QByteArray("/dev/null"));
        QCOMPARE(lines.at(4), QByteArray("/dev/null"));
    }

    void theActivationTokenIsInTheEnvironmentOfTheBrowserOnly_data()
    {
        QTest::addColumn<QString>("token");
        QTest::addColumn<QByteArray>("seen");
        QTest::newRow("token") << QStringLiteral("gnome-shell/x/1234-5_TIME99")
                               << QByteArray("gnome-shell/x/1234-5_TIME99");
        QTest::newRow("none") << QString() << QByteArray("none");
        QTest::newRow("line break") << QStringLiteral("a\nb") << QByteArray("none");
        QTest::newRow("too long") << QStringLiteral("x").repeated(5'000) << QByteArray("none");
    }
    void theActivationTokenIsInTheEnvironmentOfTheBrowserOnly()
    {
        QFETCH(QString, token);
        QFETCH(QByteArray, seen);
        qunsetenv("XDG_ACTIVATION_TOKEN");
        qunsetenv("DESKTOP_STARTUP_ID");
        installOpener("printf '%s\\n' \"${XDG_ACTIVATION_TOKEN-none}\" \"${DESKTOP_STARTUP_ID-none}\" \"$1\" "
                      ">\"$VELMORA_TEST_OUTCOME.new\"\nmv \"$VELMORA_TEST_OUTCOME.new\" \"$VELMORA_TEST_OUTCOME\"\n");
        QVERIFY(m_opener.open(WebAddress(QStringLiteral("https://example.com/")), token));
        const QList<QByteArray> expected{seen, seen, "https://example.com/"};
        QCOMPARE(outcome(), expected);
        QVERIFY(!qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"));
    }

    void theBrowserMayDrawItsFramesEvenIfThisProgramDoesNot()
    {
        switchOffQtFrames();
        QVERIFY(qEnvironmentVariableIsSet("QT_WAYLAND_DISABLE_WINDOWDECORATION"));
        installOpener("printf '%s\\n' \"${QT_WAYLAND_DISABLE_WINDOWDECORATION-none}\" "
                      ">\"$VELMORA_TEST_OUTCOME.new\"\nmv \"$VELMORA_TEST_OUTCOME.new\" \"$VELMORA_TEST_OUTCOME\"\n");
        QVERIFY(m_opener.open(WebAddress(QStringLiteral("https://example.com/"))));
        QCOMPARE(outcome(), QList<QByteArray>{"none"});
        qunsetenv("QT_WAYLAND_DISABLE_WINDOWDECORATION");
    }

    void anActivationTokenOpensNothingButAWebAddress()
    {
        QVERIFY(!m_opener.open(WebAddress(QStringLiteral("file:///etc/passwd")), QStringLiteral("token")));
    }

    void anythingButAWebAddressIsRefused_data()
    {
        QTest::addColumn<QString>("address");
        QTest::newRow("file") << QStringLiteral("file:///etc/passwd");
        QTest::newRow("script") << QStringLiteral("javascript:alert(1)");
        QTest::newRow("option") << QStringLiteral("--help");
        QTest::newRow("relative") << QStringLiteral("example.com");
        QTest::newRow("empty") << QString();
        QTest::newRow("no host") << QStringLiteral("https:///path");
    }
    void anythingButAWebAddressIsRefused()
    {
        QFETCH(QString, address);
        QVERIFY(!BrowserURLOpener().open(WebAddress(address)));
    }

    void withoutAnOpenerNothingIsOpened()
    {
        qputenv("PATH", QFile::encodeName(m_folder->filePath(QStringLiteral("empty"))));
        QVERIFY(!BrowserURLOpener().open(WebAddress(QStringLiteral("https://example.com"))));
    }

    void thePageThatCouldNotBeOpenedIsKnownUntilOneCould()
    {
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(m_folder->filePath(QStringLiteral("empty"))));
        BrowserURLOpener opener;
        const QSignalSpy changed(&opener, &URLOpener::unopenedChanged);
        const WebAddress address(QStringLiteral("https://example.com/1"));
        QVERIFY(!opener.open(address));
        QCOMPARE(opener.unopened(), std::optional(address));
        QVERIFY(!opener.open(address));
        QCOMPARE(changed.size(), 1);
        qputenv("PATH", path);
        QVERIFY(opener.open(address));
        QVERIFY(!opener.unopened());
        QCOMPARE(changed.size(), 2);
    }

    void aLauncherThatFindsNoBrowserIsNoticed()
    {
        installOpener("exit 3\n");
        BrowserURLOpener opener;
        const WebAddress address(QStringLiteral("https://example.com/1"));
        QVERIFY(opener.open(address));
        QVERIFY(waitUntil([&] { return opener.unopened().has_value(); }));
        QCOMPARE(*opener.unopened(), address);
        opener.forgetUnopened();
        QVERIFY(!opener.unopened());
    }

    void aLauncherThatCannotBeRunIsNoticed()
    {
        QFile file(m_folder->filePath(QStringLiteral("xdg-open")));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("#!/there/is/no/such/interpreter\n");
        file.close();
        BrowserURLOpener opener;
        std::ignore = opener.open(WebAddress(QStringLiteral("https://example.com")));
        QVERIFY(waitUntil([&] { return opener.unopened().has_value(); }));
    }

    void theBrowserOutlivesTheOpener()
    {
        // The browser script continues when the test creates the gate, after the opener's end.
        const QString gate = m_folder->filePath(QStringLiteral("gate"));
        const QString begun = m_folder->filePath(QStringLiteral("begun"));
        installOpener("touch '" + QFile::encodeName(begun) + "'\nwhile [ ! -e '" + QFile::encodeName(gate)
            + "' ]; do sleep 0.01; done\nprintf 'done\\n' >\"$VELMORA_TEST_OUTCOME.new\"\n"
              "mv \"$VELMORA_TEST_OUTCOME.new\" \"$VELMORA_TEST_OUTCOME\"\n");
        auto opener = std::make_unique<BrowserURLOpener>();
        QVERIFY(opener->open(WebAddress(QStringLiteral("https://example.com"))));
        QVERIFY(waitUntil([&] { return QFile::exists(begun); }));
        opener.reset();
        QFile open(gate);
        QVERIFY(open.open(QIODevice::WriteOnly));
        QCOMPARE(outcome(), QList<QByteArray>{"done"});
    }

private:
    void installOpener(const QByteArray &script)
    {
        QFile file(m_folder->filePath(QStringLiteral("xdg-open")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\n" + script);
        QVERIFY(file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner));
    }

    QList<QByteArray> outcome()
    {
        if (!waitUntil([this] { return QFile::exists(m_outcome); }))
            return {};
        QFile file(m_outcome);
        return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().split('\n') : QList<QByteArray>();
    }

    BrowserURLOpener m_opener;
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_outcome;
};

VELMORA_TEST(BrowserURLOpenerTest)
#include "browser_url_opener_test.moc"
