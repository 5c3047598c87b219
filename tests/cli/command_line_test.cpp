// SPDX-License-Identifier: MIT
#include "cli/command_line.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;

using Command = CommandLine::Command;

class CommandLineTest : public QObject
{
    Q_OBJECT

private:
    static CommandLineResult parse(const char *arguments)
    {
        return parseCommandLine(QString::fromUtf8(arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts));
    }

private Q_SLOTS:
    void commandsAreRecognised_data()
    {
        QTest::addColumn<int>("command");
        const auto row = [](const char *arguments, Command command) {
            QTest::newRow(arguments) << static_cast<int>(command);
        };
        row("connect", Command::Connect);
        row("accounts", Command::Accounts);
        row("accounts remove octocat", Command::RemoveAccount);
        row("installations", Command::Installations);
        row("repositories", Command::Repositories);
        row("watch", Command::Watch);
        row("wait acme/web", Command::Wait);
        row("status", Command::Status);
        row("refresh", Command::Refresh);
        row("show", Command::Show);
        row("settings", Command::Settings);
        row("environments", Command::Environments);
        row("quit", Command::Quit);
        row("diagnose", Command::Diagnose);
        row("--is-configured", Command::IsConfigured);
        row("--is-display-usable", Command::IsDisplayUsable);
    }

    void commandsAreRecognised()
    {
        QFETCH(int, command);
        const auto result = parse(QTest::currentDataTag());
        QVERIFY(result.commandLine);
        QCOMPARE(static_cast<int>(result.commandLine->command), command);
        QVERIFY(result.output.isEmpty() && result.error.isEmpty());
    }

    void generalFlagsStandBeforeAndAfterTheCommand()
    {
        for (const char *arguments : {"--demo --verbose watch", "watch --demo --verbose", "--demo watch --verbose"}) {
            const auto result = parse(arguments);
            QVERIFY2(result.commandLine && result.commandLine->isDemo && result.commandLine->isVerbose, arguments);
        }
        QVERIFY(!parse("watch").commandLine->isDemo);
    }

    void watchTakesItsFlags()
    {
        const auto line = parse("watch --once --quiet --json").commandLine;
        QVERIFY(line && line->isOnce && line->isQuiet && line->isJSON);
        QVERIFY(!parse("watch").commandLine->isQuiet);
    }

    void waitTakesWhatToWaitForAndForHowLong()
    {
        const auto line
            = parse("wait acme/web --environment production --commit 0123ABC --timeout 90s --json").commandLine;
        QVERIFY(line && line->isJSON);
        QCOMPARE(line->awaited.repository, QStringLiteral("acme/web"));
        QCOMPARE(line->awaited.environment, QStringLiteral("production"));
        QCOMPARE(line->awaited.commit, QStringLiteral("0123ABC"));
        QCOMPARE(line->timeout.count(), 90);
        const auto least = parse("wait acme/web").commandLine;
        QVERIFY(least && !least->isJSON);
        QVERIFY(least->awaited.environment.isEmpty() && least->awaited.commit.isEmpty());
        QCOMPARE(least->timeout.count(), 30 * 60);
        QCOMPARE(parse("wait acme/web --timeout 168h").commandLine->timeout.count(), 7 * 24 * 3600);
        QCOMPARE(parse("wait acme/web --timeout=5m").commandLine->timeout.count(), 5 * 60);
    }

    void anEmptyWordOfAScriptIsNotTakenForAnyEnvironmentOrCommit()
    {
        for (const char *option : {"--environment", "--commit", "--timeout"}) {
            const auto result = parseCommandLine(
                {QStringLiteral("wait"), QStringLiteral("acme/web"), QString::fromUtf8(option), QString()});
            QVERIFY2(!result.commandLine && result.exitCode == ExitCode::WrongUsage, option);
        }
    }

    void statusTakesAFormatAndMayGoOn()
    {
        const auto line = parse("status --format {active}/{failed} --follow").commandLine;
        QVERIFY(line && line->isFollowing);
        QCOMPARE(line->format, QStringLiteral("{active}/{failed}"));
        QVERIFY(parse("status --json --follow").commandLine);
        QVERIFY(!parse("status").commandLine->isFollowing);
    }

