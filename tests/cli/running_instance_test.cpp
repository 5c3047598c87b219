// SPDX-License-Identifier: MIT
// Terminal commands beside the tray program, both real, in a private session bus, home and keyring.
#include "notification-daemons/fake_notification_daemon.h"
#include "support/test_main.h"
#include "tray_world.h"

#include <vector>

using namespace velmora::testing;

class RunningInstanceTest : public QObject, private TrayWorld
{
    Q_OBJECT

private:
    /// An environment of which the simulator's world knows nothing.
    const QString kDock = QStringLiteral("dry-dock");

    /// The environment of a desktop with an invalid configuration.
    [[nodiscard]] QProcessEnvironment refusedEnvironment() const
    {
        QProcessEnvironment result = environment();
        result.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        result.insert(QStringLiteral("VELMORA_GITHUB_HOST"), QStringLiteral("https://not a host"));
        return result;
    }

    /// The number of requests to GitHub since the log was cleared.
    [[nodiscard]] qsizetype requests() { return m_simulator.log().entries().size(); }

    /// The number of programs that started polling since the log was cleared. Each first asks for the installations;
    /// the tray program does so only once an hour.
    [[nodiscard]] qsizetype pollingStarts()
    {
        const auto &entries = m_simulator.log().entries();
        return std::ranges::count_if(
            entries, [](const auto &entry) { return entry.request.path == "/user/installations"; });
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_simulator.start()); }

    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_simulator.misbehaviour().clear();
        m_simulator.log().clear();
    }

    void cleanup() { endTray(); }

    void theStatusIsLiveAndAsksNobody()
    {
        connectAndStartTray();
        const auto status = finished("status --json");
        QCOMPARE(status->err(), QByteArray());
        QCOMPARE(status->code(), 0);
        const QJsonObject report = jsonLines(status->out()).last();
        QVERIFY(!report.contains(QLatin1String("saved")));
        QVERIFY(!report.value(QLatin1String("deployments")).toArray().isEmpty());
        QCOMPARE(pollingStarts(), qsizetype(0));
    }

    void aBarIsFedOneLine()
    {
        connectAndStartTray();
        const QByteArray total = finished("status --format {total}")->out();
        QVERIFY2(total.trimmed().toInt() > 0, total.constData());
        const auto waybar = jsonLines(finished("status --format waybar")->out());
        QCOMPARE(waybar.size(), 1);
        QVERIFY(waybar.first().value(QLatin1String("tooltip")).toString().size() > 20);
    }

    void aFollowedStatusTellsEveryChangeOnce()
    {
        connectAndStartTray();
        const QString name = firstRepository();
        const auto run = started("status --format <{active}> --follow");
        QVERIFY(run->prints("<0>\n"));
        const QString id = deploy(name, QString(), "IN_PROGRESS");
        QCOMPARE(finished("refresh")->code(), 0);
        QVERIFY(run->prints("<1>\n"));
        deploy(name, id, "SUCCESS");
        QVERIFY(waitUntil([&] { return run->out() == "<0>\n<1>\n<0>\n"; }));
        run->signal(SIGTERM);
        QVERIFY(run->ends(kWithinASecond));
        QCOMPARE(run->code(), 0);
    }

    void aFollowedStatusOutlivesTheTray()
    {
        connectAndStartTray();
        const auto run = started("status --format {state} --follow");
        QVERIFY(run->prints("\n") && !run->out().contains("stale"));
        QCOMPARE(finished("quit")->code(), 0);
        QVERIFY(run->prints("stale\n"));
        QVERIFY(m_tray->ends());
        const auto before = run->out().size();
        startTray();
        QVERIFY(waitUntil([&] { return run->out().size() > before; }));
        run->signal(SIGINT);
        QVERIFY(run->ends(kWithinASecond));
    }

    void watchingAddsNoRequest()
    {
        connectAndStartTray();
        const auto run = started("watch --json");
        QVERIFY(run->prints("\"ready\""));
        QCOMPARE(pollingStarts(), qsizetype(0));
        run->signal(SIGINT);
        QVERIFY(run->ends(kWithinASecond));
        QCOMPARE(run->code(), 0);
    }

    void aFailureIsPostedOnceAndToldToEveryWatcher()
    {
        FakeNotificationDaemon daemon(QStringLiteral("daemon"));
        daemon.appear();
        connectAndStartTray();
        const QString name = firstRepository();
        const QString id = deploy(name, QString(), "IN_PROGRESS");
        QCOMPARE(finished("refresh")->code(), 0);
        const auto first = started("watch");
        const auto second = started("watch");
        QVERIFY(first->prints("in progress") && second->prints("in progress"));
        deploy(name, id, "FAILURE");
        const QByteArray line = "* " + name.toUtf8() + " failed";
        QVERIFY(first->prints(line) && second->prints(line));
        QVERIFY(waitUntil([&] { return !daemon.notified.isEmpty(); }));
        QCOMPARE(finished("refresh")->code(), 0);
        QCOMPARE(daemon.notified.size(), qsizetype(1));
        first->signal(SIGINT);
        second->signal(SIGINT);
        QVERIFY(first->ends() && second->ends());
    }

    void aWatcherGivesWayToTheTrayAndTakesOverAfterIt()
    {
        connectFirst();
        const auto run = started("watch --json");
        QVERIFY(run->prints("\"ready\""));
        startTray();
        QCOMPARE(finished("refresh")->code(), 0);
        const auto before = run->out().size();
        QCOMPARE(finished("quit")->code(), 0);
        QVERIFY(m_tray->ends());
        m_tray.reset();
        m_simulator.log().clear();
        QVERIFY(waitUntil([&] { return requests() > 0; }));
        QVERIFY(waitUntil([&] { return run->out().mid(before).contains("\"ready\""); }));
        run->signal(SIGINT);
        QVERIFY(run->ends(kWithinASecond));
        QCOMPARE(run->code(), 0);
        QCOMPARE(run->err(), QByteArray());
    }

    void choicesAreMadeInTheTray()
    {
        connectAndStartTray();
        const QString name = firstRepository();
        const auto excluded = finished(("repositories --json --exclude " + name.toUtf8()).constData());
        QCOMPARE(excluded->code(), 0);
        const auto run = started("status --json --follow");
        QVERIFY(run->prints("deployments"));
        QCOMPARE(finished("refresh")->code(), 0);
        QVERIFY(!finished("status --json")->out().contains('"' + name.toUtf8() + '"'));
        QVERIFY(finished("repositories --exclude a/b")->err().contains("There is no repository a/b"));
        const auto kinds = finished("notifications --json --mine --disable failures");
        QCOMPARE(kinds->out(),
            QByteArray("{\"failures\":false,\"successes\":false,\"approvals\":false,\"onlyMine\":true}\n"));
        QCOMPARE(finished("notifications")->out(),
            QByteArray("NOTIFY  ABOUT\nno      failures\nno      successes\nno      approvals\nOnly deployments that "
                       "you started count.\n"));
        // This session has no notification service.
        const auto refused = finished("notifications --enable approvals");
        QCOMPARE(refused->code(), 1);
        QVERIFY2(refused->err().contains("notification"), refused->err().constData());
    }

    void whichFailuresCountIsChosenForTheTray()
    {
        connectAndStartTray();
        const QString name = firstRepository();
        const QJsonObject failure{{QStringLiteral("repository"), name}, {QStringLiteral("environment"), kDock},
            {QStringLiteral("state"), QStringLiteral("FAILURE")}, {QStringLiteral("ageSeconds"), 600}};
        const auto failed = changeWorld({{QStringLiteral("deployment"), failure}}).value(QLatin1String("id"));
        const QJsonObject success{{QStringLiteral("repository"), name}, {QStringLiteral("environment"), kDock},
            {QStringLiteral("state"), QStringLiteral("SUCCESS")}};
        const auto mending = changeWorld({{QStringLiteral("deployment"), success}}).value(QLatin1String("id"));
        QCOMPARE(finished("refresh")->code(), 0);
        const auto failureIn = [&](const QJsonObject &printed) {
            const auto deployments = printed.value(QLatin1String("deployments")).toArray();
            for (const auto &deployment : deployments) {
                if (deployment.toObject().value(QLatin1String("id")) == failed)
                    return deployment.toObject();
            }
            return QJsonObject();
        };
        const auto listed = jsonLines(finished("failures --json")->out()).last();
        QCOMPARE(listed.value(QLatin1String("ignoresMended")), QJsonValue(false));
        QCOMPARE(failureIn(listed).value(QLatin1String("mendedBy")), mending);
        QVERIFY(!failureIn(listed).contains(QLatin1String("counted")));
        const auto before = finished("status --format {failed}")->out().trimmed().toInt();
        const auto ignoring = jsonLines(finished("failures --json --ignore-mended")->out()).last();
        QCOMPARE(ignoring.value(QLatin1String("ignoresMended")), QJsonValue(true));
        QCOMPARE(failureIn(ignoring).value(QLatin1String("counted")), QJsonValue(false));
        QVERIFY(finished("status --format {failed}")->out().trimmed().toInt() < before);
        QVERIFY(finished("failures")->out().endsWith("\nMended failures no longer count.\n"));
        endTray();
        startTray();
        const auto status = jsonLines(finished("status --json")->out()).last();
        QCOMPARE(failureIn(status).value(QLatin1String("counted")), QJsonValue(false));
        QVERIFY(finished("failures --count-mended")->out().endsWith("\nMended failures count.\n"));
        QCOMPARE(finished("status --format {failed}")->out().trimmed().toInt(), before);
    }

    void whatIsHiddenIsHiddenInTheTray()
    {
        connectAndStartTray();
        const QString name = firstRepository();
        const QJsonObject preview{{QStringLiteral("repository"), name}, {QStringLiteral("environment"), kDock},
            {QStringLiteral("state"), QStringLiteral("SUCCESS")}};
        const auto id = changeWorld({{QStringLiteral("deployment"), preview}}).value(QLatin1String("id")).toString();
        QCOMPARE(finished("refresh")->code(), 0);
        const auto isListed = [&] {
            return finished("status --json")->out().contains(id.toUtf8());
        };
        QVERIFY(isListed());
        const QString hide = QStringLiteral("environments --json --hide ") + kDock;
        const auto listed = jsonLines(finished(hide.toUtf8().constData())->out()).last();
        QCOMPARE(listed.value(QLatin1String("onlyProduction")), QJsonValue(false));
        QVERIFY(!isListed());
        QVERIFY(jsonLines(finished("status --json")->out()).last().value(QLatin1String("hidden")).toInt() >= 1);
        endTray();
        startTray();
        QVERIFY(!isListed());
        const QByteArray table = finished("environments --only-production")->out();
        QVERIFY2(table.startsWith("CHOICE") && table.contains("hide    " + kDock.toUtf8()), table);
        QVERIFY2(table.endsWith("\nOf what is not chosen, only production is announced.\n"), table);
        const QString notify = QStringLiteral("environments --every --notify ") + kDock;
        QVERIFY(finished(notify.toUtf8().constData())->out().contains("notify  " + kDock.toUtf8()));
        QVERIFY(isListed());
        const auto refused = finished("environments --hide nobody/nothing:x");
        QCOMPARE(refused->code(), 1);
        QVERIFY2(refused->err().contains("nobody/nothing has had no deployment"), refused->err());
    }

    void notificationsArePausedInTheTray()
    {
        connectAndStartTray();
        const auto status = [&] {
            return jsonLines(finished("status --json")->out()).last();
        };
        QVERIFY(!status().contains(QLatin1String("paused")));
        QCOMPARE(finished("pause")->out(), QByteArray("Notifications are paused.\n"));
        const auto paused = jsonLines(finished("pause 2h --json")->out()).last();
        QCOMPARE(paused.value(QLatin1String("paused")), QJsonValue(true));
        const QJsonValue until = paused.value(QLatin1String("pausedUntil"));
        QVERIFY(until.toString().endsWith(QLatin1Char('Z')));
        QCOMPARE(status().value(QLatin1String("pausedUntil")), until);
        QVERIFY(finished("status")->out().contains("Notifications are paused until "));
        endTray();
        QCOMPARE(status().value(QLatin1String("pausedUntil")), until);
        startTray();
        QCOMPARE(status().value(QLatin1String("pausedUntil")), until);
        QVERIFY(finished("pause until 9:00")->out().startsWith("Notifications are paused until "));
        QCOMPARE(finished("resume")->out(), QByteArray("Notifications are not paused.\n"));
        QVERIFY(!status().contains(QLatin1String("paused")));
    }

    void aRepositoryIsMutedInTheTray()
    {
        connectAndStartTray();
        const QByteArray name = firstRepository().toUtf8();
        const auto first = [&] {
            return array(finished("repositories --json")->out()).first().toObject();
        };
        QCOMPARE(finished(("mute " + name).constData())->out(), name + " is muted.\n");
        QCOMPARE(first().value(QLatin1String("muted")), QJsonValue(true));
        QVERIFY(finished("repositories")->out().contains("NOTIFICATIONS"));
        const auto muted = jsonLines(finished(("mute " + name + " --for 8h --json").constData())->out()).last();
        QCOMPARE(muted.value(QLatin1String("repository")).toString().toUtf8(), name);
        QCOMPARE(muted.value(QLatin1String("muted")), QJsonValue(true));
        QVERIFY(muted.value(QLatin1String("mutedUntil")).toString().endsWith(QLatin1Char('Z')));
        QCOMPARE(first().value(QLatin1String("mutedUntil")), muted.value(QLatin1String("mutedUntil")));
        endTray();
        startTray();
        QCOMPARE(first().value(QLatin1String("mutedUntil")), muted.value(QLatin1String("mutedUntil")));
        QCOMPARE(finished(("unmute " + name).constData())->out(), name + " is not muted.\n");
        QCOMPARE(first().value(QLatin1String("muted")), QJsonValue(false));
        QVERIFY(!finished("repositories")->out().contains("NOTIFICATIONS"));
        const auto refused = finished("mute nobody/nothing");
        QCOMPARE(refused->code(), 1);
        QVERIFY(refused->err().startsWith("There is no repository nobody/nothing. There is: "));
    }

    void accountsAreTheTrays()
    {
        connectAndStartTray();
        const QJsonObject account = array(finished("accounts --json")->out()).first().toObject();
        QCOMPARE(account.value(QLatin1String("status")).toString(), QStringLiteral("connected"));
        QCOMPARE(finished("accounts remove nobody")->code(), 1);
        const QByteArray login = account.value(QLatin1String("login")).toString().toUtf8();
        QCOMPARE(finished(("accounts remove " + login).constData())->out(), "Removed " + login + ".\n");
        QCOMPARE(finished("accounts --json")->out(), QByteArray("[]\n"));
        const auto status = jsonLines(finished("status --json")->out()).last();
        QCOMPARE(status.value(QLatin1String("state")).toString(), QStringLiteral("disconnected"));
        QVERIFY(status.value(QLatin1String("deployments")).toArray().isEmpty());
        QVERIFY(finished("refresh")->err().contains("velmora connect"));
    }

    void anAccountThatIsConnectedInTheTerminalIsWatchedByTheTray()
    {
        m_tray = startedOnDesktop("");
        QVERIFY(waitUntil([this] { return finished("accounts --json")->out() == "[]\n"; }));
        connectFirst();
        QVERIFY(waitUntil([this] { return finished("status --json")->out().contains("\"ready\""); }));
    }

    void anAccountThatIsConnectedAgainInTheTerminalIsWellInTheTray()
    {
        connectAndStartTray();
        const QString login = QString::fromUtf8(m_connected.last());
        m_simulator.oauth().revoke(login);
        QCOMPARE(finished("refresh")->code(), 1);
        QVERIFY(finished("accounts")->out().contains("Reconnect required"));
        QVERIFY(finished("status --json")->out().contains("Connect " + m_connected.last() + " again."));
        // The list of accounts does not change; the only difference is the new token.
        QVERIFY(connectsAs(login));
        QVERIFY(waitUntil([this] { return !finished("accounts")->out().contains("Reconnect required"); }));
        QVERIFY(waitUntil([this] { return finished("status --json")->out().contains("\"ready\""); }));
        QVERIFY(!finished("status --json")->out().contains(" again."));
    }

    void oneRefreshServesTheTrayAndTheTerminal()
    {
        connectAndStartTray();
        const auto once = finished("watch --once --json");
        QCOMPARE(once->code(), 0);
        QVERIFY(once->out().contains("\"ready\""));
        QVERIFY(requests() > 0);
        const auto refresh = finished("refresh");
        QCOMPARE(refresh->code(), 0);
        QVERIFY2(refresh->out().startsWith("Velmora"), refresh->out().constData());
    }

    void refreshesAtTheSameTimeAreOneLoad()
    {
        connectAndStartTray();
        addRule("{'path': '/user/installations', 'action': {'delayMilliseconds': 3000}}");
        std::vector<std::unique_ptr<ProgramRun>> runs;
        for (const char *command : {"refresh", "watch --once --json", "repositories --json", "refresh"})
            runs.push_back(started(command));
        for (const auto &run : runs) {
            QVERIFY(run->ends(60'000));
            QCOMPARE(run->err(), QByteArray());
            QCOMPARE(run->code(), 0);
        }
        const auto entries = m_simulator.log().entries();
        const auto loads = std::ranges::count_if(
            entries, [](const auto &entry) { return entry.request.path == "/user/installations"; });
        // A command that started slowly may have missed the first load.
        QVERIFY2(loads >= 1 && loads <= 2, QByteArray::number(loads).constData());
    }

    void aTrayThatHangsIsToldFromOneThatWorks()
    {
        connectAndStartTray();
        m_tray->signal(SIGSTOP);
        std::vector<std::unique_ptr<ProgramRun>> runs;
        for (const char *command : {"refresh", "watch --once", "repositories", "status", "wait a/b"})
            runs.push_back(started(command));
        QByteArrayList told;
        for (const auto &run : runs)
            told.append(run->ends(60'000) ? QByteArray::number(run->code()) + ' ' + run->err() : "goes on");
        m_tray->signal(SIGCONT);
        QCOMPARE(told, QByteArrayList(5, "1 Velmora is running already, but does not answer.\n"));
        const auto refresh = finished("refresh");
        QCOMPARE(refresh->err(), QByteArray());
        QCOMPARE(refresh->code(), 0);
    }

    void aTrayThatLoadsForLongIsWaitedFor()
    {
        connectAndStartTray();
        // Longer than a tray program may stay silent.
        addRule("{'path': '/user/installations', 'action': {'delayMilliseconds': 13000}}");
        const auto refresh = started("refresh");
        QVERIFY(refresh->ends(60'000));
        QCOMPARE(refresh->err(), QByteArray());
        QCOMPARE(refresh->code(), 0);
    }

    void whatTheWindowCommandsAskForIsDoneByTheTray()
    {
        connectAndStartTray();
        // These commands need no display.
        QProcessEnvironment bare = environment();
        bare.remove(QStringLiteral("QT_QPA_PLATFORM"));
        for (const char *command : {"show", "settings"}) {
            ProgramRun run(words(command), bare);
            run.start();
            QVERIFY(run.ends());
            QCOMPARE(run.code(), 0);
            QCOMPARE(run.err(), QByteArray());
        }
        const auto second = startedOnDesktop("");
        QVERIFY(second->ends());
        QCOMPARE(second->code(), 0);
        QCOMPARE(m_tray->process().state(), QProcess::Running);
    }

    void quittingWaitsForTheEnd()
    {
        connectAndStartTray();
        QCOMPARE(finished("quit")->code(), 0);
        QVERIFY(m_tray->ends(kWithinASecond));
        QCOMPARE(m_tray->code(), 0);
        m_tray.reset();
        const auto again = finished("quit");
        QCOMPARE(again->code(), 1);
        QVERIFY(again->err().contains("Velmora is not running."));
    }

    void aRefusedConfigurationIsShownUntilTheEndWhereThereIsNoTerminal()
    {
        ProgramRun run({}, refusedEnvironment());
        run.start();
        QVERIFY(waitUntil([&] { return run.err().contains("VELMORA_GITHUB_HOST"); }));
        // Meanwhile it does not block other commands.
        QVERIFY(waitUntil([this] { return finished("quit")->err().contains("Velmora is not running."); }));
        QCOMPARE(run.process().state(), QProcess::Running);
        run.signal(SIGTERM);
        QVERIFY(run.ends());
        QCOMPARE(run.code(), 1);
    }

    void aRefusedConfigurationEndsTheProgramAtOnceInATerminal()
    {
        PseudoTerminal terminal;
        QVERIFY(terminal.isOpen());
        ProgramRun run({}, refusedEnvironment());
        terminal.attach(run.process());
        run.process().start();
        QVERIFY(run.ends());
        QCOMPARE(run.code(), 1);
        QVERIFY(run.err().contains("VELMORA_GITHUB_HOST"));
    }

    void withoutATrayAndADisplayTheWindowCommandsSayWhatToDo()
    {
        QProcessEnvironment bare = environment();
        bare.remove(QStringLiteral("QT_QPA_PLATFORM"));
        for (const char *command : {"show", "settings", ""}) {
            ProgramRun run(words(command), bare);
            run.start();
            QVERIFY(run.ends());
            QCOMPARE(run.code(), 1);
            QVERIFY(run.err().contains("There is no display"));
        }
    }

    void withoutATrayARefreshIsSavedForTheNextStatus()
    {
        connectFirst();
        const auto refresh = finished("refresh");
        QCOMPARE(refresh->err(), QByteArray());
        QCOMPARE(refresh->code(), 0);
        const auto status = jsonLines(finished("status --json")->out()).last();
        QVERIFY(!status.value(QLatin1String("deployments")).toArray().isEmpty());
        QCOMPARE(status.value(QLatin1String("saved")).toBool(), true);
    }
};

VELMORA_TEST(RunningInstanceTest)
#include "running_instance_test.moc"
