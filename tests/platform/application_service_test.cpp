// SPDX-License-Identifier: MIT
#include "platform/application_service.h"

#include "bus_client.h"
#include "support/test_main.h"

#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QString kName = QStringLiteral("com.example.Velmora");
const QString kPath = QStringLiteral("/com/example/Velmora");
const QString kInterface = QStringLiteral("org.freedesktop.Application");

/// Stands for a process: it has a bus connection of its own.
struct Process {
    explicit Process(const QString &connection)
        : bus(connection)
        , service(bus.bus(), kName)
    {
    }

    BusClient bus;
    ApplicationService service;
};

} // namespace

/// Runs in a private session bus.
class ApplicationServiceTest final : public QObject
{
    Q_OBJECT

    using Claim = ApplicationService::Claim;

private Q_SLOTS:
    void theFirstHasTheNameAndTheSecondHasNot()
    {
        Process first(QStringLiteral("first"));
        Process second(QStringLiteral("second"));
        QCOMPARE(awaitValue(first.service.claim()), Claim::Ours);
        QCOMPARE(awaitValue(second.service.claim()), Claim::Taken);
        QCOMPARE(awaitValue(first.service.claim()), Claim::Ours);
    }

    void theNameIsFreeAgainWhenItsOwnerHasGone()
    {
        {
            Process first(QStringLiteral("first"));
            QCOMPARE(awaitValue(first.service.claim()), Claim::Ours);
        }
        Process second(QStringLiteral("second"));
        QVERIFY(waitUntil([&] { return !second.bus.hasOwner(kName); }));
        QCOMPARE(awaitValue(second.service.claim()), Claim::Ours);
    }

    void theSecondBringsTheFirstForwardWithItsToken()
    {
        Process first(QStringLiteral("first"));
        Process second(QStringLiteral("second"));
        QCOMPARE(awaitValue(first.service.claim()), Claim::Ours);
        const QSignalSpy activated(&first.service, &ApplicationService::activated);
        QVERIFY(awaitValue(second.service.activateRunning(QStringLiteral("token"))));
        QVERIFY(awaitValue(second.service.activateRunning(QString())));
        QCOMPARE(activated.size(), 2);
        QCOMPARE(activated.at(0).at(0).toString(), QStringLiteral("token"));
        QCOMPARE(activated.at(1).at(0).toString(), QString());
    }

    void withNobodyThereNobodyAnswers()
    {
        Process only(QStringLiteral("only"));
        QVERIFY(!awaitValue(only.service.activateRunning(QString())));
    }

    void withoutABusTheApplicationIsAlone()
    {
        const QDBusConnection none(QStringLiteral("there is no such connection"));
        ApplicationService service(none, kName);
        QCOMPARE(awaitValue(service.claim()), Claim::NoBus);
        QVERIFY(!awaitValue(service.activateRunning(QString())));
    }

    void desktopsMayActivateActAndOpen()
    {
        Process first(QStringLiteral("first"));
        QCOMPARE(awaitValue(first.service.claim()), Claim::Ours);
        const QSignalSpy activated(&first.service, &ApplicationService::activated);
        const QSignalSpy acted(&first.service, &ApplicationService::actionActivated);
        BusClient desktop(QStringLiteral("desktop"));
        const QVariantMap data{{QStringLiteral("desktop-startup-id"), QStringLiteral("startup")}};
        QCOMPARE(send(desktop, "Activate", {data}), QDBusMessage::ReplyMessage);
        QCOMPARE(send(desktop, "Open", {QStringList{QStringLiteral("file:///etc/passwd")}, QVariantMap()}),
            QDBusMessage::ReplyMessage);
        QCOMPARE(send(desktop, "ActivateAction", {QStringLiteral("refresh"), QVariantList(), data}),
            QDBusMessage::ReplyMessage);
        QCOMPARE(activated.size(), 2);
        QCOMPARE(activated.at(0).at(0).toString(), QStringLiteral("startup"));
        QCOMPARE(acted.size(), 1);
        QCOMPARE(acted.at(0).at(0).toString(), QStringLiteral("refresh"));
        QCOMPARE(acted.at(0).at(1).toString(), QStringLiteral("startup"));
    }

    void whatCannotBeATokenIsNone_data()
    {
        QTest::addColumn<QString>("given");
        QTest::addColumn<QString>("received");
        QTest::newRow("token") << QStringLiteral("a_TIME1") << QStringLiteral("a_TIME1");
        QTest::newRow("longer than a message to a compositor") << QString(5'000, QLatin1Char('A')) << QString();
        QTest::newRow("fills such a message") << QString(4'080, QLatin1Char('A')) << QString();
        QTest::newRow("two lines") << QStringLiteral("a\nb") << QString();
        QTest::newRow("other letters") << QStringLiteral("ä") << QString();
    }

    void whatCannotBeATokenIsNone()
    {
        QFETCH(QString, given);
        QFETCH(QString, received);
        Process first(QStringLiteral("first"));
        QCOMPARE(awaitValue(first.service.claim()), Claim::Ours);
        const QSignalSpy activated(&first.service, &ApplicationService::activated);
        const QSignalSpy acted(&first.service, &ApplicationService::actionActivated);
        BusClient stranger(QStringLiteral("stranger"));
        for (const auto &key : {QStringLiteral("activation-token"), QStringLiteral("desktop-startup-id")}) {
            const QVariantMap data{{key, given}};
            QCOMPARE(send(stranger, "Activate", {data}), QDBusMessage::ReplyMessage);
            QCOMPARE(send(stranger, "ActivateAction", {QStringLiteral("settings"), QVariantList(), data}),
                QDBusMessage::ReplyMessage);
        }
        QCOMPARE(activated.size(), 2);
        QCOMPARE(acted.size(), 2);
        for (const int i : {0, 1}) {
            QCOMPARE(activated.at(i).at(0).toString(), received);
            QCOMPARE(acted.at(i).at(1).toString(), received);
        }
    }

    void nonsenseIsAnsweredWithAnError()
    {
        Process first(QStringLiteral("first"));
        QCOMPARE(awaitValue(first.service.claim()), Claim::Ours);
        const QSignalSpy activated(&first.service, &ApplicationService::activated);
        BusClient stranger(QStringLiteral("stranger"));
        QCOMPARE(send(stranger, "Activate", {7}), QDBusMessage::ErrorMessage);
        QCOMPARE(send(stranger, "Activate", {}), QDBusMessage::ErrorMessage);
        QCOMPARE(send(stranger, "Explode", {}), QDBusMessage::ErrorMessage);
        QCOMPARE(activated.size(), 0);
    }

private:
    static QDBusMessage::MessageType send(BusClient &client, const char *member, const QVariantList &arguments)
    {
        return client.call(kName, kPath, kInterface, QString::fromLatin1(member), arguments).type();
    }
};

VELMORA_TEST(ApplicationServiceTest)
#include "application_service_test.moc"
