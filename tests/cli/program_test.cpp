// SPDX-License-Identifier: MIT
// The real program against the simulator, with a private home and keyring.
#include "keyring/private_keyring.h"
#include "notification-daemons/fake_notification_daemon.h"
#include "program_world.h"
#include "support/test_main.h"

#include <sys/resource.h>

using namespace velmora::testing;

class ProgramTest : public QObject, private ProgramWorld
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_simulator.start()); }

    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_simulator.misbehaviour().clear();
        m_simulator.log().clear();
    }

    void aWholeDayWithoutATrap()
    {
        const auto connection = finished("connect");
        QCOMPARE(connection->err(), QByteArray());
        QCOMPARE(connection->code(), 0);
        QVERIFY(connection->out().contains("/login/device"));
        QVERIFY(connection->out().contains("Connected as "));
        QVERIFY(connection->out().contains("/apps/tarvik-velmora/installations/new"));
        QVERIFY(!connection->out().contains("copied"));

        const auto accounts = finished("accounts --json");
        QCOMPARE(accounts->code(), 0);
        const QJsonObject account = array(accounts->out()).first().toObject();
        QCOMPARE(account.value(QLatin1String("status")).toString(), QStringLiteral("connected"));

        const auto watched = finished("watch --once --json");
        QCOMPARE(watched->err(), QByteArray());
        QCOMPARE(watched->code(), 0);
        const QJsonObject ready = jsonLines(watched->out()).last();
        QCOMPARE(ready.value(QLatin1String("state")).toString(), QStringLiteral("ready"));
        QVERIFY(!ready.value(QLatin1String("deployments")).toArray().isEmpty());
        QVERIFY(ready.contains(QLatin1String("lastRefreshedAt")));

        const auto requests = m_simulator.log().entries().size();
        const auto status = finished("status --json");
        QCOMPARE(status->code(), 0);
        const QJsonObject saved = jsonLines(status->out()).last();
        QCOMPARE(saved.value(QLatin1String("saved")).toBool(), true);
        QCOMPARE(saved.value(QLatin1String("state")).toString(), QStringLiteral("stale"));
        QCOMPARE(withoutElapsed(saved), withoutElapsed(ready));
        QCOMPARE(m_simulator.log().entries().size(), requests);

        const QByteArray login = account.value(QLatin1String("login")).toString().toUtf8();
        QCOMPARE(finished(QByteArray("accounts remove " + login.toUpper()).constData())->code(), 0);
        QCOMPARE(finished("accounts --json")->out(), QByteArray("[]\n"));
    }

    void anAccountThatIsRemovedTakesItsSavedDeploymentsAlong()
    {
        connectFirst();
        QCOMPARE(finished("watch --once")->code(), 0);
        const auto ofFirst = savedDeployments();
        connectFirst();
        QCOMPARE(finished("watch --once")->code(), 0);
        QVERIFY(savedDeployments() != ofFirst);
        const auto accounts = array(finished("accounts --json")->out());
        QCOMPARE(accounts.size(), 2);
        const QByteArray login = m_connected.last();
        const auto removal = finished(QByteArray("accounts remove " + login).constData());
        QCOMPARE(removal->err(), QByteArray());
        QCOMPARE(removal->code(), 0);
        QCOMPARE(savedDeployments(), ofFirst);
    }

    void anAccountIsKeptWhileItsTokenCannotBeDeleted()
    {
        connectFirst();
        const QByteArray login = m_connected.last();
        PrivateKeyring keyring;
        keyring.lock();
        const auto refused = finished(QByteArray("accounts remove " + login).constData());
        const auto declined = finished("connect");
        keyring.unlock();
        QCOMPARE(refused->code(), 1);
        QCOMPARE(refused->out(), QByteArray());
        QCOMPARE(refused->err(),
            login + " was not removed. The keyring was not unlocked. Try again and unlock it when you are asked.\n");
        // This is reported before the user is sent to the browser.
        QCOMPARE(declined->code(), 1);
        QCOMPARE(declined->out(), QByteArray());
        QVERIFY(declined->err().startsWith("The keyring was not unlocked."));
        QCOMPARE(array(finished("accounts --json")->out()).size(), 1);
        QCOMPARE(finished("watch --once")->code(), 0);
        QCOMPARE(finished(QByteArray("accounts remove " + login).constData())->code(), 0);
    }

    void noCoreFileIsWritten()
    {
        connectFirst();
        ProgramRun watch(words("watch"), environment());
        watch.process().setChildProcessModifier([] {
            ProgramRun::heedSignals();
            rlimit limit{};
            ::getrlimit(RLIMIT_CORE, &limit);
            limit.rlim_cur = limit.rlim_max;
            ::setrlimit(RLIMIT_CORE, &limit);
        });
        watch.start();
        QVERIFY(waitUntil([&] { return !watch.out().isEmpty(); }));
        rlimit limit{1, 1};
        QCOMPARE(::prlimit(static_cast<pid_t>(watch.process().processId()), RLIMIT_CORE, nullptr, &limit), 0);
        QCOMPARE(limit.rlim_cur, rlim_t(0));
        watch.signal(SIGINT);
        QVERIFY(watch.ends());
    }

    void choicesOutliveTheRun()
    {
        connectFirst();
        const auto listed = array(finished("repositories --json")->out());
        QVERIFY(listed.size() > 2);
        const QString name = listed.at(1).toObject().value(QLatin1String("name")).toString();
        const QByteArray choose = QByteArray("repositories --none --json --include ") + name.toUpper().toUtf8();
        QCOMPARE(finished(choose.constData())->code(), 0);
        QStringList monitored;
        const auto again = array(finished("repositories --json")->out());
        for (const auto &entry : again) {
            if (entry.toObject().value(QLatin1String("monitored")).toBool())
                monitored.append(entry.toObject().value(QLatin1String("name")).toString());
        }
        QCOMPARE(monitored, QStringList{name});

        const auto installations = array(finished("installations --json")->out());
        const QString key = installations.first().toObject().value(QLatin1String("key")).toString();
        QCOMPARE(finished(QByteArray("installations --disable " + key.toUtf8()).constData())->code(), 0);
        const auto first = array(finished("installations --json")->out()).first().toObject();
        QCOMPARE(first.value(QLatin1String("enabled")).toBool(true), false);
    }

    void unknownNamesAreAnsweredWithWhatThereIs()
    {
        connectFirst();
        const auto repository = finished("repositories --include no/such");
        QCOMPARE(repository->code(), 1);
        QVERIFY(repository->err().contains("no/such") && repository->err().contains("There is:"));
        const auto installation = finished("installations --enable 1:1");
        QCOMPARE(installation->code(), 1);
        QVERIFY(installation->err().contains("There is:"));
        const auto account = finished("accounts remove nobody");
        QCOMPARE(account->code(), 1);
        QVERIFY(account->err().contains("nobody") && account->err().contains("Connected: "));
    }

    void withoutAnAccountTheCommandsSayWhatToDo_data()
    {
        QTest::addColumn<int>("code");
        for (const char *arguments : {"watch --once", "repositories", "installations --json"})
            QTest::newRow(arguments) << 1;
        QTest::newRow("accounts") << 0;
        QTest::newRow("status") << 0;
    }

    void withoutAnAccountTheCommandsSayWhatToDo()
    {
        QFETCH(int, code);
        const auto run = finished(QTest::currentDataTag());
        QCOMPARE(run->code(), code);
        const QByteArray said = code == 0 ? run->out() : run->err();
        QVERIFY2(said.contains("velmora connect"), said.constData());
        QVERIFY(code == 0 || run->out().isEmpty());
    }

    void anIdentityThatFailsMakesTheCodeOne()
    {
        connectFirst();
        addRule("{'path': '/graphql', 'action': {'status': 502, 'body': 'x'}}");
        const auto watched = finished("watch --once");
        QCOMPARE(watched->code(), 1);
        QVERIFY2(watched->err().contains(": "), watched->err().constData());
        m_simulator.misbehaviour().clear();
        addRule("{'path': '/user/installations', 'action': {'status': 500, 'body': 'x'}}");
        QCOMPARE(finished("watch --once")->code(), 1);
        const auto repositories = finished("repositories");
        QCOMPARE(repositories->code(), 1);
        QVERIFY(!repositories->err().isEmpty());
    }

    void aRateLimitMakesTheCodeOne()
    {
        connectFirst();
        addRule("{'path': '/graphql', 'action': {'status': 403, 'headers': [['retry-after', '60']], 'body': '{}'}}");
        const auto watched = finished("watch --once");
        QCOMPARE(watched->code(), 1);
        QVERIFY2(watched->err().contains("GitHub asks to wait until "), watched->err().constData());
    }

    void aRefusedConnectionEndsWithItsMessage()
    {
        addRule("{'path': '/login/oauth/access_token', 'action': {'status': 200, 'headers': [['Content-Type', "
                "'application/json']], 'body': {'error': 'access_denied'}}}");
        const auto run = finished("connect");
        QCOMPARE(run->code(), 1);
        QCOMPARE(run->err(), QByteArray("GitHub authorization was cancelled.\n"));
    }

    void withoutAClientIDConnectingSaysWhereToSetIt()
    {
        auto variables = environment();
        variables.remove(QStringLiteral("GITHUB_CLIENT_ID"));
        ProgramRun run({QStringLiteral("connect")}, variables);
        run.start();
        QVERIFY(run.ends());
        QCOMPARE(run.code(), 1);
        QVERIFY(run.err().startsWith("Velmora’s GitHub App client ID is missing.\n"));
        QVERIFY(run.err().contains("velmora.properties"));
        ProgramRun question({QStringLiteral("--is-configured")}, variables);
        question.start();
        QVERIFY(question.ends());
        QCOMPARE(question.code(), 1);
        QCOMPARE(finished("--is-configured")->code(), 0);
    }

    void aBadConfigurationIsNamed()
    {
        auto variables = environment();
        variables.insert(QStringLiteral("VELMORA_API_URL"), QStringLiteral("http://example.com"));
        ProgramRun run({QStringLiteral("accounts")}, variables);
        run.start();
        QVERIFY(run.ends());
        QCOMPARE(run.code(), 1);
        QVERIFY(run.err().startsWith("VELMORA_API_URL "));
    }

    void wrongUsageIsTwo()
    {
        const auto run = finished("watch --nonsense");
        QCOMPARE(run->code(), 2);
        QVERIFY(run->out().isEmpty() && !run->err().isEmpty());
        QCOMPARE(finished("--background watch")->code(), 2);
        QCOMPARE(finished("--help")->code(), 0);
    }

    void interruptedConnectingIsCancelledWithinASecond()
    {
        addRule("{'path': '/login/oauth/access_token', 'action': {'hang': true}}");
        const auto run = started("connect");
        QVERIFY(run->prints("Enter this code"));
        run->signal(SIGINT);
        QVERIFY(run->ends(kWithinASecond));
        QCOMPARE(run->code(), 1);
        QCOMPARE(run->err(), QByteArray("The connection was cancelled.\n"));
        QCOMPARE(finished("accounts --json")->out(), QByteArray("[]\n"));
    }

    void interruptedWatchingEndsWithinASecond_data()
    {
        QTest::addColumn<int>("number");
        QTest::newRow("interrupt") << SIGINT;
        QTest::newRow("terminate") << SIGTERM;
        QTest::newRow("hang up") << SIGHUP;
    }

    void interruptedWatchingEndsWithinASecond()
    {
        QFETCH(int, number);
        connectFirst();
        addRule("{'path': '/graphql', 'action': {'hang': true}}");
        const auto run = started("watch --json");
        QVERIFY(run->prints("\"loading\""));
        QVERIFY(areOpen("/graphql", 1));
        run->signal(number);
        QVERIFY(run->ends(kWithinASecond));
        QCOMPARE(run->code(), 0);
        QCOMPARE(run->err(), QByteArray());
    }

    void anInterruptedRefreshIsAFailure()
    {
        connectFirst();
        addRule("{'path': '/user/installations', 'action': {'hang': true}}");
        const auto watching = started("watch --once");
        const auto listing = started("repositories");
        QVERIFY(areOpen("/user/installations", 2));
        for (ProgramRun *run : {watching.get(), listing.get()}) {
            run->signal(SIGINT);
            QVERIFY(run->ends(kWithinASecond));
            QCOMPARE(run->code(), 1);
            QCOMPARE(run->err(), QByteArray("Cancelled.\n"));
        }
    }

    void aReaderThatGoesEndsTheWatchingQuietly()
    {
        connectFirst();
        QProcess shell;
        shell.setProcessEnvironment(environment());
        // bash has `read` built in; the PATH of the test holds no program.
        const QString pipeline = QStringLiteral("\"$0\" watch --json | { read -r line; }; exit ${PIPESTATUS[0]}");
        shell.start(QStringLiteral("bash"), {QStringLiteral("-c"), pipeline, QStringLiteral(VELMORA_PROGRAM)});
        QVERIFY(waitUntil([&] { return shell.state() == QProcess::NotRunning; }));
        QCOMPARE(shell.exitCode(), 0);
        QCOMPARE(shell.readAllStandardError(), QByteArray());
    }

    void whatCannotBeWrittenMakesTheCodeOne()
    {
        connectFirst();
        const QByteArray removal = "accounts remove " + m_connected.last();
        // The account goes last.
        for (const char *arguments :
            {"--help", "status", "status --follow --json", "watch", "watch --once --json", "accounts", "installations",
                "repositories --json", "refresh", "diagnose", removal.constData(), "connect"}) {
            ProgramRun run(words(arguments), environment());
            run.process().setStandardOutputFile(QStringLiteral("/dev/full"));
            run.start();
            QVERIFY(run.ends());
            QVERIFY2(run.err() == "The output cannot be written: No space left on device.\n", arguments + run.err());
            QCOMPARE(run.code(), 1);
        }
    }

    void noLineIsWrittenTwice()
    {
        connectFirst();
        const auto run = started("watch --json");
        QVERIFY(run->prints("\"ready\""));
        QTest::qWait(200);
        run->signal(SIGINT);
        QVERIFY(run->ends(kWithinASecond));
        const QList<QByteArray> lines = run->out().trimmed().split('\n');
        for (qsizetype i = 1; i < lines.size(); ++i)
            QVERIFY(lines.at(i) != lines.at(i - 1));
    }

    void aFailureIsPostedOnTheDesktopBesideItsLine_data()
    {
        QTest::addColumn<QByteArray>("arguments");
        QTest::addColumn<qsizetype>("posts");
        QTest::newRow("ordinary") << QByteArray("watch") << qsizetype(1);
        QTest::newRow("quiet") << QByteArray("watch --quiet") << qsizetype(0);
    }

    void aFailureIsPostedOnTheDesktopBesideItsLine()
    {
        QFETCH(QByteArray, arguments);
        QFETCH(qsizetype, posts);
        connectFirst();
        const auto listed = array(finished("repositories --json")->out());
        const QString name = listed.first().toObject().value(QLatin1String("name")).toString();
        const QString id = deploy(name, QString(), "IN_PROGRESS");
        QVERIFY(!id.isEmpty());
        FakeNotificationDaemon daemon(QStringLiteral("daemon"));
        daemon.appear();
        const auto run = started(arguments.constData());
        QVERIFY(run->prints("in progress"));
        deploy(name, id, "FAILURE");
        QVERIFY(run->prints("* " + name.toUtf8() + " failed"));
        QVERIFY(waitUntil([&] { return daemon.notified.size() >= posts; }));
        run->signal(SIGINT);
        QVERIFY(run->ends());
        QCOMPARE(daemon.notified.size(), posts);
        QCOMPARE(daemon.capabilityQuestions, posts);
        if (posts > 0)
            QCOMPARE(daemon.notified.first().at(3).toString(), name + QStringLiteral(" failed"));
    }

    void aDesktopThatTakesNoNotificationIsReportedOnce()
    {
        connectFirst();
        const auto listed = array(finished("repositories --json")->out());
        const QString name = listed.first().toObject().value(QLatin1String("name")).toString();
        const QString first = deploy(name, QString(), "IN_PROGRESS");
        const QString second = deploy(name, QString(), "IN_PROGRESS");
        FakeNotificationDaemon daemon(QStringLiteral("daemon"));
        daemon.errorOfNotify = QStringLiteral("org.freedesktop.DBus.Error.AccessDenied");
        daemon.appear();
        const auto run = started("watch");
        QVERIFY(run->prints("in progress"));
        deploy(name, first, "FAILURE");
        QVERIFY(waitUntil([&] { return run->err().contains("The notification service reported an error"); }));
        QVERIFY(run->prints("* " + name.toUtf8() + " failed"));
        const qsizetype posts = daemon.notified.size();
        deploy(name, second, "FAILURE");
        QVERIFY(waitUntil([&] { return daemon.notified.size() > posts; }));
        run->signal(SIGINT);
        QVERIFY(run->ends());
        QCOMPARE(run->err().count("The notification service reported an error"), 1);
    }

    void aPipeGetsALineForEachChange()
    {
        connectFirst();
        const auto run = started("watch");
        QVERIFY(run->prints("harbourlight/") || run->prints("/"));
        run->signal(SIGINT);
        QVERIFY(run->ends(kWithinASecond));
        QVERIFY(!run->out().contains('\x1b'));
        QVERIFY(run->out().startsWith("Velmora: "));
    }

    void aTerminalGetsAPictureThatIsRedrawn_data()
    {
        QTest::addColumn<QString>("variable");
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("isLive");
        QTest::addColumn<bool>("isColoured");
        QTest::newRow("ordinary") << QStringLiteral("TERM") << QStringLiteral("xterm") << true << true;
        QTest::newRow("NO_COLOR") << QStringLiteral("NO_COLOR") << QStringLiteral("1") << true << false;
        QTest::newRow("dumb") << QStringLiteral("TERM") << QStringLiteral("dumb") << false << false;
    }

    void aTerminalGetsAPictureThatIsRedrawn()
    {
        QFETCH(QString, variable);
        QFETCH(QString, value);
        QFETCH(bool, isLive);
        QFETCH(bool, isColoured);
        connectFirst();
        PseudoTerminal terminal;
        QVERIFY(terminal.isOpen());
        auto variables = environment();
        variables.insert(QStringLiteral("TERM"), QStringLiteral("xterm"));
        variables.remove(QStringLiteral("NO_COLOR"));
        variables.insert(variable, value);
        ProgramRun run({QStringLiteral("watch")}, variables);
        terminal.attach(run.process());
        run.process().start();
        QVERIFY(terminal.shows(isLive ? "Failed" : "succeeded"));
        QCOMPARE(terminal.output().contains("\x1b[?25l"), isLive);
        QCOMPARE(terminal.output().contains("\x1b[1m"), isColoured);
        QCOMPARE(terminal.echoes(), !isLive);
        if (isLive) {
            terminal.clear();
            terminal.resize(10, 40);
            QVERIFY(terminal.shows("more"));
            terminal.type("q");
        } else {
            terminal.type("\x03"); // Ctrl-C
        }
        QVERIFY(run.ends(kWithinASecond));
        QCOMPARE(run.code(), 0);
        QVERIFY(terminal.echoes());
        const QByteArray &output = terminal.output();
        QVERIFY(output.lastIndexOf("\x1b[?25h") >= output.lastIndexOf("\x1b[?25l"));
    }

    void theDemoTouchesNothingOfTheProfile()
    {
        const auto accounts = finished("--demo accounts --json");
        QCOMPARE(accounts->err(), QByteArray());
        QCOMPARE(accounts->code(), 0);
        QCOMPARE(array(accounts->out()).size(), 3);
        const auto connection = finished("--demo connect");
        QCOMPARE(connection->code(), 0);
        QVERIFY(connection->out().contains("Connected as "));
        const auto watched = finished("--demo watch --once");
        QCOMPARE(watched->code(), 0);
        QVERIFY(watched->out().startsWith("Velmora Demo  "));
        QCOMPARE(filesOfHome(), QStringList());
    }

    void theDemosGitHubDiesWithTheProgram()
    {
        const auto run = started("--demo watch --json");
        QVERIFY(run->prints("\"ready\""));
        const auto pid = QByteArray::number(run->process().processId());
        QFile children(QString::fromLatin1("/proc/" + pid + "/task/" + pid + "/children"));
        QVERIFY(children.open(QIODevice::ReadOnly));
        const QByteArray child = children.readAll().trimmed();
        QVERIFY(child.toLongLong() > 0);
        const QString folder = QStringLiteral("/proc/") + QString::fromLatin1(child);
        QVERIFY(QFile::exists(folder));
        run->signal(SIGKILL);
        QVERIFY(run->ends());
        const auto isGone = [&] {
            QFile state(folder + QStringLiteral("/stat"));
            return !state.open(QIODevice::ReadOnly) || state.readAll().contains(") Z ");
        };
        QVERIFY(waitUntil(isGone));
    }
};

VELMORA_TEST(ProgramTest)
#include "program_test.moc"
