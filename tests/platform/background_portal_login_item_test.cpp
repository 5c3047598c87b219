// SPDX-License-Identifier: MIT
#include "platform/background_portal_login_item.h"

#include "support/await.h"
#include "support/fake_preferences.h"
#include "support/test_main.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QString kPortal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QStringList kCommand{QStringLiteral("velmora"), QStringLiteral("--background")};

} // namespace

/// A portal with a bus connection of its own, which answers when the test says so.
class FakePortal final : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Background")

public:
    struct Request {
        QString sender;
        QString parentWindow;
        QVariantMap options;
        QString path;
    };

    FakePortal()
        : m_connection(QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("portal")))
    {
        m_connection.registerObject(kPath, this, QDBusConnection::ExportScriptableSlots);
        m_connection.registerService(kPortal);
    }
    ~FakePortal() override
    {
        // Qt closes the connection on another thread, which reads the objects that are registered.
        m_connection.unregisterObject(kPath);
        QDBusConnection::disconnectFromBus(QStringLiteral("portal"));
    }

    void respond(qsizetype index, uint response, const QVariantMap &results)
    {
        const Request &request = requests.at(index);
        auto signal = QDBusMessage::createTargetedSignal(
            request.sender, request.path, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"));
        signal << response << results;
        m_connection.send(signal);
    }
    void respond(qsizetype index, bool isStarted)
    {
        respond(index, 0, {{QStringLiteral("background"), true}, {QStringLiteral("autostart"), isStarted}});
    }

    QList<Request> requests;
    bool isOld = false; ///< uses a request path of its own choice
    bool isRefusing = false;
    bool isAnsweringBeforeItReturns = false;

public Q_SLOTS:
    Q_SCRIPTABLE QDBusObjectPath RequestBackground(const QString &parentWindow, const QVariantMap &options)
    {
        if (isRefusing) {
            sendErrorReply(QDBusError::AccessDenied, QStringLiteral("not for you"));
            return QDBusObjectPath(QStringLiteral("/"));
        }
        const QString sender = message().service();
        const QString token = options.value(QStringLiteral("handle_token")).toString();
        const QString agreed = sender.mid(1).replace(QLatin1Char('.'), QLatin1Char('_')) + QLatin1Char('/') + token;
        const QString path = QStringLiteral("/org/freedesktop/portal/desktop/request/")
            + (isOld ? QStringLiteral("old/%1").arg(requests.size()) : agreed);
        requests.append(Request{sender, parentWindow, options, path});
        if (isAnsweringBeforeItReturns)
            respond(requests.size() - 1, options.value(QStringLiteral("autostart")).toBool());
        return QDBusObjectPath(path);
    }

private:
    QDBusConnection m_connection;
};

class BackgroundPortalLoginItemTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_item.reset();
        m_portal.reset();
        m_preferences = std::make_unique<FakePreferences>();
        m_portal = std::make_unique<FakePortal>();
        m_item = makeItem(QDBusConnection::sessionBus());
    }

    void beforeTheFirstAnswerItIsDisabled() { QCOMPARE(m_item->status(), LoginItemStatus::Disabled); }

    void registeringAsksThePortalAndKeepsItsAnswer()
    {
        const auto registering = start(m_item->registerItem());
        QVERIFY(waitForRequests(1));
        const auto request = m_portal->requests.at(0);
        QCOMPARE(request.parentWindow, QString());
        QCOMPARE(request.options.value(QStringLiteral("autostart")).toBool(), true);
        QCOMPARE(request.options.value(QStringLiteral("commandline")).toStringList(), kCommand);
        QVERIFY(!request.options.value(QStringLiteral("reason")).toString().isEmpty());
        QVERIFY(!registering->isDone);
        QCOMPARE(m_item->status(), LoginItemStatus::Disabled);
        m_portal->respond(0, true);
        QVERIFY(waitUntil([&] { return registering->isDone; }));
        QVERIFY(!registering->failure);
        QCOMPARE(m_item->status(), LoginItemStatus::Enabled);
        QCOMPARE(makeItem(QDBusConnection::sessionBus())->status(), LoginItemStatus::Enabled);
    }

    void unregisteringAsksThePortalToo()
    {
        setAnswer(true);
        const auto unregistering = start(m_item->unregisterItem());
        QVERIFY(waitForRequests(1));
        QCOMPARE(m_portal->requests.at(0).options.value(QStringLiteral("autostart")).toBool(), false);
        m_portal->respond(0, false);
        QVERIFY(waitUntil([&] { return unregistering->isDone; }));
        QVERIFY(!unregistering->failure);
        QCOMPARE(m_item->status(), LoginItemStatus::Disabled);
    }

    void anAnswerThatComesBeforeTheCallReturnsIsHeard()
    {
        m_portal->isAnsweringBeforeItReturns = true;
        awaitValue(m_item->registerItem());
        QCOMPARE(m_item->status(), LoginItemStatus::Enabled);
    }

    void anOldPortalMayAnswerElsewhere()
    {
        m_portal->isOld = true;
        const auto registering = start(m_item->registerItem());
        QVERIFY(waitForRequests(1));
        // The caller learns the path from the reply, so it must have read that before the response is sent.
        QVERIFY(!waitUntil([&] { return registering->isDone; }, 100));
        m_portal->respond(0, true);
        QVERIFY(waitUntil([&] { return registering->isDone; }));
        QCOMPARE(m_item->status(), LoginItemStatus::Enabled);
    }

    void anAnswerOtherThanWhatWasAskedForIsAFailure_data()
    {
        QTest::addColumn<bool>("isWanted");
        QTest::addColumn<QString>("message");
        QTest::newRow("not started") << true << QStringLiteral("The desktop does not let Velmora start at login.");
        QTest::newRow("still started") << false << QStringLiteral("The desktop goes on starting Velmora at login.");
    }
    void anAnswerOtherThanWhatWasAskedForIsAFailure()
    {
        QFETCH(bool, isWanted);
        const auto asking = start(isWanted ? m_item->registerItem() : m_item->unregisterItem());
        QVERIFY(waitForRequests(1));
        m_portal->respond(0, !isWanted);
        QVERIFY(waitUntil([&] { return asking->isDone; }));
        QTEST(asking->description(), "message");
        QCOMPARE(m_item->status(), isWanted ? LoginItemStatus::Disabled : LoginItemStatus::Enabled);
    }

    void aRefusalKeepsTheLastAnswer_data()
    {
        QTest::addColumn<uint>("response");
        QTest::newRow("declined") << 1U;
        QTest::newRow("ended otherwise") << 2U;
    }
    void aRefusalKeepsTheLastAnswer()
    {
        QFETCH(uint, response);
        setAnswer(true);
        const auto asking = start(m_item->unregisterItem());
        QVERIFY(waitForRequests(1));
        m_portal->respond(0, response, {});
        QVERIFY(waitUntil([&] { return asking->isDone; }));
        QVERIFY(!asking->description().isEmpty());
        QCOMPARE(m_item->status(), LoginItemStatus::Enabled);
    }

    void aPortalThatDoesNotTakeTheQuestionIsAFailure()
    {
        m_portal->isRefusing = true;
        QVERIFY(await(m_item->registerItem()).description().contains(QLatin1String("not for you")));
        QCOMPARE(m_item->status(), LoginItemStatus::Disabled);
    }

    void withoutAPortalItFailsAtOnce()
    {
        m_portal.reset();
        QVERIFY(await(m_item->registerItem()).description().contains(QLatin1String("did not take the question")));
    }

    void withoutABusItFailsAtOnce()
    {
        const auto item = makeItem(QDBusConnection(QStringLiteral("no such connection")));
        QVERIFY(await(item->registerItem()).description().contains(QLatin1String("no session bus")));
    }

    void aPortalThatEndsBeforeItAnswersIsAFailure()
    {
        const auto registering = start(m_item->registerItem());
        QVERIFY(waitForRequests(1));
        m_portal.reset();
        QVERIFY(waitUntil([&] { return registering->isDone; }));
        QCOMPARE(registering->description(), QStringLiteral("The desktop ended before it answered."));
    }

    void questionsAreAskedOneAfterTheOther()
    {
        const auto first = start(m_item->registerItem());
        const auto second = start(m_item->unregisterItem());
        QVERIFY(waitForRequests(1));
        QVERIFY(!waitUntil([&] { return m_portal->requests.size() > 1; }, 100));
        m_portal->respond(0, true);
        QVERIFY(waitForRequests(2));
        m_portal->respond(1, false);
        QVERIFY(waitUntil([&] { return first->isDone && second->isDone; }));
        QCOMPARE(m_item->status(), LoginItemStatus::Disabled);
    }

    void theEndOfTheItemEndsTheWaiting()
    {
        const auto first = start(m_item->registerItem());
        const auto second = start(m_item->unregisterItem());
        QVERIFY(waitForRequests(1));
        m_item.reset();
        QVERIFY(first->failedWithType<CancellationError>());
        QVERIFY(second->failedWithType<CancellationError>());
        m_portal->respond(0, true);
        drainEvents();
        QVERIFY(m_preferences->values.isEmpty());
    }

private:
    std::unique_ptr<BackgroundPortalLoginItem> makeItem(const QDBusConnection &connection)
    {
        return std::make_unique<BackgroundPortalLoginItem>(connection, m_preferences.get(), kCommand);
    }
    void setAnswer(bool isStarted)
    {
        m_preferences->values[QString::fromLatin1(BackgroundPortalLoginItem::kAnswerKey)] = isStarted;
    }
    bool waitForRequests(qsizetype count)
    {
        return waitUntil([&] { return m_portal->requests.size() == count; });
    }

    std::unique_ptr<FakePreferences> m_preferences;
    std::unique_ptr<FakePortal> m_portal;
    std::unique_ptr<BackgroundPortalLoginItem> m_item;
};

VELMORA_TEST(BackgroundPortalLoginItemTest)
#include "background_portal_login_item_test.moc"
