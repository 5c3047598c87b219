// SPDX-License-Identifier: MIT
#include "platform/status_notifier_registration.h"

#include "bus_client.h"
#include "fake_status_notifier_watcher.h"
#include "support/test_main.h"

#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

constexpr auto kNever = std::chrono::hours(1);
constexpr auto kAtOnce = std::chrono::milliseconds(0);

const QString kHostRegistered = QStringLiteral("StatusNotifierHostRegistered");
const QString kHostUnregistered = QStringLiteral("StatusNotifierHostUnregistered");
const QString kUnknownObject = QStringLiteral("org.freedesktop.DBus.Error.UnknownObject");

} // namespace

class StatusNotifierRegistrationTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_watcher = std::make_unique<FakeStatusNotifierWatcher>();
        m_client = std::make_unique<BusClient>(QStringLiteral("item"));
    }
    void cleanup()
    {
        m_registration.reset();
        m_client.reset();
        m_watcher.reset();
        drainEvents();
    }

    void shouldGiveItsUniqueNameToAWatcherThatIsThere()
    {
        m_watcher->appear();
        startRegistration();
        QVERIFY(waitUntil([this] { return m_registration->isAvailable(); }));
        QCOMPARE(m_watcher->registered, QStringList{m_client->bus().baseService()});
        QCOMPARE(announced(), QList<bool>{true});
    }

    void shouldRegisterWithAWatcherThatComesLater()
    {
        startRegistration();
        roundTrip();
        QVERIFY(!m_registration->isAvailable());
        m_watcher->appear();
        QVERIFY(waitUntil([this] { return m_registration->isAvailable(); }));
        QCOMPARE(m_watcher->registered, QStringList{m_client->bus().baseService()});
    }

    void shouldRegisterAgainWithAWatcherThatComesBack()
    {
        m_watcher->appear();
        startRegistration();
        QVERIFY(waitUntil([this] { return m_registration->isAvailable(); }));
        m_watcher->disappear();
        QVERIFY(waitUntil([this] { return !m_registration->isAvailable(); }));
        m_watcher->appear();
        QVERIFY(waitUntil([this] { return m_registration->isAvailable(); }));
        QCOMPARE(m_watcher->registered.size(), 2);
        const QList<bool> expected{true, false, true};
        QCOMPARE(announced(), expected);
    }

    void shouldAskAgainWhereTheWatcherHasNoObjectYet()
    {
        m_watcher->errorOfRegister = kUnknownObject;
        m_watcher->refusals = 2;
        m_watcher->appear();
        startRegistration(kAtOnce);
        QVERIFY(waitUntil([this] { return m_registration->isAvailable(); }));
        QCOMPARE(m_watcher->attempts, 3);
        QCOMPARE(m_watcher->registered.size(), 1);
    }

    void shouldStopAskingAWatcherThatKeepsRefusing()
    {
        m_watcher->errorOfRegister = kUnknownObject;
        m_watcher->appear();
        startRegistration(kAtOnce);
        QVERIFY(waitUntil([this] { return m_watcher->attempts == 6; }));
        roundTrip();
        QCOMPARE(m_watcher->attempts, 6);
        // A signal of the watcher makes the registration try again.
        m_watcher->errorOfRegister.clear();
        m_watcher->announce(kHostRegistered);
        QVERIFY(waitUntil([this] { return m_registration->isAvailable(); }));
    }

    void shouldNotWaitForTheNextAttemptOnceAHostHasCome()
    {
        m_watcher->errorOfRegister = kUnknownObject;
        m_watcher->appear();
        startRegistration(kNever);
        QVERIFY(waitUntil([this] { return m_watcher->attempts == 1; }));
        roundTrip();
        m_watcher->errorOfRegister.clear();
        m_watcher->announce(kHostRegistered);
        QVERIFY(waitUntil([this] { return m_registration->isAvailable(); }));
        QCOMPARE(m_watcher->attempts, 2);
    }

    void shouldAskANewWatcherAtOnceThoughTheLastRefused()
    {
        m_watcher->errorOfRegister = kUnknownObject;
        m_watcher->appear();
        startRegistration(kNever);
        QVERIFY(waitUntil([this] { return m_watcher->attempts == 1; }));
        m_watcher->disappear();
        m_watcher->errorOfRegister.clear();
        m_watcher->appear();
        QVERIFY(waitUntil([this] { return m_registration->isAvailable(); }));
    }

    void shouldBeAvailableOnlyWhileTheWatcherHasAHost()
    {
        m_watcher->hasHost = false;
        m_watcher->appear();
        startRegistration();
        QVERIFY(waitUntil([this] { return m_watcher->hostQuestions == 1; }));
        roundTrip();
        QVERIFY(!m_registration->isAvailable());
        m_watcher->hasHost = true;
        m_watcher->announce(kHostRegistered);
        QVERIFY(waitUntil([this] { return m_registration->isAvailable(); }));
        m_watcher->hasHost = false;
        m_watcher->announce(kHostUnregistered);
        QVERIFY(waitUntil([this] { return !m_registration->isAvailable(); }));
        QCOMPARE(m_watcher->registered.size(), 1);
        const QList<bool> expected{true, false};
        QCOMPARE(announced(), expected);
    }

    void shouldStayAvailableWhileOneOfTwoHostsIsLeft()
    {
        m_watcher->appear();
        startRegistration();
        QVERIFY(waitUntil([this] { return m_registration->isAvailable(); }));
        m_watcher->announce(kHostUnregistered);
        QVERIFY(waitUntil([this] { return m_watcher->hostQuestions == 2; }));
        roundTrip();
        QCOMPARE(announced(), QList<bool>{true});
    }

    void shouldTakeAWatcherThatCannotTellForAHost_data()
    {
        QTest::addColumn<QString>("error");
        QTest::addColumn<QVariant>("answer");
        QTest::newRow("an error") << QStringLiteral("org.freedesktop.DBus.Error.UnknownProperty") << QVariant(false);
        QTest::newRow("a text") << QString() << QVariant(QStringLiteral("no"));
        QTest::newRow("a number") << QString() << QVariant(0);
    }
    void shouldTakeAWatcherThatCannotTellForAHost()
    {
        QFETCH(QString, error);
        QFETCH(QVariant, answer);
        m_watcher->errorOfHost = error;
        m_watcher->hasHost = answer;
        m_watcher->appear();
        startRegistration();
        QVERIFY(waitUntil([this] { return m_registration->isAvailable(); }));
    }

    void shouldNotWaitForAWatcherThatHangs()
    {
        m_watcher->isHanging = true;
        m_watcher->appear();
        startRegistration();
        QVERIFY(waitUntil([this] { return m_watcher->attempts == 1; }));
        QVERIFY(!m_registration->isAvailable());
        m_watcher->answerHanging();
        QVERIFY(waitUntil([this] { return m_registration->isAvailable(); }));
    }

    void shouldDropTheAnswerOfAWatcherThatIsGone()
    {
        m_watcher->isHanging = true;
        m_watcher->appear();
        startRegistration();
        QVERIFY(waitUntil([this] { return m_watcher->attempts == 1; }));
        // The bus answers the open call with an error, which must not cause a second call to the next watcher.
        m_watcher->disappear();
        m_watcher->appear();
        QVERIFY(waitUntil([this] { return m_watcher->attempts == 2; }));
        m_watcher->answerHanging();
        QVERIFY(waitUntil([this] { return m_registration->isAvailable(); }));
        roundTrip();
        QCOMPARE(m_watcher->attempts, 2);
    }

    void shouldSurviveItsEndWhileACallIsOpen()
    {
        m_watcher->isHanging = true;
        m_watcher->appear();
        startRegistration();
        QVERIFY(waitUntil([this] { return m_watcher->attempts == 1; }));
        m_registration.reset();
        m_watcher->answerHanging();
        roundTrip();
        QCOMPARE(m_watcher->registered.size(), 1);
    }

    void shouldStaySilentWithoutABus()
    {
        m_registration = std::make_unique<StatusNotifierRegistration>(QDBusConnection(QStringLiteral("none")));
        m_registration->start();
        drainEvents();
        QVERIFY(!m_registration->isAvailable());
    }

private:
    void startRegistration(std::chrono::milliseconds retryDelay = kNever)
    {
        m_registration = std::make_unique<StatusNotifierRegistration>(m_client->bus(), retryDelay);
        m_spy = std::make_unique<QSignalSpy>(m_registration.get(), &StatusNotifierRegistration::availabilityChanged);
        m_registration->start();
    }

    /// Waits until all messages from and to the item have arrived.
    void roundTrip()
    {
        std::ignore = m_client->hasOwner(QStringLiteral("org.kde.StatusNotifierWatcher"));
        drainEvents();
        std::ignore = m_client->hasOwner(QStringLiteral("org.kde.StatusNotifierWatcher"));
        drainEvents();
    }

    [[nodiscard]] QList<bool> announced() const
    {
        QList<bool> result;
        for (const auto &arguments : *m_spy)
            result.append(arguments.constFirst().toBool());
        return result;
    }

    std::unique_ptr<FakeStatusNotifierWatcher> m_watcher;
    std::unique_ptr<BusClient> m_client;
    std::unique_ptr<StatusNotifierRegistration> m_registration;
    std::unique_ptr<QSignalSpy> m_spy;
};

VELMORA_TEST(StatusNotifierRegistrationTest)
#include "status_notifier_registration_test.moc"
