// SPDX-License-Identifier: MIT
// The program is told to end, or is killed, before GitHub has answered with a new token.
#include "household.h"

#include "support/test_main.h"

#include <QElapsedTimer>
#include <QTest>

using namespace velmora::testing;

namespace
{

/// How long the program waits for a renewal at its end, in milliseconds.
constexpr int kGrace = 5'000;
/// A delay within the grace period, but longer than the rest of the program takes to end.
constexpr int kLate = 3'000;
/// A delay beyond the grace period.
constexpr int kTooLate = 20'000;

enum class End { Terminated, Interrupted, InterruptedTwice, Quit };

const QStringList kTray{QStringLiteral("--background")};
const QStringList kWatch{QStringLiteral("watch"), QStringLiteral("--json")};

} // namespace

Q_DECLARE_METATYPE(End)

class RenewalEndTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_household.start()); }

    void init()
    {
        m_household.simulator.misbehaviour().clear();
        // With this lifetime every use of a token renews it.
        m_household.simulator.oauth().settings().accessTokenSeconds = 200;
        QVERIFY(m_household.connectFirstAccount());
        m_household.simulator.log().clear();
    }

    void anAnswerThatIsLateIsWaitedForAtTheEnd_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<End>("end");
        QTest::addColumn<int>("delay");
        QTest::newRow("the tray by SIGTERM, 0.8 seconds late") << kTray << End::Terminated << 800;
        QTest::newRow("the tray by SIGTERM, 3 seconds late") << kTray << End::Terminated << kLate;
        QTest::newRow("the tray by a second signal") << kTray << End::InterruptedTwice << 1'500;
        QTest::newRow("the tray by quit") << kTray << End::Quit << 1'500;
        QTest::newRow("watching by Ctrl-C") << kWatch << End::Interrupted << 1'500;
        QTest::newRow("watching by a second Ctrl-C") << kWatch << End::InterruptedTwice << 1'500;
    }

    void anAnswerThatIsLateIsWaitedForAtTheEnd()
    {
        QFETCH(QStringList, arguments);
        QFETCH(End, end);
        QFETCH(int, delay);
        const auto run = renewing(arguments, delay);
        QVERIFY(run);
        QElapsedTimer sinceTold;
        sinceTold.start();
        tellToEnd(*run, end);
        if (delay == kLate) {
            // The name on the bus is released at once, so that another program can start.
            QVERIFY(waitUntil([] { return ownerOnBus(QDBusConnection::sessionBus()) == 0; }, kWithinASecond));
            QVERIFY(isAlive(run->process().processId()) || sinceTold.hasExpired(kLate / 2));
        }
        QVERIFY(run->ends(kGrace + kWithinASecond));
        QVERIFY(run->code() >= 0);
        QVERIFY(!m_household.refreshTokens().isEmpty());
        expectConnected();
        expectNoTokenTwice();
    }

    void whoIsStartedMeanwhileFindsTheNewToken()
    {
        const auto run = renewing(kTray, 2'000);
        QVERIFY(run);
        run->signal(SIGTERM);
        expectConnected();
        QVERIFY(run->ends(kWithinASecond));
        expectNoTokenTwice();
    }

    void anAnswerThatDoesNotComeIsGivenUp()
    {
        const auto run = renewing(kTray, kTooLate);
        QVERIFY(run);
        QElapsedTimer end;
        end.start();
        run->signal(SIGTERM);
        QVERIFY(run->ends(kGrace + kWithinASecond));
        // It waited long enough for an answer that is merely late.
        QVERIFY(end.elapsed() >= kLate);
        QCOMPARE(run->code(), 0);
        QCOMPARE(run->err(), QByteArray());
        expectReconnectRequired();
    }

    void aThirdSignalWaitsForNothing()
    {
        const auto run = renewing(kWatch, kTooLate);
        QVERIFY(run);
        tellToEnd(*run, End::InterruptedTwice);
        QVERIFY(waitUntil([&] { return !heeds(run->process().processId(), SIGINT); }));
        run->signal(SIGINT);
        QVERIFY(run->ends(kGrace - 1'000));
        QCOMPARE(run->process().exitStatus(), QProcess::CrashExit);
    }

    void aProgramThatIsKilledHasToBeConnectedAgainAndNothingWorse()
    {
        const auto run = renewing(kTray, kTooLate);
        QVERIFY(run);
        run->signal(SIGKILL);
        QVERIFY(run->ends());
        expectReconnectRequired();
    }

private:
    /// A program whose refresh token GitHub has received, with `delay` milliseconds to go until the answer.
    [[nodiscard]] std::unique_ptr<ProgramRun> renewing(const QStringList &arguments, int delay)
    {
        velmora::simulator::MisbehaviourRule rule;
        rule.path = Household::kTokens;
        rule.times = 1;
        rule.delivery.delayMilliseconds = delay;
        m_household.simulator.misbehaviour().add(rule);
        auto run = m_household.started(arguments);
        const auto bus = QDBusConnection::sessionBus();
        if (arguments == kTray) {
            if (!waitUntil([&] { return ownerOnBus(bus) == run->process().processId(); }))
                return nullptr;
            askRunning(bus, QStringLiteral("refresh"));
        }
        return m_household.isAsked(Household::kTokens) ? std::move(run) : nullptr;
    }

    static void tellToEnd(ProgramRun &run, End end)
    {
        if (end == End::Quit)
            return askRunning(QDBusConnection::sessionBus(), QStringLiteral("quit"));
        run.signal(end == End::Terminated ? SIGTERM : SIGINT);
        if (end != End::InterruptedTwice)
            return;
        // A second signal merges with one that is still pending.
        QVERIFY(waitUntil([&] { return !isPending(run.process().processId(), SIGINT); }));
        run.signal(SIGINT);
    }

    void expectConnected()
    {
        const auto watched = m_household.finished({QStringLiteral("watch"), QStringLiteral("--once")});
        QCOMPARE(watched->err(), QByteArray());
        QCOMPARE(watched->code(), 0);
    }

    /// The account is listed, asks to be connected again, and works after that.
    void expectReconnectRequired()
    {
        const auto watched = m_household.finished({QStringLiteral("watch"), QStringLiteral("--once")});
        QVERIFY2(watched->err().contains("GitHub did not return an access token."), watched->err());
        QCOMPARE(watched->code(), 1);
        const auto accounts = m_household.finished({QStringLiteral("accounts")});
        QVERIFY2(accounts->out().contains("Reconnect required"), accounts->out());
        QVERIFY(m_household.connectFirstAccount());
        expectConnected();
    }

    void expectNoTokenTwice()
    {
        const QStringList sent = m_household.refreshTokens();
        QCOMPARE(QSet<QString>(sent.begin(), sent.end()).size(), sent.size());
    }

    Household m_household;
};

VELMORA_TEST(RenewalEndTest)
#include "renewal_end_test.moc"
