// SPDX-License-Identifier: MIT
// The program is killed at any moment, and the next start finds everything whole.
#include "household.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>

using namespace velmora::testing;

namespace
{

#ifdef __SANITIZE_ADDRESS__
constexpr int kRounds = 6;
#else
constexpr int kRounds = 30;
#endif
/// Within this time a program that has been asked for something has saved it, in milliseconds.
constexpr quint32 kLatestKill = 150;

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

private:
    void killAtSomeMoment(ProgramRun &run)
    {
        QElapsedTimer life;
        life.start();
        const auto end = static_cast<int>(m_random.bounded(kLatestKill));
        // GitHub answers in this process meanwhile.
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
};

QTEST_GUILESS_MAIN(ProgramCrashTest)
#include "program_crash_test.moc"
