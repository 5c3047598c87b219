// SPDX-License-Identifier: MIT
// `velmora wait`, by itself and beside the tray program, both real, in a private session bus, home and keyring.
#include "support/test_main.h"
#include "tray_world.h"

using namespace velmora::testing;

class WaitingTest : public QObject, private TrayWorld
{
    Q_OBJECT

private:
    std::optional<PseudoTerminal> m_screen; ///< the standard error of the latest startedWait()

    [[nodiscard]] std::unique_ptr<ProgramRun> startedWait(const QByteArray &arguments)
    {
        QProcessEnvironment variables = environment();
        variables.insert(QStringLiteral("TERM"), QStringLiteral("xterm"));
        auto run = std::make_unique<ProgramRun>(words("wait " + arguments), variables);
        m_screen.emplace();
        m_screen->attach(run->process(), STDERR_FILENO);
        run->start();
        return run;
    }

    [[nodiscard]] std::unique_ptr<ProgramRun> finishedWait(const QByteArray &arguments) const
    {
        return finished(("wait " + arguments).constData());
    }

    /// Has a running tray program look at once; a command without one looks every few seconds.
    void refreshTray() const
    {
        if (m_tray)
            QCOMPARE(finished("refresh")->code(), 0);
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

    void theEndOfADeploymentIsTheCode_data()
    {
        QTest::addColumn<bool>("hasTray");
        QTest::addColumn<QByteArray>("end");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("state");
        QTest::addColumn<QByteArray>("explanation");
        const QByteArray failed = "The deployment failed: http";
        const QByteArray gone = "The deployment is not listed any more";
        const auto row = [](const char *name, bool hasTray, const char *end, int code, const QString &state,
                             const QByteArray &explanation) {
            QTest::newRow(name) << hasTray << QByteArray(end) << code << state << explanation;
        };
        row("succeeded", false, "SUCCESS", 0, QStringLiteral("success"), "");
        row("failed", false, "FAILURE", 1, QStringLiteral("failure"), failed);
        row("succeeded, by the tray", true, "SUCCESS", 0, QStringLiteral("success"), "");
        row("failed, by the tray", true, "FAILURE", 1, QStringLiteral("failure"), failed);
        row("replaced, by the tray", true, "INACTIVE", 1, QStringLiteral("inProgress"), gone);
    }

    void theEndOfADeploymentIsTheCode()
    {
        QFETCH(bool, hasTray);
        QFETCH(QByteArray, end);
        QFETCH(int, code);
        QFETCH(QString, state);
        QFETCH(QByteArray, explanation);
        connectFirst();
        if (hasTray)
            startTray();
        const QString name = firstRepository();
        const QString id = deploy(name, QString(), "IN_PROGRESS");
        refreshTray();
        const auto run = startedWait(name.toUtf8() + " --json");
        QVERIFY2(m_screen->shows(": in progress"), m_screen->output());
        deploy(name, id, end.constData());
        refreshTray();
        QVERIFY(run->ends());
        QCOMPARE(run->code(), code);
        const QList<QJsonObject> printed = jsonLines(run->out());
        QCOMPARE(printed.size(), 1);
        QCOMPARE(printed.first().value(QLatin1String("id")).toString(), id);
        QCOMPARE(printed.first().value(QLatin1String("state")).toString(), state);
        QVERIFY2(m_screen->shows(explanation), m_screen->output());
        QCOMPARE(m_screen->output().contains("The deployment "), code != 0);
    }

    void theNextDeploymentIsWaitedFor()
    {
        connectAndStartTray();
        const QString name = firstRepository();
        const auto run = startedWait(name.toUtf8() + " --environment Production");
        QVERIFY2(
            m_screen->shows("Waiting for a deployment of " + name.toUtf8() + " to Production"), m_screen->output());
        const QString id = deploy(name, QString(), "QUEUED");
        refreshTray();
        QVERIFY2(m_screen->shows(": queued"), m_screen->output());
        deploy(name, id, "SUCCESS");
        refreshTray();
        QVERIFY(run->ends());
        QCOMPARE(run->code(), 0);
        QVERIFY2(run->out().startsWith(name.toUtf8() + ", production, succeeded, "), run->out());
    }

    void aCommitMayHaveEndedAlready()
    {
        connectFirst();
        const QString name = firstRepository();
        const QString id = deploy(name, QString(), "SUCCESS");
        const auto succeeded = finishedWait(name.toUtf8() + " --commit 0123456789");
        QCOMPARE(succeeded->err(), QByteArray());
        QCOMPARE(succeeded->code(), 0);
        QVERIFY(succeeded->out().contains(", succeeded, 0123456, "));
        deploy(name, id, "ERROR");
        const auto failed = finishedWait(name.toUpper().toUtf8() + " --commit 0123456789");
        QCOMPARE(failed->code(), 1);
        QVERIFY2(failed->err().startsWith("The deployment ended in an error: http"), failed->err());
    }

    void theTimeIsOver_data()
    {
        QTest::addColumn<bool>("hasTray");
        QTest::newRow("by itself") << false;
        QTest::newRow("by the tray") << true;
    }

    void theTimeIsOver()
    {
        QFETCH(bool, hasTray);
        connectFirst();
        if (hasTray)
            startTray();
        const QByteArray name = firstRepository().toUtf8();
        const auto nothing = finishedWait(name + " --timeout 1s --json --environment no-such");
        QCOMPARE(nothing->code(), 3);
        QCOMPARE(nothing->err(), QByteArray("The time is over: there was no deployment.\n"));
        QCOMPARE(nothing->out(), QByteArray());
        deploy(QString::fromUtf8(name), QString(), "IN_PROGRESS");
        refreshTray();
        // On a busy machine the time may be over before anything is known.
        QByteArray told;
        for (int seconds = 2; seconds <= 64 && !told.contains("the deployment has not ended"); seconds *= 2) {
            const auto run = finishedWait(name + " --timeout " + QByteArray::number(seconds) + 's');
            QCOMPARE(run->code(), 3);
            told = run->out() + run->err();
        }
        QVERIFY2(told.startsWith(name + ", production, in progress, "), told);
        QVERIFY2(told.endsWith("\nThe time is over: the deployment has not ended.\n"), told);
    }

    void whatIsNotWatchedIsNotWaitedFor()
    {
        const auto alone = finishedWait("a/b");
        QCOMPARE(alone->code(), 1);
        QCOMPARE(alone->err(), QByteArray("No GitHub account is connected. Run “velmora connect” to connect one.\n"));
        connectFirst();
        const auto unknown = finishedWait("no/such");
        QCOMPARE(unknown->code(), 1);
        QCOMPARE(unknown->err(), QByteArray("There is no repository no/such. “velmora repositories” lists them.\n"));
        const QByteArray name = firstRepository().toUtf8();
        QCOMPARE(finished(("repositories --exclude " + name).constData())->code(), 0);
        const auto excluded = finishedWait(name);
        QCOMPARE(excluded->code(), 1);
        QCOMPARE(excluded->err(),
            name + " is not watched. Run “velmora repositories --include " + name + "” to watch it.\n");
        QCOMPARE(finished("repositories --all")->code(), 0);
        const auto installations = array(finished("installations --json")->out());
        for (const auto &installation : installations) {
            const QByteArray key = installation.toObject().value(QLatin1String("key")).toString().toUtf8();
            QCOMPARE(finished(("installations --disable " + key).constData())->code(), 0);
        }
        const auto off = finishedWait(name);
        QCOMPARE(off->code(), 1);
        QVERIFY2(off->err().startsWith(name + " is not watched. Run “velmora installations --enable "), off->err());
    }

    void withoutAnAnswerOfGitHubTheReasonIsSaid()
    {
        connectFirst();
        addRule("{'path': '/user/installations', 'action': {'status': 500, 'body': 'x'}}");
        const auto run = finishedWait("a/b");
        QCOMPARE(run->code(), 1);
        QVERIFY2(run->err().startsWith(m_connected.last() + ": "), run->err());
        QVERIFY2(run->err().endsWith("\na/b is not among the repositories that could be loaded.\n"), run->err());
    }

    void aFailureOfGitHubIsToldWhenTheTimeIsOver()
    {
        connectFirst();
        const QByteArray name = firstRepository().toUtf8();
        addRule("{'path': '/graphql', 'action': {'status': 502, 'body': 'x'}}");
        QByteArray told;
        for (int seconds = 2; seconds <= 64 && !told.startsWith(m_connected.last()); seconds *= 2) {
            const auto run = finishedWait(name + " --timeout " + QByteArray::number(seconds) + 's');
            QCOMPARE(run->code(), 3);
            told = run->err();
        }
        QVERIFY2(told.startsWith(m_connected.last() + ": "), told);
        QVERIFY2(told.endsWith("\nThe time is over: there was no deployment.\n"), told);
    }

    void whenNothingIsWatchedAnyMoreTheWaitingEnds()
    {
        connectAndStartTray();
        const auto run = startedWait(firstRepository().toUtf8());
        QVERIFY2(m_screen->shows("Waiting for a deployment of "), m_screen->output());
        QCOMPARE(finished("repositories --none")->code(), 0);
        refreshTray();
        QVERIFY(run->ends());
        QCOMPARE(run->code(), 1);
        QVERIFY2(m_screen->shows("No repository is watched."), m_screen->output());
    }

    void anInterruptionHasACodeOfItsOwn()
    {
        connectFirst();
        const auto run = startedWait(firstRepository().toUtf8());
        QVERIFY2(m_screen->shows("Waiting for a deployment of "), m_screen->output());
        run->signal(SIGINT);
        QVERIFY(run->ends(kWithinASecond));
        QCOMPARE(run->code(), 130);
        QVERIFY2(m_screen->shows("Cancelled."), m_screen->output());
        QCOMPARE(run->out(), QByteArray());
    }
};

VELMORA_TEST(WaitingTest)
#include "waiting_test.moc"
