// SPDX-License-Identifier: MIT
// The program is killed at random moments; the next start must find all files intact.
#include "household.h"

#include "support/test_main.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

using namespace velmora::testing;

namespace
{

#ifdef __SANITIZE_ADDRESS__
constexpr int kRounds = 6;
constexpr int kRenewals = 10;
#else
constexpr int kRounds = 30;
constexpr int kRenewals = 20;
#endif
/// In milliseconds. Within this time the program saves the effect of a request.
constexpr quint32 kLatestKill = 150;
/// The greatest delay of GitHub's answer with a new token, in milliseconds. The program is killed within twice that
/// time.
constexpr quint32 kLatestToken = 100;

/// The number of renewals to kill; the environment can set it.
int renewalCount()
{
    bool isNumber = false;
    const int wanted = qEnvironmentVariableIntValue("VELMORA_RENEWAL_KILLS", &isNumber);
    return isNumber ? wanted : kRenewals;
}

} // namespace

class ProgramCrashTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_household.start());
        QVERIFY(m_household.connectAccount());
        const auto watched = m_household.finished({QStringLiteral("watch"), QStringLiteral("--once")});
        QCOMPARE(watched->code(), 0);
    }

    void theTrayMayBeKilledWhileItSaves()
    {
        const auto bus = QDBusConnection::sessionBus();
        for (int round = 0; round < kRounds; ++round) {
            const auto run = m_household.started({QStringLiteral("--background")});
            QVERIFY(waitUntil([&] { return ownerOnBus(bus) == run->process().processId(); }));
            askRunning(bus, QStringLiteral("refresh"));
            killAtSomeMoment(*run);
            expectWhole();
        }
        expectUsable();
    }

    void aCommandMayBeKilledWhileItSaves()
    {
        for (int round = 0; round < kRounds; ++round) {
            const QString choice = round % 2 == 0 ? QStringLiteral("--none") : QStringLiteral("--all");
            const auto run = m_household.started({QStringLiteral("repositories"), choice});
            killAtSomeMoment(*run);
            expectWhole();
        }
        QCOMPARE(m_household.finished({QStringLiteral("repositories"), QStringLiteral("--all")})->code(), 0);
        expectUsable();
    }

    void aRenewalMayBeKilledAtAnyMoment()
    {
        // With this lifetime every use of a token renews it.
        m_household.simulator.oauth().settings().accessTokenSeconds = 200;
        QVERIFY(m_household.connectFirstAccount());
        const QByteArray login = m_household.firstLogin().toUtf8();
        const int count = renewalCount();
        int underWay = 0;
        int lost = 0;
        for (int round = 0; round < count; ++round) {
            killWhileItRenews(round);
            const QStringList sent = m_household.refreshTokens();
            underWay += sent.isEmpty() ? 0 : 1;
            expectWhole();
            const auto next = m_household.finished({QStringLiteral("watch"), QStringLiteral("--once")});
            expectNoTokenSentBefore(m_household.refreshTokens());
            if (next->code() == 0)
                continue;
            // Only the new token may be lost: the account must still be there and connectable. A request under way
            // counts as sent.
            ++lost;
            QCOMPARE(next->err(), login + ": GitHub did not return an access token. Connect " + login + " again.\n");
            const auto accounts = m_household.finished({QStringLiteral("accounts")});
            const bool isTold = accounts->out().contains(login) && accounts->out().contains("Reconnect required");
            QVERIFY2(isTold, accounts->out());
            QVERIFY(m_household.connectFirstAccount());
        }
        qInfo("%d killed, %d of them after GitHub was asked; %d had to be connected again", count, underWay, lost);
        QVERIFY(underWay > 0);
        expectUsable();
    }

private:
    /// Kills the tray program or a command, usually shortly after it has requested a new token, sometimes before.
    void killWhileItRenews(int round)
    {
        m_household.simulator.log().clear();
        auto &misbehaviour = m_household.simulator.misbehaviour();
        velmora::simulator::MisbehaviourRule late;
        late.path = Household::kTokens;
        late.delivery.delayMilliseconds = static_cast<int>(m_random.bounded(kLatestToken));
        misbehaviour.add(late);
        const auto bus = QDBusConnection::sessionBus();
        const bool isTray = round % 2 == 0;
        const auto run = m_household.started(isTray ? QStringList{QStringLiteral("--background")}
                                                    : QStringList{QStringLiteral("watch"), QStringLiteral("--once")});
        if (isTray) {
            QVERIFY(waitUntil([&] { return ownerOnBus(bus) == run->process().processId(); }));
            askRunning(bus, QStringLiteral("refresh"));
        }
        QElapsedTimer life;
        life.start();
        const auto early = static_cast<int>(m_random.bounded(static_cast<quint32>(m_untilRequest) + 1));
        const bool isEarly = round % 5 == 4;
        std::ignore
            = waitUntil([&] { return isEarly ? life.hasExpired(early) : !m_household.refreshTokens().isEmpty(); });
        if (!isEarly) {
            m_untilRequest = static_cast<int>(life.restart());
            const auto end = static_cast<int>(m_random.bounded(2 * kLatestToken));
            std::ignore = waitUntil([&] { return life.hasExpired(end); });
        }
        run->signal(SIGKILL);
        QVERIFY(run->ends());
        misbehaviour.clear();
    }

    /// A refresh token works once. After a kill nothing knows whether a sent token arrived, so it must not be sent
    /// again.
    void expectNoTokenSentBefore(const QStringList &sent)
    {
        for (const QString &token : sent) {
            QVERIFY2(!m_formerTokens.contains(token), qPrintable(token));
            m_formerTokens.insert(token);
        }
    }

    void killAtSomeMoment(ProgramRun &run)
    {
        QElapsedTimer life;
        life.start();
        const auto end = static_cast<int>(m_random.bounded(kLatestKill));
        // Meanwhile the simulator answers in this process.
        std::ignore = waitUntil([&] { return life.hasExpired(end); });
        run.signal(SIGKILL);
        QVERIFY(run.ends());
    }

    void expectWhole()
    {
        QVERIFY(m_household.preferences());
        QVERIFY(m_household.cache());
        QVERIFY(m_household.preferences()->contains(QStringLiteral("github.accounts")));
    }

    void expectUsable()
    {
        const auto accounts = m_household.finished({QStringLiteral("accounts"), QStringLiteral("--json")});
        QCOMPARE(accounts->err(), QByteArray());
        QVERIFY(accounts->out().contains("\"connected\""));
        const auto status = m_household.finished({QStringLiteral("status")});
        QCOMPARE(status->err(), QByteArray());
        QCOMPARE(status->code(), 0);
        const auto watched = m_household.finished({QStringLiteral("watch"), QStringLiteral("--once")});
        QCOMPARE(watched->err(), QByteArray());
        QCOMPARE(watched->code(), 0);
    }

    Household m_household;
    QRandomGenerator m_random{20'260'501};
    int m_untilRequest = 0; ///< milliseconds from the start of the program to its request, in the last renewal
    QSet<QString> m_formerTokens; ///< refresh tokens sent so far
};

VELMORA_TEST(ProgramCrashTest)
#include "program_crash_test.moc"
