// SPDX-License-Identifier: MIT
#include "fake_notification_daemon.h"
#include "notifications/desktop_notifications.h"
#include "running_daemon.h"
#include "support/await.h"
#include "support/builders.h"
#include "support/fake_clock.h"
#include "support/fake_notification_server.h"
#include "support/hostile_texts.h"
#include "support/test_main.h"

#include <QDir>
#include <QPoint>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

DeploymentSnapshot failed(const QString &id = QStringLiteral("D1"))
{
    return makeSnapshot(id, DeploymentState::Failure, noon());
}

/// The daemon is not in the search path.
QString daemonProgram()
{
    const QStringList folders = QDir(QStringLiteral("/usr/lib")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &folder : folders) {
        const QString program = QStringLiteral("/usr/lib/%1/xfce4/notifyd/xfce4-notifyd").arg(folder);
        if (QFile::exists(program))
            return program;
    }
    qFatal("xfce4-notifyd is not installed");
}

QString inHome(const char *path)
{
    return QDir::homePath() + QLatin1Char('/') + QString::fromLatin1(path);
}

QByteArray outputOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    return process.readAllStandardOutput();
}

/// The identifiers of the visible notifications.
QList<QByteArray> windows()
{
    const QByteArray found = outputOf(QStringLiteral("xdotool"),
        {QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
            QStringLiteral("^xfce4-notifyd$")});
    return found.trimmed().isEmpty() ? QList<QByteArray>() : found.trimmed().split('\n');
}

/// A point on the last row of buttons of the notification.
QPoint buttonOf(const QByteArray &window)
{
    QMap<QByteArray, int> values;
    const QByteArray found = outputOf(QStringLiteral("xdotool"),
        {QStringLiteral("getwindowgeometry"), QStringLiteral("--shell"), QString::fromLatin1(window)});
    for (const QByteArray &line : found.split('\n')) {
        const qsizetype equals = line.indexOf('=');
        values.insert(line.left(equals), line.mid(equals + 1).toInt());
    }
    constexpr int kMargin = 30;
    return {values.value("X") + values.value("WIDTH") - kMargin, values.value("Y") + values.value("HEIGHT") - kMargin};
}

void click(QPoint place)
{
    std::ignore = outputOf(QStringLiteral("xdotool"),
        {QStringLiteral("mousemove"), QString::number(place.x()), QString::number(place.y()), QStringLiteral("sleep"),
            QStringLiteral("0.2"), QStringLiteral("click"), QStringLiteral("1")});
}

/// Decodes a value of the log, which is escaped like in a desktop file.
QString unescaped(const QByteArray &value)
{
    QByteArray text;
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value.at(i) != '\\') {
            text += value.at(i);
            continue;
        }
        switch (value.at(++i)) {
        case 's':
            text += ' ';
            break;
        case 'n':
            text += '\n';
            break;
        case 't':
            text += '\t';
            break;
        case 'r':
            text += '\r';
            break;
        default:
            text += value.at(i);
        }
    }
    return QString::fromUtf8(text);
}

using LogEntry = QMap<QByteArray, QString>;

