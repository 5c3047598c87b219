// SPDX-License-Identifier: MIT
// Of several programs that start at once, one stays.
#include "household.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora::testing;

namespace
{

// Starts take much longer under the sanitizers, for which a few are enough.
#ifdef __SANITIZE_ADDRESS__
constexpr int kRounds = 10;
#else
constexpr int kRounds = 100;
#endif

} // namespace

class SingleInstanceTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_bus.start());
        QVERIFY(m_household.start());
        m_environment = m_household.environment();
        m_environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_bus.address());
    }

    void ofTwoThatStartAtOnceOneStaysAndTheOtherBringsItForward()
    {
        const auto bus = QDBusConnection::connectToBus(m_bus.address(), QStringLiteral("observer"));
        QVERIFY(bus.isConnected());
        for (int round = 0; round < kRounds; ++round) {
            // Without --background the second program fails unless the first answers it.
            ProgramRun one({}, m_environment);
            ProgramRun two({}, m_environment);
            one.start();
            two.start();
            QVERIFY(waitUntil([&] { return !isRunning(one) || !isRunning(two); }));
            ProgramRun &winner = isRunning(one) ? one : two;
            ProgramRun &loser = isRunning(one) ? two : one;
            QCOMPARE(loser.err(), QByteArray());
            QCOMPARE(loser.code(), 0);
            QVERIFY(isRunning(winner));
            QCOMPARE(ownerOnBus(bus), winner.process().processId());
            winner.signal(SIGTERM);
            QVERIFY(winner.ends(kWithinASecond));
            QCOMPARE(winner.code(), 0);
        }
    }

private:
    static bool isRunning(ProgramRun &run) { return run.process().state() != QProcess::NotRunning; }

    PrivateBus m_bus;
    Household m_household;
    QProcessEnvironment m_environment;
};

VELMORA_TEST(SingleInstanceTest)
#include "single_instance_test.moc"
