// SPDX-License-Identifier: MIT
// The session around the program ends, or there is none.
#include "household.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora::testing;

namespace
{

QStringList words(const char *text)
{
    return QString::fromUtf8(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// More processor time than an idle program uses, in milliseconds.
constexpr qint64 kIdle = 200;

} // namespace

class SessionEndTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_household.start()); }

    void theTrayEndsWithTheBusOnWhichItIsFound_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::newRow("started by hand") << QString();
        QTest::newRow("started at login") << QStringLiteral("--background");
        QTest::newRow("the demo") << QStringLiteral("--demo --background");
    }

    void theTrayEndsWithTheBusOnWhichItIsFound()
    {
        QFETCH(QString, arguments);
        PrivateBus bus;
        QVERIFY(bus.start());
        ProgramRun run(words(qPrintable(arguments)), on(bus));
        run.start();
        const bool isDemo = arguments.contains(QStringLiteral("--demo"));
        QVERIFY(hasName(
            bus, run, isDemo ? QStringLiteral("com.tarvik.Velmora.Demo") : QStringLiteral("com.tarvik.Velmora")));
        const auto children = childrenOf(run.process().processId());
        bus.end();
        QVERIFY(run.ends(kWithinASecond));
        QCOMPARE(run.code(), 0);
        QCOMPARE(run.err(), QByteArray());
        for (const qint64 child : children)
            QVERIFY(waitUntil([child] { return !isAlive(child); }, kWithinASecond));
    }

    void aNewBusHasANewProgram()
    {
        PrivateBus bus;
        QVERIFY(bus.start());
        ProgramRun first(words("--background"), on(bus));
        first.start();
        QVERIFY(hasName(bus, first));
        bus.end();
        QVERIFY(first.ends(kWithinASecond));
        QVERIFY(bus.start());
        ProgramRun second(words("--background"), on(bus));
        second.start();
        QVERIFY(hasName(bus, second));
        second.signal(SIGTERM);
        QVERIFY(second.ends(kWithinASecond));
        QCOMPARE(second.code(), 0);
    }

    void theTerminalWatchesOnWithoutTheBus()
    {
        PrivateBus bus;
        QVERIFY(bus.start());
        ProgramRun run(words("watch --json"), on(bus));
        run.start();
        QVERIFY(run.prints("\"disconnected\""));
        bus.end();
        const qint64 process = run.process().processId();
        const auto before = processorTime(process);
        QVERIFY(!run.ends(1'000));
        QVERIFY(processorTime(process) - before < kIdle);
        run.signal(SIGTERM);
        QVERIFY(run.ends(kWithinASecond));
        QCOMPARE(run.code(), 0);
    }

    void aTerminalThatFollowsTheTrayTakesOverWhenTheBusIsGone()
    {
        PrivateBus bus;
        QVERIFY(bus.start());
        ProgramRun tray({}, on(bus));
        tray.start();
        QVERIFY(hasName(bus, tray));
        ProgramRun run(words("watch --json"), on(bus));
        run.start();
        QVERIFY(run.prints("\"disconnected\""));
        bus.end();
        QVERIFY(tray.ends());
        // From now on the command watches by itself.
        keepAccount();
        QVERIFY(run.prints("mira: "));
        run.signal(SIGTERM);
        QVERIFY(run.ends(kWithinASecond));
        QVERIFY(m_household.keepAccounts("[]"));
    }

    void aBusThatDoesNotAnswerIsLikeNone()
    {
        PrivateBus bus;
        QVERIFY(bus.start());
        bus.freeze();
        ProgramRun status(words("status"), on(bus));
        status.start();
        QVERIFY(status.ends(20'000));
        QCOMPARE(status.code(), 0);
        QVERIFY(status.out().contains("Connect GitHub"));
        ProgramRun interrupted(words("accounts"), on(bus));
        interrupted.start();
        QVERIFY(waitUntil([&] { return heeds(interrupted.process().processId(), SIGTERM); }));
        interrupted.signal(SIGTERM);
        QVERIFY(interrupted.ends(kWithinASecond));
        bus.resume();
    }

    void commandsWorkWhereThereNeverWasABus_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("out");
        QTest::addColumn<QString>("err");
        const QString noKeyring = QStringLiteral("mira: ") + kNoKeyring;
        QTest::newRow("status") << "status" << 0 << QStringLiteral("Showing saved data") << QString();
        QTest::newRow("accounts") << "accounts" << 0 << QStringLiteral("Reconnect required") << QString();
        QTest::newRow("watch") << "watch --once" << 1 << QStringLiteral("Showing saved data") << noKeyring;
        QTest::newRow("installations") << "installations" << 1 << QString() << noKeyring;
        QTest::newRow("repositories") << "repositories" << 1 << QString() << noKeyring;
        QTest::newRow("connect") << "connect" << 1 << QString() << kNoKeyring;
        QTest::newRow("the demo") << "--demo accounts" << 0 << QStringLiteral("Connected") << QString();
        QTest::newRow("remove") << "accounts remove mira" << 1 << QString()
                                << QStringLiteral("mira was not removed. ") + kNoKeyring;
    }

    void commandsWorkWhereThereNeverWasABus()
    {
        QFETCH(QString, arguments);
        QFETCH(int, code);
        QFETCH(QString, out);
        QFETCH(QString, err);
        keepAccount();
        ProgramRun run(words(qPrintable(arguments)), withoutBus());
        run.start();
        QVERIFY(run.ends());
        QVERIFY2(QString::fromUtf8(run.out()).contains(out), run.out());
        // Without a place for tokens no code is shown.
        QVERIFY(!run.out().contains("Enter this code on GitHub"));
        if (err.isEmpty())
            QCOMPARE(run.err(), QByteArray());
        else
            QVERIFY2(QString::fromUtf8(run.err()).contains(err), run.err());
        QCOMPARE(run.code(), code);
    }

    void theTrayRunsWhereThereNeverWasABusAndEndsWhenItIsTold()
    {
        ProgramRun run({}, withoutBus());
        run.start();
        const qint64 process = run.process().processId();
        QVERIFY(waitUntil([&] { return heeds(process, SIGTERM); }));
        QVERIFY(!run.ends(1'000));
        const auto before = processorTime(process);
        QVERIFY(!run.ends(1'000));
        QVERIFY(processorTime(process) - before < kIdle);
        run.signal(SIGTERM);
        QVERIFY(run.ends(kWithinASecond));
        QCOMPARE(run.code(), 0);
    }

private:
    [[nodiscard]] QProcessEnvironment on(const PrivateBus &bus) const
    {
        auto environment = m_household.environment();
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus.address());
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), bus.folder());
        return environment;
    }

    [[nodiscard]] QProcessEnvironment withoutBus() const
    {
        auto environment = m_household.environment();
        environment.remove(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"));
        environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), QStringLiteral("/nonexistent"));
        return environment;
    }

    [[nodiscard]] static bool hasName(
        const PrivateBus &bus, ProgramRun &run, const QString &name = QStringLiteral("com.tarvik.Velmora"))
    {
        const QString observer = QStringLiteral("observer");
        bool isThere = false;
        {
            const auto connection = QDBusConnection::connectToBus(bus.address(), observer);
            isThere = waitUntil([&] { return ownerOnBus(connection, name) == run.process().processId(); });
        }
        QDBusConnection::disconnectFromBus(observer);
        return isThere;
    }

    /// Saves an account without a token, as from an earlier session.
    void keepAccount() { QVERIFY(m_household.keepAccounts(R"([{"id":7,"login":"mira"}])")); }

    static inline const QString kNoKeyring = QStringLiteral("There is no keyring to keep credentials in.");

    Household m_household;
};

VELMORA_TEST(SessionEndTest)
#include "session_end_test.moc"
