// SPDX-License-Identifier: MIT
#include "control/remote_control.h"

#include "control/control_service.h"
#include "fake_control.h"
#include "platform/application_service.h"
#include "platform/bus_client.h"
#include "support/builders.h"
#include "support/test_main.h"

#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;
using namespace std::chrono_literals;

namespace
{

const QString kName = QStringLiteral("com.example.Velmora");
const QString kPath = QStringLiteral("/com/example/Velmora");

/// A running Velmora with a bus connection of its own.
struct RunningVelmora {
    explicit RunningVelmora(const QString &connection)
        : bus(connection)
        , application(bus.bus(), kName)
        , service(new ControlService(bus.bus(), &application))
    {
        if (awaitValue(application.claim()) != ApplicationService::Claim::Ours)
            qFatal("the name is taken");
    }

    BusClient bus;
    ApplicationService application;
    ControlService *service; ///< owned by `application`
    FakeControl control;
};

/// Owns the name; answers the property unless told otherwise, and leaves calls to the test.
class Slow final : public QDBusVirtualObject
{
public:
    using QDBusVirtualObject::QDBusVirtualObject;

    int questions = 0; ///< the number of requests for the property
    QList<int> unanswered; ///< the requests that get no answer, counted from 1
    bool isHanging = false; ///< from now on no request is answered
    QList<QDBusMessage> calls; ///< method calls, to be answered by the test

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        if (message.member() != QLatin1String("Get")) {
            calls.append(message);
            return true;
        }
        ++questions;
        const QVariant version = QVariant::fromValue(QDBusVariant(QStringLiteral("1")));
        return isHanging || unanswered.contains(questions) || connection.send(message.createReply(version));
    }
};

/// Owns the name and gives the same answer to every call.
class Stranger final : public QDBusVirtualObject
{
public:
    using QDBusVirtualObject::QDBusVirtualObject;

    QString answer; ///< empty: an error

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        return connection.send(answer.isEmpty()
                ? message.createErrorReply(QDBusError::UnknownMethod, QStringLiteral("never heard of it"))
                : message.createReply(answer));
    }
};

} // namespace

/// Tests both ends over a private session bus.
class RemoteControlTest final : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<BusClient> m_bus;
    std::unique_ptr<RemoteControl> m_remote;
    std::unique_ptr<RunningVelmora> m_running;

    void run()
    {
        m_running = std::make_unique<RunningVelmora>(QStringLiteral("running"));
        m_running->service->setControl(&m_running->control);
    }