    void aFormatThatSaysNothingIsWrongUsage_data()
    {
        QTest::addColumn<QString>("reason");
        QTest::newRow("status --format wayba") << QStringLiteral("neither waybar nor a template");
        QTest::newRow("status --format {active}{colour}") << QStringLiteral("There is no {colour}.");
        QTest::newRow("status --format {active") << QStringLiteral("A single { is not allowed");
        QTest::newRow("status --format=") << QStringLiteral("FORMAT missing");
        QTest::newRow("status --format waybar --json") << QStringLiteral("--json");
        QTest::newRow("status --follow") << QStringLiteral("--follow goes with --json or --format.");
    }

    void aFormatThatSaysNothingIsWrongUsage()
    {
        QFETCH(QString, reason);
        const auto result = parse(QTest::currentDataTag());
        QVERIFY(!result.commandLine);
        QCOMPARE(result.exitCode, ExitCode::WrongUsage);
        QVERIFY2(result.error.contains(reason), qPrintable(result.error));
    }

    void kindsOfNotificationsAreKnown()
    {
        const auto line = parse("notifications --enable approvals --enable failures --disable successes").commandLine;
        QVERIFY(line && line->command == CommandLine::Command::Notifications);
        QCOMPARE(line->enable, (QStringList{QStringLiteral("approvals"), QStringLiteral("failures")}));
        QCOMPARE(line->disable, QStringList{QStringLiteral("successes")});
        QVERIFY(!line->onlyMine);
        QCOMPARE(parse("notifications --mine").commandLine->onlyMine, std::optional(true));
        QCOMPARE(parse("notifications --everybody").commandLine->onlyMine, std::optional(false));
        QCOMPARE(parse("notifications --everybody --mine").exitCode, ExitCode::WrongUsage);
        QCOMPARE(parse("notifications --enable tea").exitCode, ExitCode::WrongUsage);
        QCOMPARE(parse("notifications --enable failures --disable failures").exitCode, ExitCode::WrongUsage);
    }

    void whatBecomesOfEnvironmentsIsChosen()
    {
        const auto line
            = parse("environments --json --hide preview-* --hide ci --show a/b:staging --notify prod").commandLine;
        QVERIFY(line && line->command == CommandLine::Command::Environments && line->isJSON && !line->onlyProduction);
        QCOMPARE(line->hide, (QStringList{QStringLiteral("preview-*"), QStringLiteral("ci")}));
        QCOMPARE(line->show, QStringList(QStringLiteral("a/b:staging")));
        QCOMPARE(line->notify, QStringList(QStringLiteral("prod")));
        QCOMPARE(parse("environments --only-production").commandLine->onlyProduction, std::optional(true));
        QCOMPARE(parse("environments --every").commandLine->onlyProduction, std::optional(false));
        for (const char *wrong : {"environments --only-production --every", "environments --hide a --show A",
                 "environments --notify a --hide A", "environments --notify a --show a"})
            QCOMPARE(parse(wrong).exitCode, ExitCode::WrongUsage);
    }

    void whichFailuresCountIsChosen()
    {
        const auto line = parse("failures --json").commandLine;
        QVERIFY(line && line->command == CommandLine::Command::Failures && line->isJSON && !line->ignoresMended);
        QCOMPARE(parse("failures --ignore-mended").commandLine->ignoresMended, std::optional(true));
        QCOMPARE(parse("failures --count-mended").commandLine->ignoresMended, std::optional(false));
        QCOMPARE(parse("failures --count-mended --ignore-mended").exitCode, ExitCode::WrongUsage);
        const auto named = parse("failures --restore-all --dismiss a/b --dismiss c/d:e").commandLine;
        QVERIFY(named && named->isNone && !named->isAll && named->restore.isEmpty());
        QCOMPARE(named->dismiss, (QStringList{QStringLiteral("a/b"), QStringLiteral("c/d:e")}));
        const auto all = parse("failures --dismiss-all --restore a/b").commandLine;
        QVERIFY(all && all->isAll && !all->isNone);
        QCOMPARE(all->restore, QStringList{QStringLiteral("a/b")});
        for (const char *wrong : {"failures --dismiss-all --restore-all", "failures --dismiss-all --dismiss a/b",
                 "failures --restore-all --restore a/b", "failures --dismiss a/b --restore A/b"})
            QCOMPARE(parse(wrong).exitCode, ExitCode::WrongUsage);
    }

