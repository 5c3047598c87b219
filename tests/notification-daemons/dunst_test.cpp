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

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QString kCommands = QStringLiteral("org.dunstproject.cmd0");

DeploymentSnapshot failed(const QString &id = QStringLiteral("D1"))
{
    return makeSnapshot(id, DeploymentState::Failure, noon());
}

uint propertyOf(const QString &name)
{
    const QDBusMessage answer = callNotificationService(
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"), {kCommands, name});
    return answer.arguments().constFirst().value<QDBusVariant>().variant().toUInt();
}

uint displayedCount()
{
    return propertyOf(QStringLiteral("displayedLength"));
}

/// The entries of `dunstctl history`, the latest first.
QList<QVariantMap> history()
{
    const QDBusMessage answer = callNotificationService(kCommands, QStringLiteral("NotificationListHistory"));
    return qdbus_cast<QList<QVariantMap>>(answer.arguments().constFirst());
}

QList<QVariantMap> closeAllAndReadHistory()
{
    std::ignore = callNotificationService(kCommands, QStringLiteral("NotificationCloseAll"));
    return history();
}

QStringList summariesOf(const QList<QVariantMap> &notifications)
{
    QStringList summaries;
    for (const QVariantMap &notification : notifications)
        summaries.append(notification.value(QStringLiteral("summary")).toString());
    summaries.sort();
    return summaries;
}

} // namespace

class DunstTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qDBusRegisterMetaType<QList<QVariantMap>>(); }

    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        writeFile(QStringLiteral("rule"),
            "#!/bin/sh\nenv | grep ^DUNST_ >>\"" + pathOf("seen.new") + "\"\nmv \"" + pathOf("seen.new") + "\" \""
                + pathOf("seen") + "\"\n");
        writeFile(QStringLiteral("menu"), "#!/bin/sh\ngrep Mute\n");
        writeFile(QStringLiteral("dunstrc"),
            "[global]\ndmenu = " + pathOf("menu")
                + "\nmarkup = full\nhistory_length = 500\nnotification_limit = 0\nstack_duplicates = false\n"
                  "format = \"%s\\n%b\"\n[everything]\nscript = "
                + pathOf("rule") + "\n");
        m_daemon = std::make_unique<RunningDaemon>(QStringLiteral("dunst"),
            QStringList{QStringLiteral("-config"), m_folder->filePath(QStringLiteral("dunstrc"))});
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
        drainEvents();
    }

    void everyHostileTextIsShownAsItWasTyped()
    {
        const QList<HostileText> texts = hostileTexts();
        for (qsizetype i = 0; i < texts.size(); ++i) {
            auto deployment = failed(QStringLiteral("D%1").arg(i));
            deployment.repositoryName = QStringLiteral("acme/web%1").arg(i);
            deployment.statusDescription = texts.at(i).given;
            awaitValue(m_service->notifyFailure(deployment));
            m_clock.advance(std::chrono::minutes(1));
            // Closed each time, because drawing a full screen is slow.
            std::ignore = callNotificationService(kCommands, QStringLiteral("NotificationCloseAll"));
        }
        const QList<QVariantMap> received = history();
        QCOMPARE(received.size(), texts.size());
        QStringList wrong;
        for (qsizetype i = 0; i < texts.size(); ++i) {
            const HostileText &text = texts.at(i);
            const QVariantMap &notification = received.at(texts.size() - 1 - i);
            const QString summary = QStringLiteral("acme/web%1 failed").arg(i);
            const QString first
                = QStringLiteral("production") + (text.shown.isEmpty() ? QString() : QStringLiteral(":\n"));
            const QString body = notification.value(QStringLiteral("body")).toString();
            const QString message = notification.value(QStringLiteral("message")).toString();
            QCOMPARE(notification.value(QStringLiteral("summary")).toString(), summary);
            if (body != first + text.markup || shownText(body) != first + text.shown)
                wrong.append(QString::fromStdString(text.name) + QStringLiteral(": ") + body);
            // Dunst trims the end of what it draws.
            const auto drawn = shownText(message);
            const QString expected = summary + QLatin1Char('\n') + first + text.shown;
            if (!drawn || drawn->trimmed() != expected.trimmed())
                wrong.append(QString::fromStdString(text.name) + QStringLiteral(" is drawn as: ") + message);
        }
        QCOMPARE(wrong, QStringList());
    }

    void theDaemonSeesTheHints()
    {
        awaitValue(m_service->notifyFailure(failed()));
        const QList<QByteArray> seen = whatTheRuleSaw();
        QVERIFY(seen.contains("DUNST_APP_NAME=Velmora"));
        QVERIFY(seen.contains("DUNST_SUMMARY=acme/web failed"));
        QVERIFY(seen.contains("DUNST_URGENCY=NORMAL"));
        QVERIFY(seen.contains("DUNST_CATEGORY=transfer.error"));
        QVERIFY(seen.contains("DUNST_DESKTOP_ENTRY=com.tarvik.Velmora"));
    }

    void theSameResultReplacesItsNotificationAndAnotherDoesNot()
    {
        auto deployment = failed();
        awaitValue(m_service->notifyFailure(deployment));
        deployment.statusDescription = QStringLiteral("the second revision");
        awaitValue(m_service->notifyFailure(deployment));
        awaitValue(m_service->notifySuccess(makeSnapshot(QStringLiteral("D1"), DeploymentState::Success, noon())));
        QCOMPARE(displayedCount(), 2U);
        const QList<QVariantMap> received = closeAllAndReadHistory();
        const QStringList expected{QStringLiteral("acme/web deployed"), QStringLiteral("acme/web failed")};
        QCOMPARE(summariesOf(received), expected);
        QVERIFY(received.at(0).value(QStringLiteral("body")).toString().contains(QLatin1String("second revision"))
            != received.at(1).value(QStringLiteral("body")).toString().contains(QLatin1String("second revision")));
    }

    void theActionOpensThePage()
    {
        awaitValue(m_service->notifyFailure(failed()));
        std::ignore = callNotificationService(kCommands, QStringLiteral("NotificationAction"), {0U});
        QVERIFY(becomesTrue([this] { return !m_opener->opened.isEmpty(); }));
        drainEvents();
        QCOMPARE(m_opener->opened, QStringList{QStringLiteral("https://github.com/acme/web/deployments")});
    }

    void aBurstIsThreeNotificationsAndOneThatGrows()
    {
        failMany(9);
        QCOMPARE(displayedCount(), 4U);
        const QList<QVariantMap> received = closeAllAndReadHistory();
        const QStringList expected{QStringLiteral("9 deployments failed"), QStringLiteral("acme/web1 failed"),
            QStringLiteral("acme/web2 failed"), QStringLiteral("acme/web3 failed")};
        QCOMPARE(summariesOf(received), expected);
        QVERIFY(std::ranges::any_of(received, [](const QVariantMap &notification) {
            return notification.value(QStringLiteral("body"))
                == QStringLiteral("acme/web1, acme/web2, acme/web3 and 6 more");
        }));
    }

    void aDaemonThatRestartsInTheMiddleOfABurstShowsTheWholeGroupOnce()
    {
        failMany(6);
        m_daemon->end();
        m_daemon->start();
        // The daemon numbers from the start again; one of these gets the number that the group had.
        for (int i = 0; i < 4; ++i)
            postAsAnotherProgram(QStringLiteral("mail"));
        failMany(3);
        QCOMPARE(displayedCount(), 5U);
        const QString mail = QStringLiteral("mail");
        const QStringList expected{QStringLiteral("9 deployments failed"), mail, mail, mail, mail};
        QCOMPARE(summariesOf(closeAllAndReadHistory()), expected);
    }

    void theActionOfAGroupOpensTheWindow()
    {
        int openings = 0;
        m_service->setWindowOpener([&openings](const QString &) { ++openings; });
        const DeploymentList deployments{failed(), failed(QStringLiteral("D2"))};
        awaitValue(m_service->notifyGroup(deployments, DeploymentNotificationKind::Failure));
        QCOMPARE(displayedCount(), 1U);
        std::ignore = callNotificationService(kCommands, QStringLiteral("NotificationAction"), {0U});
        QVERIFY(becomesTrue([&openings] { return openings > 0; }));
        drainEvents();
        QCOMPARE(openings, 1);
        QCOMPARE(m_opener->opened, QStringList());
    }

    void theMenuOfTheNotificationMutesTheRepository()
    {
        QStringList muted;
        m_service->setMuting([&muted](const QString &repositoryNodeID) { muted.append(repositoryNodeID); });
        awaitValue(m_service->notifyFailure(failed()));
        // The menu program of this daemon chooses the line that mutes.
        std::ignore = callNotificationService(kCommands, QStringLiteral("ContextMenuCall"));
        QVERIFY(becomesTrue([&muted] { return !muted.isEmpty(); }));
        drainEvents();
        QCOMPARE(muted, QStringList(QStringLiteral("R_web")));
        QCOMPARE(m_opener->opened, QStringList());
    }

    void aNotificationThatWasDismissedIsNotReplaced()
    {
        awaitValue(m_service->notifyFailure(failed()));
        const QList<QVariantMap> before = closeAllAndReadHistory();
        QCOMPARE(before.size(), 1);
        drainEvents();
        awaitValue(m_service->notifyFailure(failed()));
        const QList<QVariantMap> received = closeAllAndReadHistory();
        QCOMPARE(received.size(), 2);
        const QString id = QStringLiteral("id");
        QVERIFY(received.at(0).value(id) != before.at(0).value(id));
    }

    void afterARestartNoNotificationOfAnotherProgramIsOverwritten()
    {
        const uint number = postAsAnotherProgram(QStringLiteral("news"));
        awaitValue(m_service->notifyFailure(failed()));
        m_daemon->end();
        m_daemon->start();
        // The daemon numbers from the start again, so our old number now belongs to the second mail.
        QCOMPARE(postAsAnotherProgram(QStringLiteral("mail")), number);
        QCOMPARE(postAsAnotherProgram(QStringLiteral("more mail")), number + 1);
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(displayedCount(), 3U);
        const QStringList expected{
            QStringLiteral("acme/web failed"), QStringLiteral("mail"), QStringLiteral("more mail")};
        QCOMPARE(summariesOf(closeAllAndReadHistory()), expected);
    }

    void whileItIsAwayThereIsAnErrorAndThenTheNextPostWorks()
    {
        m_daemon->end();
        const NotificationError expected(NotificationError::Kind::NoServer);
        QVERIFY(await(m_service->notifyFailure(failed())).failedWith(expected));
        QVERIFY(await(m_service->requestAuthorizationIfNeeded()).failedWith(expected));
        m_daemon->start();
        QVERIFY(awaitValue(m_service->requestAuthorizationIfNeeded()));
        awaitValue(m_service->notifyFailure(failed()));
        QCOMPARE(displayedCount(), 1U);
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

    [[nodiscard]] QByteArray pathOf(const char *name) const
    {
        return QFile::encodeName(m_folder->filePath(QString::fromLatin1(name)));
    }

    void writeFile(const QString &name, const QByteArray &content) const
    {
        QFile file(m_folder->filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("a file of the test cannot be written");
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }

    [[nodiscard]] QList<QByteArray> whatTheRuleSaw() const
    {
        QFile file(m_folder->filePath(QStringLiteral("seen")));
        if (!becomesTrue([&file] { return file.exists(); }) || !file.open(QIODevice::ReadOnly))
            return {};
        return file.readAll().split('\n');
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<RunningDaemon> m_daemon;
    std::unique_ptr<FakeURLOpener> m_opener;
    FakeClock m_clock;
    int m_failures = 0;
    std::unique_ptr<UserNotificationService> m_service;
};

VELMORA_TEST(DunstTest)
#include "dunst_test.moc"
