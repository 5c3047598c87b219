// SPDX-License-Identifier: MIT
#include "platform/logind_sleep_watch.h"

#include "bus_client.h"
#include "support/test_main.h"

#include <QDBusMessage>
#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QString kLogind = QStringLiteral("org.freedesktop.login1");

/// Emits logind's signal; counts as logind only while it owns the name.
class Sender
{
public:
    explicit Sender(const char *name)
        : m_connection(QDBusConnection::connectToBus(QDBusConnection::SessionBus, QString::fromLatin1(name)))
        , m_name(QString::fromLatin1(name))
    {
    }
    ~Sender() { QDBusConnection::disconnectFromBus(m_name); }

    bool own() { return m_connection.registerService(kLogind); }
    void prepareForSleep(bool isAboutToSleep)
    {
        auto signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/login1"),
            QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"));
        signal << isAboutToSleep;
        m_connection.send(signal);
    }

private:
    QDBusConnection m_connection;
    QString m_name;
};

} // namespace

class LogindSleepWatchTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sleepAndWakingAreHeard()
    {
        Sender logind("logind");
        QVERIFY(logind.own());
        LogindSleepWatch watch(m_client.bus());
        QVERIFY(watch.isListening());
        const QSignalSpy heard(&watch, &LogindSleepWatch::prepareForSleep);
        logind.prepareForSleep(true);
        logind.prepareForSleep(false);
        QVERIFY(waitUntil([&] { return heard.count() == 2; }));
        QCOMPARE(heard.at(0).at(0).toBool(), true);
        QCOMPARE(heard.at(1).at(0).toBool(), false);
    }

    void logindMayComeLaterOrAnew()
    {
        LogindSleepWatch watch(m_client.bus());
        const QSignalSpy heard(&watch, &LogindSleepWatch::prepareForSleep);
        for (int i = 1; i <= 2; ++i) {
            Sender logind("logind");
            QVERIFY(logind.own());
            logind.prepareForSleep(false);
            QVERIFY(waitUntil([&] { return heard.count() == i; }));
        }
    }

    void onlyLogindIsBelieved()
    {
        Sender logind("logind");
        QVERIFY(logind.own());
        LogindSleepWatch watch(m_client.bus());
        const QSignalSpy heard(&watch, &LogindSleepWatch::prepareForSleep);
        Sender other("other");
        other.prepareForSleep(true);
        // Signals of one connection arrive in order, and the next one is sent later.
        QVERIFY(!waitUntil([&] { return heard.count() > 0; }, 100));
        logind.prepareForSleep(false);
        QVERIFY(waitUntil([&] { return heard.count() > 0; }));
        QCOMPARE(heard.count(), 1);
        QCOMPARE(heard.at(0).at(0).toBool(), false);
    }

    void withoutABusItKeepsQuiet()
    {
        const LogindSleepWatch watch(QDBusConnection(QStringLiteral("no such connection")));
        QVERIFY(!watch.isListening());
    }

private:
    /// Of the default connection Qt keeps the first messages back until the event loop runs, and may then deliver a
    /// later one before them.
    BusClient m_client{QStringLiteral("client")};
};

VELMORA_TEST(LogindSleepWatchTest)
#include "logind_sleep_watch_test.moc"
