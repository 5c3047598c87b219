// SPDX-License-Identifier: MIT
// The program is killed while it saves and announces results; the programs after it tell the rest.
#include "household.h"

#include "notification-daemons/fake_notification_daemon.h"
#include "simulator/script.h"
#include "support/test_main.h"

#include <QDBusConnectionInterface>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QJsonArray>
#include <QRandomGenerator>
#include <QTest>

using namespace velmora::testing;
namespace simulator = velmora::simulator;

namespace
{

constexpr int kKills = 9;
constexpr int kResultsOfARound = 4;
/// In milliseconds after GitHub was asked for the results. Within this time the program saves and announces them.
constexpr quint32 kLatestKill = 150;
/// The same after the first notification.
constexpr quint32 kLatestKillOfAnnouncer = 60;

/// When the program is killed.
enum class Moment {
    Asking, ///< some time after it has asked GitHub for the results
    Saving, ///< as soon as the list with the results is saved
    Announcing, ///< some time after the first notification has arrived
};
constexpr int kMoments = 3;

const QString kDaemon = QStringLiteral("daemon");

/// The number in the environment variable, or this one.
quint32 numberFrom(const char *variable, quint32 otherwise)
{
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber ? static_cast<quint32>(number) : otherwise;
}

/// A deployment of the test, which fails.
struct Result {
    QString id;
    QString description; ///< unique, and in the notification, unless that is one of many results
    bool isNoted = false; ///< as announced
};

} // namespace

class AnnouncementCrashTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_daemon.appear();
        QVERIFY(m_household.start());
        QVERIFY(m_household.connectAccount());
        const auto watched = m_household.finished({QStringLiteral("watch"), QStringLiteral("--once")});
        QCOMPARE(watched->code(), 0);
        const auto &world = m_household.simulator.world();
        const int identity = world.identities().first();
        while (!world.isVisible(m_script.repository, identity))
            ++m_script.repository;
        m_script.environment = QStringLiteral("production");
        m_script.creator = world.owners().at(identity).login;
        m_script.commitOid = QStringLiteral("0123456789abcdef0123456789abcdef01234567");
    }

    void whatIsLeftOfEveryKillIsToldOnceByTheProgramsAfterIt()
    {
        const quint32 seed = numberFrom("VELMORA_KILL_SEED", QRandomGenerator::global()->bounded(1'000'000U));
        const auto kills = static_cast<int>(numberFrom("VELMORA_KILLS", kKills));
        qInfo("VELMORA_KILL_SEED=%u", seed);
        m_random.seed(seed);
        int inTheMiddle = 0;
        for (int kill = 0; kill < kills; ++kill) {
            const auto run = startedWithDeploymentsUnderWay();
            QVERIFY(run);
            killAt(static_cast<Moment>(kill % kMoments), *run);
            if (QTest::currentTestFailed())
                return;
            QVERIFY(m_household.cache());
            const auto preferences = m_household.preferences();
            QVERIFY(preferences && preferences->contains(QStringLiteral("github.accounts")));
            matchNotifications(*preferences);
            if (QTest::currentTestFailed())
                return;
            inTheMiddle += isAllDone() ? 0 : 1;
        }
        QVERIFY(inTheMiddle > 0);
        expectTheRest();
        qInfo("%d killed, %d of them before all was told; %d of %d results lost while they were handed over", kills,
            inTheMiddle, static_cast<int>(m_lost), static_cast<int>(m_results.size()));
    }

