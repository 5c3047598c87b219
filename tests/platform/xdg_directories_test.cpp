// SPDX-License-Identifier: MIT
#include "platform/xdg_directories.h"

#include "support/test_main.h"

#include <QTemporaryDir>
#include <QTest>

using velmora::XDGDirectories;

class XDGDirectoriesTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        for (const char *name :
            {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_DIRS", "XDG_RUNTIME_DIR"})
            qunsetenv(name);
        qputenv("HOME", "/home/someone");
    }

    void theDefaultsLieBelowHome()
    {
        const auto directories = XDGDirectories::fromEnvironment();
        QCOMPARE(directories.configuration, QStringLiteral("/home/someone/.config/velmora"));
        QCOMPARE(directories.data, QStringLiteral("/home/someone/.local/share/velmora"));
        QCOMPARE(directories.cache, QStringLiteral("/home/someone/.cache/velmora"));
        QCOMPARE(directories.systemConfiguration, QStringList{QStringLiteral("/etc/xdg/velmora")});
    }

    void theEnvironmentNamesOtherFolders()
    {
        qputenv("XDG_CONFIG_HOME", "/c");
        qputenv("XDG_DATA_HOME", "/d/");
        qputenv("XDG_CACHE_HOME", "/x y");
        qputenv("XDG_CONFIG_DIRS", "/first:/second");
        const auto directories = XDGDirectories::fromEnvironment();
        QCOMPARE(directories.configuration, QStringLiteral("/c/velmora"));
        QCOMPARE(directories.data, QStringLiteral("/d/velmora"));
        QCOMPARE(directories.cache, QStringLiteral("/x y/velmora"));
        QCOMPARE(directories.systemConfiguration,
            (QStringList{QStringLiteral("/first/velmora"), QStringLiteral("/second/velmora")}));
    }

    void theRuntimeFolderIsTheOneThatAFlatpakShares()
    {
        const QTemporaryDir session;
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(session.path()));
        QCOMPARE(XDGDirectories::fromEnvironment().runtime, session.path() + QStringLiteral("/app/com.tarvik.Velmora"));
    }

    void withoutARuntimeFolderOfTheSessionThereIsNone()
    {
        QVERIFY(XDGDirectories::fromEnvironment().runtime.isEmpty());
        const QTemporaryDir session;
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(session.filePath(QStringLiteral("missing"))));
        QVERIFY(XDGDirectories::fromEnvironment().runtime.isEmpty());
        qputenv("XDG_RUNTIME_DIR", "relative");
        QVERIFY(XDGDirectories::fromEnvironment().runtime.isEmpty());
    }

    void relativeFoldersAreIgnored()
    {
        qputenv("XDG_CONFIG_HOME", "relative");
        qputenv("XDG_DATA_HOME", "./data");
        qputenv("XDG_CACHE_HOME", "");
        qputenv("XDG_CONFIG_DIRS", "etc::/etc/good:../bad");
        const auto directories = XDGDirectories::fromEnvironment();
        QCOMPARE(directories.configuration, QStringLiteral("/home/someone/.config/velmora"));
        QCOMPARE(directories.data, QStringLiteral("/home/someone/.local/share/velmora"));
        QCOMPARE(directories.cache, QStringLiteral("/home/someone/.cache/velmora"));
        QCOMPARE(directories.systemConfiguration, QStringList{QStringLiteral("/etc/good/velmora")});
    }

    void withoutAHomeNothingCanBeTold()
    {
        qunsetenv("HOME");
        const auto directories = XDGDirectories::fromEnvironment();
        QVERIFY(directories.configuration.isEmpty());
        QVERIFY(directories.data.isEmpty());
        QVERIFY(directories.cache.isEmpty());
        QCOMPARE(directories.systemConfiguration, QStringList{QStringLiteral("/etc/xdg/velmora")});
    }

    void aThrowAwayProfileLiesUnderOneFolder()
    {
        const auto directories = XDGDirectories::under(QStringLiteral("/tmp/demo"));
        QCOMPARE(directories.configuration, QStringLiteral("/tmp/demo/config"));
        QCOMPARE(directories.data, QStringLiteral("/tmp/demo/data"));
        QCOMPARE(directories.cache, QStringLiteral("/tmp/demo/cache"));
        QCOMPARE(directories.runtime, QStringLiteral("/tmp/demo/runtime"));
        QVERIFY(directories.systemConfiguration.isEmpty());
    }
};

VELMORA_TEST(XDGDirectoriesTest)
#include "xdg_directories_test.moc"