private Q_SLOTS:
    void init()
    {
        m_bus = std::make_unique<BusClient>(QStringLiteral("terminal"));
        m_remote = std::make_unique<RemoteControl>(m_bus->bus(), kName);
    }

    void cleanup()
    {
        m_remote.reset();
        m_running.reset();
        QVERIFY(waitUntil([this] { return !m_bus->hasOwner(kName); }));
        m_bus.reset();
    }

    void withoutARunningVelmoraThereIsNone()
    {
        QVERIFY(!awaitValue(m_remote->locate({})));
        QVERIFY(!m_remote->isRunning());
        QCOMPARE(await(m_remote->report({})).description(), QStringLiteral("Velmora has been quit."));
    }

    void withoutASessionBusThereIsNone()
    {
        RemoteControl alone(QDBusConnection(QStringLiteral("there is no such connection")), kName);
        QVERIFY(!awaitValue(alone.locate({})));
    }

    void itsComingAndGoingIsNoticed()
    {
        QVERIFY(!awaitValue(m_remote->locate({})));
        const QSignalSpy changed(m_remote.get(), &RemoteControl::isRunningChanged);
        run();
        QVERIFY(waitUntil([&] { return m_remote->isRunning(); }));
        QCOMPARE(changed.size(), 1);
        m_running.reset();
        QVERIFY(waitUntil([&] { return !m_remote->isRunning(); }));
        QCOMPARE(changed.size(), 2);
    }

    void everyQuestionArrivesAndEveryAnswerComesBack()
    {
        run();
        FakeControl &control = m_running->control;
        control.listed = {{1, QStringLiteral("alice"), GitHubSessionStatus::Connected, {}, {}}};
        control.removal.login = QStringLiteral("alice");
        control.loading = {true, false, {QStringLiteral("alice: no")}};
        control.installationsAnswer.refusal = QStringLiteral("unknown");
        control.repositoriesAnswer.loading = control.loading;
        control.notificationsAnswer = {QStringLiteral("no"), QStringLiteral("full"), {true, false, true, true}};
        control.failuresAnswer = {QStringLiteral("no"), QStringLiteral("full"), true,
            {makeSnapshot(QStringLiteral("D"), DeploymentState::Failure, noon())},
            {{QStringLiteral("D"), FailureMark{Mending{QStringLiteral("S"), noon()}, false}}}};
        control.shown.applicationName = QStringLiteral("Velmora");
        control.shown.deployments = {makeSnapshot(QStringLiteral("D"), DeploymentState::Failure, noon())};
        QVERIFY(awaitValue(m_remote->locate({})));
        QCOMPARE(awaitValue(m_remote->accounts({})), control.listed);
        QCOMPARE(awaitValue(m_remote->removeAccount(QStringLiteral("Alice"), {})), control.removal);
        const Switches keys{{}, {QStringLiteral("1:2")}, {QStringLiteral("3:4"), QStringLiteral("ö")}};
        QCOMPARE(awaitValue(m_remote->installations(keys, {})), control.installationsAnswer);
        QCOMPARE(control.installationSwitches, keys);
        for (const std::optional<bool> all : {std::optional<bool>(), std::optional(true), std::optional(false)}) {
            const Switches names{all, {QStringLiteral("a/b")}, {}};
            QCOMPARE(awaitValue(m_remote->repositories(names, {})), control.repositoriesAnswer);
            QCOMPARE(control.repositorySwitches, names);
        }
        control.mutingAnswer = {control.loading, QStringLiteral("no"), {}, QStringLiteral("a/b"), true, noon()};
        for (const MutingSwitch &muting : {MutingSwitch{QStringLiteral("a/b"), true, std::nullopt},
                 MutingSwitch{QStringLiteral("a/ö"), true, noon() + 1us},
                 MutingSwitch{QStringLiteral("a/b"), false, std::nullopt}}) {
            QCOMPARE(awaitValue(m_remote->mute(muting, {})), control.mutingAnswer);
            QCOMPARE(control.mutingSwitch, muting);
        }
        control.pauseAnswer = {QStringLiteral("full"), true, noon()};
        for (const PauseSwitch &pause :
            {PauseSwitch{true, std::nullopt}, PauseSwitch{true, noon() + 1us}, PauseSwitch{false, std::nullopt}}) {
            QCOMPARE(awaitValue(m_remote->pause(pause, {})), control.pauseAnswer);
            QCOMPARE(control.pauseSwitch, pause);
        }
        for (const std::optional<bool> onlyMine : {std::optional<bool>(), std::optional(true), std::optional(false)}) {
            const NotificationSwitches kinds{{QStringLiteral("approvals")}, {QStringLiteral("successes")}, onlyMine};
            QCOMPARE(awaitValue(m_remote->notifications(kinds, {})), control.notificationsAnswer);
            QCOMPARE(control.notificationSwitches, kinds);
        }
        for (const std::optional<bool> ignores : {std::optional<bool>(), std::optional(true), std::optional(false)}) {
            const Switches names{ignores, {QStringLiteral("a/b")}, {QStringLiteral("D"), QStringLiteral("ö")}};
            QCOMPARE(awaitValue(m_remote->failures({ignores, names}, {})), control.failuresAnswer);
            QCOMPARE(control.failureSwitches, (FailureSwitches{ignores, names}));
        }
        control.environmentsAnswer = {QStringLiteral("no"), QStringLiteral("full"),
            {true,
                {{QStringLiteral("preview-*"), std::nullopt, 3, EnvironmentChoice::Hide, true},
                    {QStringLiteral("ci"), QStringLiteral("a/b"), 1, EnvironmentChoice::Show, false}}}};
        for (const std::optional<bool> only : {std::optional<bool>(), std::optional(true), std::optional(false)}) {
            const EnvironmentSwitches named{{QStringLiteral("production")}, {QStringLiteral("a/b:ö")},
                {QStringLiteral("preview-*"), QStringLiteral("ci")}, only};
            QCOMPARE(awaitValue(m_remote->environments(named, {})), control.environmentsAnswer);
            QCOMPARE(control.environmentSwitches, named);
        }
        QCOMPARE(awaitValue(m_remote->refresh({})), control.loading);
        QCOMPARE(awaitValue(m_remote->report({})), control.shown);
        QVERIFY(control.asked.contains(QStringLiteral("remove Alice")));
    }

    void aWordThatMeansNothingSwitchesNothing()
    {
        run();
        const QDBusMessage answer = m_bus->call(kName, kPath, QStringLiteral("com.tarvik.Velmora.Control1"),
            QStringLiteral("Repositories"), {QStringLiteral("ALL"), QStringList(), QStringList()});
        QCOMPARE(answer.errorName(), QStringLiteral("com.tarvik.Velmora.Error.Failed"));
        QVERIFY(answer.errorMessage().contains(QStringLiteral("“ALL”")));
        const QDBusMessage whose = m_bus->call(kName, kPath, QStringLiteral("com.tarvik.Velmora.Control1"),
            QStringLiteral("Notifications"), {QStringList(), QStringList(), QStringLiteral("theirs")});
        QVERIFY(whose.errorMessage().contains(QStringLiteral("“theirs”")));
        const QDBusMessage mended = m_bus->call(kName, kPath, QStringLiteral("com.tarvik.Velmora.Control1"),
            QStringLiteral("Failures"), {QString(), QStringList(), QStringList(), QStringLiteral("forget")});
        QVERIFY(mended.errorMessage().contains(QStringLiteral("“forget”")));
        const QDBusMessage all = m_bus->call(kName, kPath, QStringLiteral("com.tarvik.Velmora.Control1"),
            QStringLiteral("Failures"), {QStringLiteral("every"), QStringList(), QStringList(), QString()});
        QVERIFY(all.errorMessage().contains(QStringLiteral("“every”")));
        const QDBusMessage announced = m_bus->call(kName, kPath, QStringLiteral("com.tarvik.Velmora.Control1"),
            QStringLiteral("Environments"), {QStringLiteral("staging"), QStringList(), QStringList(), QStringList()});
        QVERIFY(announced.errorMessage().contains(QStringLiteral("“staging”")));
        const QDBusMessage until = m_bus->call(kName, kPath, QStringLiteral("com.tarvik.Velmora.Control1"),
            QStringLiteral("Mute"), {QStringLiteral("a/b"), QStringLiteral("later")});
        QVERIFY(until.errorMessage().contains(QStringLiteral("“later”")));
        const QDBusMessage pause = m_bus->call(kName, kPath, QStringLiteral("com.tarvik.Velmora.Control1"),
            QStringLiteral("Pause"), {QStringLiteral("soon")});
        QVERIFY(pause.errorMessage().contains(QStringLiteral("“soon”")));
        QVERIFY(m_running->control.asked.isEmpty());
    }

    void aQuestionThatComesTooEarlyWaits()
    {
        m_running = std::make_unique<RunningVelmora>(QStringLiteral("running"));
        QVERIFY(awaitValue(m_remote->locate({})));
        const auto report = start(m_remote->report({}));
        // An answer over the same connection shows that the earlier call has arrived.
        QVERIFY(m_bus->property(kName, kPath, QStringLiteral("com.tarvik.Velmora.Control1"), QStringLiteral("Version"))
                    .isValid());
        QVERIFY(!report->isDone);
        m_running->service->setControl(&m_running->control);
        QVERIFY(waitUntil([&] { return report->isDone; }));
        QVERIFY(report->value);
    }

    void whatFailsThereIsToldHere()
    {
        run();
        m_running->control.failure = QStringLiteral("The disk is full.");
        QCOMPARE(await(m_remote->refresh({})).description(), QStringLiteral("The disk is full."));
    }

    void evenASurpriseIsAnswered()
    {
        run();
        m_running->control.surprise = std::make_exception_ptr(std::runtime_error("out of luck"));
        QCOMPARE(await(m_remote->refresh({})).description(), QStringLiteral("out of luck"));
    }

    void oneThatEndsWhileItIsAskedIsAnError()
    {
        run();
        m_running->control.gate.emplace();
        const auto refresh = start(m_remote->refresh({}));
        QVERIFY(waitUntil([&] { return !m_running->control.asked.isEmpty(); }));
        m_running.reset();
        QVERIFY(waitUntil([&] { return refresh->isDone; }));
        QCOMPARE(refresh->description(), QStringLiteral("Velmora has been quit."));
    }

    void aStopEndsTheWaiting()
    {
        run();
        m_running->control.gate.emplace();
        std::stop_source stop;
        const auto refresh = start(m_remote->refresh(stop.get_token()));
        QVERIFY(waitUntil([&] { return !m_running->control.asked.isEmpty(); }));
        stop.request_stop();
        QVERIFY(waitUntil([&] { return refresh->isDone; }));
        QVERIFY(refresh->failedWithType<CancellationError>());
        m_running->control.gate->resolve();
    }

    void oneThatAnswersNothingIsGivenUp()
    {
        BusClient other(QStringLiteral("other"));
        Slow slow;
        slow.isHanging = true;
        QVERIFY(other.bus().registerVirtualObject(kPath, &slow));
        QVERIFY(other.bus().registerService(kName));
        RemoteControl remote(m_bus->bus(), kName, 50ms);
        const QString expected = QStringLiteral("Velmora is running already, but does not answer.");
        QCOMPARE(await(remote.refresh({})).description(), expected);
        QCOMPARE(await(remote.installations({}, {})).description(), expected);
        QCOMPARE(await(remote.repositories({}, {})).description(), expected);
        QCOMPARE(await(remote.removeAccount(QStringLiteral("octo"), {})).description(), expected);
        QCOMPARE(await(remote.report({})).description(), expected);
        QCOMPARE(await(remote.accounts({})).description(), expected);
        other.bus().unregisterObject(kPath);
    }

    void oneThatShowsThatItWorksIsWaitedForUntilItHangs()
    {
        BusClient other(QStringLiteral("other"));
        Slow slow;
        slow.unanswered = {2, 4}; // not twice in a row
        QVERIFY(other.bus().registerVirtualObject(kPath, &slow));
        QVERIFY(other.bus().registerService(kName));
        RemoteControl remote(m_bus->bus(), kName, 1s);
        const auto refresh = start(remote.refresh({}));
        QVERIFY(waitUntil([&] { return slow.questions >= 6; }));
        QVERIFY(!refresh->isDone);
        slow.isHanging = true;
        QVERIFY(waitUntil([&] { return refresh->isDone; }));
        QCOMPARE(refresh->description(), QStringLiteral("Velmora is running already, but does not answer."));
        other.bus().unregisterObject(kPath);
    }

    void anAnswerThatTookLongArrivesAndThenNobodyAsksAnyMore()
    {
        run();
        m_running->control.gate.emplace();
        m_running->control.loading = {true, true, {}};
        RemoteControl remote(m_bus->bus(), kName, 20s);
        const auto refresh = start(remote.refresh({}));
        QVERIFY(waitUntil([&] { return !m_running->control.asked.isEmpty(); }));
        m_running->control.gate->resolve();
        QVERIFY(waitUntil([&] { return refresh->isDone; }));
        QVERIFY(refresh->value == m_running->control.loading);
    }

    void aCallerThatLeavesStopsWhatItHasAskedFor_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<QVariantList>("arguments");
        QTest::newRow("refresh") << QStringLiteral("Refresh") << QVariantList();
        QTest::newRow("installations") << QStringLiteral("Installations") << QVariantList{QStringList(), QStringList()};
        QTest::newRow("repositories") << QStringLiteral("Repositories")
                                      << QVariantList{QString(), QStringList(), QStringList()};
        QTest::newRow("removal") << QStringLiteral("RemoveAccount") << QVariantList{QStringLiteral("octo")};
    }

    void aCallerThatLeavesStopsWhatItHasAskedFor()
    {
        QFETCH(QString, method);
        QFETCH(QVariantList, arguments);
        run();
        FakeControl &control = m_running->control;
        control.gate.emplace();
        auto terminal = std::make_unique<BusClient>(QStringLiteral("leaving"));
        QDBusMessage message
            = QDBusMessage::createMethodCall(kName, kPath, QStringLiteral("com.tarvik.Velmora.Control1"), method);
        message.setArguments(arguments);
        QVERIFY(terminal->bus().send(message));
        QVERIFY(waitUntil([&] { return control.asked.size() == 1; }));
        drainEvents();
        QCOMPARE(control.cancelled, 0);
        terminal.reset();
        QVERIFY(waitUntil([&] { return control.cancelled == 1; }));
    }

    void aCallerThatHasLeftBeforeItsCallIsServedStopsItToo()
    {
        m_running = std::make_unique<RunningVelmora>(QStringLiteral("running"));
        {
            BusClient terminal(QStringLiteral("leaving"));
            QVERIFY(terminal.bus().send(QDBusMessage::createMethodCall(
                kName, kPath, QStringLiteral("com.tarvik.Velmora.Control1"), QStringLiteral("Refresh"))));
        }
        QVERIFY(m_bus->property(kName, kPath, QStringLiteral("com.tarvik.Velmora.Control1"), QStringLiteral("Version"))
                    .isValid());
        m_running->control.gate.emplace();
        m_running->service->setControl(&m_running->control);
        QVERIFY(waitUntil([&] { return m_running->control.asked.size() == m_running->control.cancelled; }));
    }

    void moreNamesThanAnybodyHasAreRefused()
    {
        run();
        const QStringList most(10'000, QStringLiteral("a/b"));
        Switches switches;
        switches.on = most;
        QCOMPARE(awaitValue(m_remote->repositories(switches, {})), m_running->control.repositoriesAnswer);
        QCOMPARE(m_running->control.repositorySwitches, switches);
        switches.off = QStringList{QStringLiteral("c/d")};
        const QString expected = QStringLiteral("At most 10000 names can be given at once.");
        QCOMPARE(await(m_remote->repositories(switches, {})).description(), expected);
        Switches keys{{}, most, {}};
        QCOMPARE(awaitValue(m_remote->installations(keys, {})), m_running->control.installationsAnswer);
        keys.off = QStringList{QStringLiteral("c")};
        QCOMPARE(await(m_remote->installations(keys, {})).description(), expected);
        QCOMPARE(m_running->control.asked.size(), 2);
    }

    void signalsOfTheRunningVelmoraArePassedOn()
    {
        run();
        QVERIFY(awaitValue(m_remote->locate({})));
        const QSignalSpy changed(m_remote.get(), &ReportSource::reportChanged);
        QList<DeploymentNotification> announced;
        connect(m_remote.get(), &ReportSource::announced, this, [&](const auto &one) { announced.append(one); });
        const auto notification = deploymentNotification(
            makeSnapshot(QStringLiteral("D"), DeploymentState::Failure, noon()), DeploymentNotificationKind::Failure);
        Q_EMIT m_running->control.announced(notification);
        Q_EMIT m_running->control.reportChanged();
        QVERIFY(waitUntil([&] { return changed.size() == 1; }));
        QCOMPARE(announced, QList{notification});
    }

    void signalsOfOthersAreNot()
    {
        run();
        QVERIFY(awaitValue(m_remote->locate({})));
        const QSignalSpy changed(m_remote.get(), &ReportSource::reportChanged);
        BusClient stranger(QStringLiteral("stranger"));
        const auto pretend = QDBusMessage::createSignal(
            kPath, QStringLiteral("com.tarvik.Velmora.Control1"), QStringLiteral("ReportChanged"));
        QVERIFY(stranger.bus().send(pretend));
        std::ignore = stranger.hasOwner(kName);
        Q_EMIT m_running->control.reportChanged();
        QVERIFY(waitUntil([&] { return changed.size() > 0; }));
        drainEvents();
        QCOMPARE(changed.size(), 1);
    }

    void anotherVersionIsNamedAsSuch()
    {
        BusClient other(QStringLiteral("other"));
        Stranger stranger;
        QVERIFY(other.bus().registerVirtualObject(kPath, &stranger));
        QVERIFY(other.bus().registerService(kName));
        for (const auto &answer : {QString(), QStringLiteral("{}"), QStringLiteral("no JSON")}) {
            stranger.answer = answer;
            const QString description = await(m_remote->report({})).description();
            QVERIFY2(description.contains(QStringLiteral("of another version")), qPrintable(description));
        }
        other.bus().unregisterObject(kPath);
    }
};

VELMORA_TEST(RemoteControlTest)
#include "remote_control_test.moc"