    void aRepositoryIsMutedForATimeOrUntilItIsUnmuted()
    {
        const auto mute = parse("mute acme/web --for 8h --json").commandLine;
        QVERIFY(mute && mute->command == CommandLine::Command::Mute && mute->isJSON);
        QCOMPARE(mute->repository, QStringLiteral("acme/web"));
        QCOMPARE(mute->duration, std::optional<std::chrono::seconds>(std::chrono::hours(8)));
        QVERIFY(!parse("mute acme/web").commandLine->duration);
        QVERIFY(parse("mute acme/web --for 8760h").commandLine);
        const auto unmute = parse("unmute acme/web").commandLine;
        QVERIFY(unmute && unmute->command == CommandLine::Command::Unmute && !unmute->isJSON);
        for (const char *wrong : {"mute", "unmute", "mute web", "mute acme/web --for 0s", "mute acme/web --for 8",
                 "mute acme/web --for 8761h", "unmute acme/web --for 8h"})
            QCOMPARE(parse(wrong).exitCode, ExitCode::WrongUsage);
    }

    void aPauseHasALengthOrAnEndOrNeither()
    {
        const auto pause = parse("pause --json").commandLine;
        QVERIFY(pause && pause->command == CommandLine::Command::Pause && pause->isJSON);
        QVERIFY(!pause->duration && !pause->until);
        const auto length = parse("pause 2h").commandLine;
        QVERIFY(length && !length->until);
        QCOMPARE(length->duration, std::optional<std::chrono::seconds>(std::chrono::hours(2)));
        const auto end = parse("pause until 9:00").commandLine;
        QVERIFY(end && !end->duration);
        QCOMPARE(end->until, std::optional(QTime(9, 0)));
        QCOMPARE(parse("pause until 21:30").commandLine->until, std::optional(QTime(21, 30)));
        const auto resume = parse("resume").commandLine;
        QVERIFY(resume && resume->command == CommandLine::Command::Resume);
        for (const char *wrong : {"pause 2", "pause 0h", "pause 8761h", "pause until", "pause until 24:00",
                 "pause until 9", "pause from 9:00", "pause until 9:00 10:00", "resume 2h"})
            QVERIFY2(parse(wrong).exitCode == ExitCode::WrongUsage, wrong);
        QVERIFY(parse("pause until 9").error.contains(QStringLiteral("until 9:00")));
    }

    void namesAreTakenOneByOneAndRepeatedly()
    {
        const auto line = parse("repositories --none --include a/b --include c/d --json").commandLine;
        QVERIFY(line);
        const QStringList included{QStringLiteral("a/b"), QStringLiteral("c/d")};
        QCOMPARE(line->include, included);
        QVERIFY(line->isNone && line->isJSON && !line->isAll);
        const auto installations = parse("installations --enable 1:2 --disable 3:4 --enable 5:6").commandLine;
        const QStringList enabled{QStringLiteral("1:2"), QStringLiteral("5:6")};
        QCOMPARE(installations->enable, enabled);
        QCOMPARE(installations->disable, QStringList{QStringLiteral("3:4")});
        QCOMPARE(parse("accounts remove octocat").commandLine->login, QStringLiteral("octocat"));
    }

    void everyRunMayBeToldToRefresh() { QVERIFY(parse("repositories --refresh").commandLine); }

    void allAndExcludeGoTogether()
    {
        const auto line = parse("repositories --all --exclude a/b").commandLine;
        QVERIFY(line && line->isAll);
    }