private:
    /// Begins deployments and starts the program. Returns when it has saved a list in which they are under way; null if
    /// it never does, as without the token of the account.
    [[nodiscard]] std::unique_ptr<ProgramRun> startedWithDeploymentsUnderWay()
    {
        auto &github = m_household.simulator;
        for (int i = 0; i < kResultsOfARound; ++i) {
            const QString id = simulator::beginDeployment(github.world(), m_script, github.now());
            m_results.append({id, QStringLiteral("result %1.").arg(m_results.size())});
            setState(m_results.last(), QStringLiteral("IN_PROGRESS"));
        }
        auto run = m_household.started({QStringLiteral("--background")});
        return waitUntil([this] { return isSaved(m_results.last(), QStringLiteral("inProgress")); }) ? std::move(run)
                                                                                                     : nullptr;
    }

    [[nodiscard]] bool isSaved(const Result &result, const QString &state) const
    {
        const auto cache = m_household.cache();
        const QJsonArray list = cache ? cache->value(QStringLiteral("deployments")).toArray() : QJsonArray();
        return std::ranges::any_of(list, [&](const QJsonValue &saved) {
            return saved[QStringLiteral("id")].toString() == result.id
                && saved[QStringLiteral("state")].toString() == state;
        });
    }

    /// Ends the deployments of the last round, and kills the program at the moment.
    void killAt(Moment moment, ProgramRun &run)
    {
        // Wakes the wait when a list is saved: what is written next takes a few milliseconds.
        const QFileSystemWatcher watcher({QFileInfo(m_household.cachePath()).path()});
        for (const Result &result : m_results.last(kResultsOfARound))
            setState(result, QStringLiteral("FAILURE"));
        auto &log = m_household.simulator.log();
        log.clear();
        const qsizetype told = m_daemon.notified.size();
        const auto bus = QDBusConnection::sessionBus();
        askRunning(bus, QStringLiteral("refresh"));
        const auto isAsked = [&] {
            return std::ranges::any_of(
                log.entries(), [](const auto &entry) { return entry.request.path == "/graphql"; });
        };
        switch (moment) {
        case Moment::Asking:
            QVERIFY(waitUntil(isAsked));
            work(m_random.bounded(kLatestKill));
            break;
        case Moment::Saving:
            QVERIFY(waitUntil([&] { return isSaved(m_results.last(), QStringLiteral("failure")); }));
            break;
        case Moment::Announcing:
            QVERIFY(waitUntil([&] { return m_daemon.notified.size() > told; }));
            work(m_random.bounded(kLatestKillOfAnnouncer));
            break;
        }
        run.signal(SIGKILL);
        QVERIFY(run.ends());
        takeDelivery();
    }

    /// Answers as the simulator and the daemon for so many milliseconds.
    static void work(quint32 milliseconds)
    {
        QElapsedTimer life;
        life.start();
        std::ignore = waitUntil([&] { return life.hasExpired(milliseconds); });
    }

    /// Waits until all notifications have arrived that an ended program has sent.
    void takeDelivery()
    {
        // The bus delivers them before it lets go of the program's name, and in the order of its answers.
        QVERIFY(waitUntil([] { return ownerOnBus(QDBusConnection::sessionBus()) == 0; }));
        std::ignore = ownerOnBus(QDBusConnection(kDaemon));
        drainEvents();
    }

    /// The program that has ended noted each result before it announced it: each of its notifications tells of one of
    /// the results that it has noted. One that has none was lost.
    void matchNotifications(const QJsonObject &preferences)
    {
        QList<Result *> untold;
        const QJsonArray noted = preferences.value(QStringLiteral("deployments.notifiedFailures")).toArray();
        for (Result &result : m_results) {
            if (!result.isNoted && noted.contains(result.id + QStringLiteral(":failure"))) {
                result.isNoted = true;
                untold.append(&result);
            }
        }
        qsizetype bursts = 0;
        for (const QVariantList &arguments : m_daemon.notified.sliced(m_matched)) {
            if (arguments.value(3).toString().endsWith(QStringLiteral(" deployments failed"))) {
                ++bursts; // which has grown by a result
                continue;
            }
            const QString body = arguments.value(4).toString();
            const auto told = std::ranges::find_if(
                untold, [&](const Result *result) { return body.contains(result->description); });
            QVERIFY2(told != untold.end(), qPrintable(body));
            untold.erase(told);
        }
        m_matched = m_daemon.notified.size();
        const qsizetype lost = untold.size() - bursts;
        QVERIFY(lost == 0 || lost == 1);
        m_lost += lost;
    }

    /// Another program tells what is left, then ends. After all of them, each result was told once, and nothing else.
    void expectTheRest()
    {
        const auto run = startedWithDeploymentsUnderWay();
        QVERIFY(run);
        m_results.resize(m_results.size() - kResultsOfARound); // these go on
        QVERIFY(waitUntil([this] { return isAllDone(); }));
        askRunning(QDBusConnection::sessionBus(), QStringLiteral("quit"));
        QVERIFY(run->ends());
        QCOMPARE(run->code(), 0);
        takeDelivery();
        const auto preferences = m_household.preferences();
        QVERIFY(preferences);
        matchNotifications(*preferences);
        if (QTest::currentTestFailed())
            return;
        QVERIFY(std::ranges::all_of(m_results, &Result::isNoted));
        QVERIFY(isAllDone());
        const auto accounts = m_household.finished({QStringLiteral("accounts"), QStringLiteral("--json")});
        QCOMPARE(accounts->err(), QByteArray());
        QVERIFY(accounts->out().contains("\"connected\""));
    }

    void setState(const Result &result, const QString &state)
    {
        auto &github = m_household.simulator;
        simulator::applyStep(github.world(), m_script, result.id, {0, state, result.description}, github.now());
    }

    [[nodiscard]] bool isAllDone() const { return m_daemon.notified.size() + m_lost == m_results.size(); }

    Household m_household;
    FakeNotificationDaemon m_daemon{kDaemon};
    simulator::Script m_script;
    QRandomGenerator m_random;
    QList<Result> m_results; ///< in the order in which they were begun
    qsizetype m_matched = 0; ///< the notifications that matchNotifications() has seen
    qsizetype m_lost = 0; ///< the results that were being handed over to the desktop when a program was killed
};

VELMORA_TEST(AnnouncementCrashTest)
#include "announcement_crash_test.moc"
