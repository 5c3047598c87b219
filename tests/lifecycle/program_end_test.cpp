// SPDX-License-Identifier: MIT
// The tray program is told to end at various moments.
#include "household.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora::testing;

namespace
{

enum class Moment { FirstBreath, Named, Refreshing, Refreshed, SettingsOpen };

const QStringList kTray{QStringLiteral("--background")};

} // namespace

Q_DECLARE_METATYPE(Moment)

class ProgramEndTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_household.start());
        QVERIFY(m_household.connectAccount());
    }

    void init()
    {
        m_household.simulator.misbehaviour().clear();
        m_household.simulator.log().clear();
    }

    void aSignalEndsIt_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<Moment>("moment");
        for (const auto &[name, number] : {std::pair("SIGTERM", SIGTERM), std::pair("SIGINT", SIGINT)}) {
            QTest::addRow("%s as soon as it heeds it", name) << number << Moment::FirstBreath;
            QTest::addRow("%s when it has its name", name) << number << Moment::Named;
            QTest::addRow("%s while GitHub does not answer", name) << number << Moment::Refreshing;
            QTest::addRow("%s when it has refreshed", name) << number << Moment::Refreshed;
            QTest::addRow("%s with the settings open", name) << number << Moment::SettingsOpen;
        }
    }

    void aSignalEndsIt()
    {
        QFETCH(int, number);
        QFETCH(Moment, moment);
        const auto run = m_household.started(kTray);
        const qint64 process = run->process().processId();
        QVERIFY(waitUntil([&] { return heeds(process, number); }));
        if (moment != Moment::FirstBreath)
            QVERIFY(reaches(process, moment));
        run->signal(number);
        QVERIFY(run->ends(kWithinASecond));
        QCOMPARE(run->code(), 0);
        // The offscreen platform prints warnings for every window.
        if (moment != Moment::SettingsOpen)
            QCOMPARE(run->err(), QByteArray());
        QVERIFY(m_household.preferences());
        QVERIFY(m_household.cache() || !m_household.isCachePresent());
        // The account and its token are unchanged.
        const auto accounts = m_household.finished({QStringLiteral("accounts"), QStringLiteral("--json")});
        QVERIFY(accounts->out().contains("\"connected\""));
    }

    void whatItFetchedIsSavedWhenItEnds()
    {
        const auto run = m_household.started(kTray);
        QVERIFY(reaches(run->process().processId(), Moment::Refreshed));
        run->signal(SIGTERM);
        QVERIFY(run->ends(kWithinASecond));
        QVERIFY(!m_household.cache()->value(QLatin1String("deployments")).toArray().isEmpty());
        QVERIFY(m_household.preferences()->contains(QStringLiteral("deployments.notifiedFailures")));
    }

    void aBusThatAnswersNobodyDoesNotHoldIt()
    {
        PrivateBus bus;
        QVERIFY(bus.start());
        auto environment = m_household.environment();
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus.address());
        ProgramRun run(kTray, environment);
        {
            const auto connection = QDBusConnection::connectToBus(bus.address(), QStringLiteral("observer"));
            run.start();
            QVERIFY(waitUntil([&] { return ownerOnBus(connection) == run.process().processId(); }));
        }
        QDBusConnection::disconnectFromBus(QStringLiteral("observer"));
        // Let the program finish its start first: a frozen bus could block it while it connects.
        QVERIFY(comesToRest(run.process().processId()));
        bus.freeze();
        run.signal(SIGTERM);
        const bool hasEnded = run.ends(kWithinASecond);
        bus.resume();
        QVERIFY(hasEnded);
        QCOMPARE(run.code(), 0);
    }

    void theDemoEndsWithItsGitHub_data()
    {
        QTest::addColumn<bool>("isConnected");
        QTest::newRow("while it starts") << false;
        QTest::newRow("when it runs") << true;
    }

    void theDemoEndsWithItsGitHub()
    {
        QFETCH(bool, isConnected);
        const auto run = m_household.started({QStringLiteral("--demo"), QStringLiteral("--background")});
        const qint64 process = run->process().processId();
        QVERIFY(waitUntil([&] { return heeds(process, SIGTERM) && !childrenOf(process).isEmpty(); }));
        const auto children = childrenOf(process);
        if (isConnected)
            QVERIFY(comesToRest(process));
        run->signal(SIGTERM);
        QVERIFY(run->ends(kWithinASecond));
        QCOMPARE(run->err(), QByteArray());
        QCOMPARE(run->code(), 0);
        for (const qint64 child : children)
            QVERIFY(waitUntil([child] { return !isAlive(child); }, kWithinASecond));
    }

private:
    [[nodiscard]] bool reaches(qint64 process, Moment moment)
    {
        const auto bus = QDBusConnection::sessionBus();
        if (!waitUntil([&] { return ownerOnBus(bus) == process; }))
            return false;
        if (moment == Moment::SettingsOpen) {
            askRunning(bus, QStringLiteral("settings"));
            // The Accounts tab loads the installations.
            return waitUntil([this] { return hasAnswered("/user/installations"); });
        }
        if (moment == Moment::Named)
            return true;
        if (moment == Moment::Refreshing)
            m_household.silence("/graphql");
        askRunning(bus, QStringLiteral("refresh"));
        if (moment == Moment::Refreshing)
            return m_household.isAsked("/graphql");
        const auto before = m_household.cache();
        return waitUntil([&] {
            const auto cache = m_household.cache();
            const auto preferences = m_household.preferences();
            return hasAnswered("/graphql") && cache && cache != before && preferences
                && preferences->contains(QStringLiteral("deployments.notifiedFailures"));
        });
    }

    [[nodiscard]] bool hasAnswered(const QByteArray &path)
    {
        return std::ranges::any_of(m_household.simulator.log().entries(),
            [&](const auto &entry) { return !entry.isOpen && entry.request.path == path; });
    }

    Household m_household;
};

VELMORA_TEST(ProgramEndTest)
#include "program_end_test.moc"