    void withoutACommandTheTrayStarts()
    {
        const auto line = parse("").commandLine;
        QVERIFY(line && line->command == CommandLine::Command::Desktop && !line->isBackground);
        const auto quiet = parse("--background").commandLine;
        QVERIFY(quiet && quiet->command == CommandLine::Command::Desktop && quiet->isBackground);
        const auto demo = parse("--demo").commandLine;
        QVERIFY(demo && demo->command == CommandLine::Command::Desktop && demo->isDemo);
    }

    void wrongUsageHasAMessageAndTheCodeTwo_data()
    {
        QTest::addColumn<QString>("mentions");
        const auto row = [](const char *arguments, const char *mentions) {
            QTest::newRow(arguments) << QString::fromUtf8(mentions);
        };
        row("--background watch", "--background");
        row("--demo diagnose", "diagnose");
        row("diagnose --json", "--json");
        row("nonsense", "nonsense");
        row("--nonsense", "--nonsense");
        row("watch --nonsense", "--nonsense");
        row("watch status", "status");
        row("connect --json", "--json");
        row("accounts remove", "LOGIN");
        row("accounts remove a b", "b");
        row("installations --enable", "--enable");
        row("repositories --include a/b c/d", "c/d");
        row("repositories --all --none", "--none");
        row("repositories --all --include a/b", "--include");
        row("repositories --none --exclude a/b", "--exclude");
        row("repositories --include a/b --exclude A/B", "a/b");
        row("installations --enable 1:2 --disable 1:2", "1:2");
        row("repositories --json=maybe", "json");
        row("wait", "OWNER/REPO");
        row("wait acme", "acme is not owner/name");
        row("wait acme/web/app", "acme/web/app is not owner/name");
        row("wait acme/web other/web", "other/web");
        row("wait acme/web --commit 012345", "012345 is no SHA of at least seven digits");
        row("wait acme/web --commit 01234567890123456789012345678901234567890", "is no SHA");
        row("wait acme/web --commit main-branch", "main-branch is no SHA");
        row("wait acme/web --timeout 30", "30 is no time such as 90s, 30m or 2h");
        row("wait acme/web --timeout 0s", "0s is no time");
        row("wait acme/web --timeout 1.5h", "1.5h is no time");
        row("wait acme/web --timeout 169h", "of a week at most");
        row("wait acme/web --timeout 9999999999h", "is no time");
    }

    void wrongUsageHasAMessageAndTheCodeTwo()
    {
        QFETCH(QString, mentions);
        const auto result = parse(QTest::currentDataTag());
        QVERIFY(!result.commandLine);
        QCOMPARE(result.exitCode, ExitCode::WrongUsage);
        QVERIFY2(result.error.contains(mentions), qPrintable(result.error));
        QVERIFY(result.output.isEmpty());
    }

    void helpAndVersionAreEverywhere_data()
    {
        QTest::addColumn<QString>("prefix");
        for (const char *prefix : {"", "connect", "accounts", "accounts remove", "installations", "repositories",
                 "watch", "wait", "status", "diagnose", "--demo watch"})
            QTest::newRow(prefix) << QString::fromUtf8(prefix);
    }

    void helpAndVersionAreEverywhere()
    {
        QFETCH(QString, prefix);
        const auto help = parse(qPrintable(prefix + QStringLiteral(" --help")));
        QVERIFY(!help.commandLine);
        QCOMPARE(help.exitCode, ExitCode::Done);
        QVERIFY(help.output.contains(QStringLiteral("--help")));
        QVERIFY(help.output.contains(prefix.section(QLatin1Char(' '), -1)));
        const auto version = parse(qPrintable(prefix + QStringLiteral(" --version")));
        QCOMPARE(version.exitCode, ExitCode::Done);
        QCOMPARE(version.output, QStringLiteral("velmora " VELMORA_VERSION "\n"));
    }

    void whatIsForScriptsIsNotInTheHelp()
    {
        const auto help = parse("--help");
        QVERIFY(!help.output.contains(QStringLiteral("is-configured")));
        QVERIFY(!help.output.contains(QStringLiteral("is-display")));
    }
};

VELMORA_TEST(CommandLineTest)
#include "command_line_test.moc"