/// The daemon's log entries of all received notifications, the earliest first.
QList<LogEntry> receivedNotifications()
{
    QFile file(inHome(".cache/xfce4/notifyd/log"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<LogEntry> entries;
    for (const QByteArray &line : file.readAll().split('\n')) {
        const qsizetype equals = line.indexOf('=');
        if (line.startsWith('['))
            entries.append(LogEntry());
        else if (equals > 0 && !entries.isEmpty())
            entries.last().insert(line.left(equals), unescaped(line.mid(equals + 1)));
    }
    return entries;
}

/// Waits for `count` entries, because the log is written later.
QList<LogEntry> receivedNotifications(qsizetype count)
{
    if (!becomesTrue([count] { return receivedNotifications().size() >= count; }))
        return {};
    return receivedNotifications();
}

} // namespace

class Xfce4NotifydTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const QString folder = inHome(".config/xfce4/xfconf/xfce-perchannel-xml");
        QVERIFY(QDir().mkpath(folder));
        QFile file(folder + QStringLiteral("/xfce4-notifyd.xml"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<channel name=\"xfce4-notifyd\" version=\"1.0\">\n"
                   "  <property name=\"notification-log\" type=\"bool\" value=\"true\"/>\n"
                   "  <property name=\"log-level\" type=\"uint\" value=\"1\"/>\n"
                   "  <property name=\"log-max-size\" type=\"uint\" value=\"1000\"/>\n"
                   "  <property name=\"expire-timeout-enabled\" type=\"bool\" value=\"false\"/>\n"
                   "</channel>\n");
    }

    void init()
    {
        m_daemon = std::make_unique<RunningDaemon>(daemonProgram(), QStringList());
        m_daemon->start();
        m_failures = 0;
        m_opener = std::make_unique<FakeURLOpener>();
        m_service = desktopNotificationService(connectToTestBus(QStringLiteral("client")), *m_opener, m_clock,
            QStringLiteral("Velmora"), DesktopSession());
    }
    void cleanup()
    {
        m_service.reset();
        m_daemon.reset();
        QFile::remove(inHome(".cache/xfce4/notifyd/log"));
        drainEvents();
    }

    void everyHostileTextIsReceivedAsItHasToBe()
    {
        const QList<HostileText> texts = hostileTexts();
        for (qsizetype i = 0; i < texts.size(); ++i) {
            // Each replaces the previous one, because drawing a screen full of windows is slow.
            auto deployment = failed();
            deployment.repositoryName = QStringLiteral("acme/web%1").arg(i);
            deployment.statusDescription = texts.at(i).given;
            awaitValue(m_service->notifyFailure(deployment));
        }
        const QList<LogEntry> received = receivedNotifications(texts.size());
        QCOMPARE(received.size(), texts.size());
        QStringList wrong;
        for (qsizetype i = 0; i < texts.size(); ++i) {
            const HostileText &text = texts.at(i);
            const LogEntry &entry = received.at(i);
            const QString first
                = QStringLiteral("production") + (text.shown.isEmpty() ? QString() : QStringLiteral(":\n"));
            const QString body = entry.value("body");
            QCOMPARE(entry.value("summary"), QStringLiteral("acme/web%1 failed").arg(i));
            if (body != first + text.markup || shownText(body) != first + text.shown)
                wrong.append(QString::fromStdString(text.name) + QStringLiteral(": ") + body);
        }
        QCOMPARE(wrong, QStringList());
    }

    void theDaemonReceivesTheActions()
    {
        awaitValue(m_service->notifyFailure(failed()));
        const LogEntry entry = receivedNotifications(1).value(0);
        QCOMPARE(entry.value("action-id-0"), QStringLiteral("default"));
        QCOMPARE(entry.value("action-id-1"), QStringLiteral("view-log"));
        QCOMPARE(entry.value("action-label-1"), QStringLiteral("Open log"));
        QCOMPARE(entry.value("app_name"), QStringLiteral("com.tarvik.Velmora"));
    }

    void theSameResultReplacesItsNotificationAndAnotherDoesNot()
    {
        awaitValue(m_service->notifyFailure(failed()));
        awaitValue(m_service->notifyFailure(failed()));
        QVERIFY(becomesTrue([] { return windows().size() == 1; }));
        awaitValue(m_service->notifySuccess(makeSnapshot(QStringLiteral("D1"), DeploymentState::Success, noon())));
        QVERIFY(becomesTrue([] { return windows().size() == 2; }));
        QCOMPARE(receivedNotifications(3).size(), 3);
    }

    void aClickOnTheButtonOpensThePageOnce()
    {
        awaitValue(m_service->notifyFailure(failed()));
        QVERIFY(becomesTrue([] { return windows().size() == 1; }));
        click(buttonOf(windows().constFirst()));
        QVERIFY(becomesTrue([this] { return !m_opener->opened.isEmpty(); }));
        QVERIFY(becomesTrue([] { return windows().isEmpty(); }));
        drainEvents();
        QCOMPARE(m_opener->opened, QStringList{QStringLiteral("https://github.com/acme/web/deployments")});
    }

    void aClickOnTheLastButtonMutesTheRepository()
    {
        QStringList muted;
        m_service->setMuting([&muted](const QString &repositoryNodeID) { muted.append(repositoryNodeID); });
        awaitValue(m_service->notifyFailure(failed()));
        const LogEntry entry = receivedNotifications(1).value(0);
        QCOMPARE(entry.value("action-id-2"), QStringLiteral("mute"));
        QCOMPARE(entry.value("action-label-2"), QStringLiteral("Mute web"));
        QVERIFY(becomesTrue([] { return windows().size() == 1; }));
        click(buttonOf(windows().constFirst()));
        QVERIFY(becomesTrue([&muted] { return !muted.isEmpty(); }));
        QVERIFY(becomesTrue([] { return windows().isEmpty(); }));
        drainEvents();
        QCOMPARE(muted, QStringList(QStringLiteral("R_web")));
        QCOMPARE(m_opener->opened, QStringList());
    }

    void aBurstIsThreeNotificationsAndOneThatGrows()
    {
        m_service->setWindowOpener([](const QString &) {});
        failMany(9);
        QVERIFY(becomesTrue([] { return windows().size() == 4; }));
        const LogEntry last = receivedNotifications(9).value(8);
        QCOMPARE(last.value("summary"), QStringLiteral("9 deployments failed"));
        QCOMPARE(last.value("body"), QStringLiteral("acme/web1, acme/web2, acme/web3 and 6 more"));
        QCOMPARE(last.value("action-label-1"), QStringLiteral("Open Velmora"));
    }

    void aClickOnTheButtonOfAGroupOpensTheWindowOnce()
    {
        int openings = 0;
        m_service->setWindowOpener([&openings](const QString &) { ++openings; });
        const DeploymentList deployments{failed(), failed(QStringLiteral("D2"))};
        awaitValue(m_service->notifyGroup(deployments, DeploymentNotificationKind::Failure));
        QVERIFY(becomesTrue([] { return windows().size() == 1; }));
        click(buttonOf(windows().constFirst()));
        QVERIFY(becomesTrue([&openings] { return openings > 0; }));
        QVERIFY(becomesTrue([] { return windows().isEmpty(); }));
        drainEvents();
        QCOMPARE(openings, 1);
        QCOMPARE(m_opener->opened, QStringList());
    }

    void afterARestartNoNotificationOfAnotherProgramIsOverwritten()
    {
        awaitValue(m_service->notifyFailure(failed()));
        QVERIFY(becomesTrue([] { return windows().size() == 1; }));
        m_daemon->end();
        QVERIFY(becomesTrue([] { return windows().isEmpty(); }));
        m_daemon->start();
        QCOMPARE(postAsAnotherProgram(QStringLiteral("mail")), 1U);
        awaitValue(m_service->notifyFailure(failed()));
        QVERIFY(becomesTrue([] { return windows().size() == 2; }));
    }

private:
    /// Announces the failures of this many more deployments, each of a repository of its own.
    void failMany(int count)
    {
        for (int i = 0; i < count; ++i) {
            ++m_failures;
            auto deployment = failed(QStringLiteral("D%1").arg(m_failures));
            deployment.repositoryName = QStringLiteral("acme/web%1").arg(m_failures);
            awaitValue(m_service->notifyFailure(deployment));
        }
    }

    std::unique_ptr<RunningDaemon> m_daemon;
    std::unique_ptr<FakeURLOpener> m_opener;
    FakeClock m_clock;
    int m_failures = 0;
    std::unique_ptr<UserNotificationService> m_service;
};

VELMORA_TEST(Xfce4NotifydTest)
#include "xfce4_notifyd_test.moc"
