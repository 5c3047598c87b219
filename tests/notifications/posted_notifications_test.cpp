// SPDX-License-Identifier: MIT
#include "notifications/posted_notifications.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;

namespace
{

const QString kFirst = QStringLiteral("D1:failure");
const QString kSecond = QStringLiteral("D2:failure");
const QString kHandle = QStringLiteral("7");
const QString kOtherHandle = QStringLiteral("8");
const PostedNotifications::Targets kPage{WebAddress(QStringLiteral("https://example.com/1")), QStringLiteral("R_web")};
const PostedNotifications::Targets kOtherPage{
    WebAddress(QStringLiteral("https://example.com/2")), QStringLiteral("R_api")};
constexpr auto kOpen = NotificationAction::Open;

} // namespace

class PostedNotificationsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theHandleOfAnIdentifierIsRemembered()
    {
        PostedNotifications posted;
        QCOMPARE(posted.handleOf(kFirst), QString());
        QCOMPARE(posted.note(kFirst, kHandle, kPage), QString());
        QCOMPARE(posted.handleOf(kFirst), kHandle);
        QCOMPARE(posted.handleOf(kSecond), QString());
    }

    void aReplacementUnderTheSameHandleSupersedesNothing()
    {
        PostedNotifications posted;
        posted.note(kFirst, kHandle, kPage);
        QCOMPARE(posted.note(kFirst, kHandle, kOtherPage), QString());
        QCOMPARE(posted.count(), 1);
        QCOMPARE(posted.takeClick(kHandle, kOpen)->targets, kOtherPage);
    }

    void eachActionIsTakenOnceForARevision()
    {
        PostedNotifications posted;
        posted.note(kFirst, kHandle, kPage);
        QCOMPARE(posted.takeClick(kHandle, NotificationAction::Mute)->targets, kPage);
        QVERIFY(!posted.takeClick(kHandle, NotificationAction::Mute));
        QVERIFY(posted.takeClick(kHandle, kOpen));
        QVERIFY(!posted.takeClick(kHandle, kOpen));
        QVERIFY(!posted.takeClick(kHandle, NotificationAction::Mute));
        posted.note(kFirst, kHandle, kPage);
        QVERIFY(posted.takeClick(kHandle, NotificationAction::Mute));
    }

    void aSecondHandleForTheSameIdentifierSupersedesTheFirst()
    {
        PostedNotifications posted;
        posted.note(kFirst, kHandle, kPage);
        QCOMPARE(posted.note(kFirst, kOtherHandle, kPage), kHandle);
        QCOMPARE(posted.handleOf(kFirst), kOtherHandle);
        QVERIFY(!posted.takeClick(kHandle, kOpen));
    }

    void aHandleThatTheServerUsesAgainBelongsToTheLaterIdentifier()
    {
        PostedNotifications posted;
        posted.note(kFirst, kHandle, kPage);
        QCOMPARE(posted.note(kSecond, kHandle, kOtherPage), QString());
        QCOMPARE(posted.handleOf(kFirst), QString());
        QCOMPARE(posted.takeClick(kHandle, kOpen)->targets, kOtherPage);
    }

    void oneRevisionIsClickedOnce()
    {
        PostedNotifications posted;
        posted.note(kFirst, kHandle, kPage);
        const PostedNotifications::Click expected{.targets = kPage, .activationToken = {}};
        QCOMPARE(posted.takeClick(kHandle, kOpen), expected);
        QVERIFY(!posted.takeClick(kHandle, kOpen));
        posted.note(kFirst, kHandle, kPage);
        QCOMPARE(posted.takeClick(kHandle, kOpen), expected);
    }

    void anActivationTokenGoesWithTheNextClickOfItsNotification()
    {
        PostedNotifications posted;
        posted.note(kFirst, kHandle, kPage);
        posted.note(kSecond, kOtherHandle, kOtherPage);
        posted.recordActivationToken(kHandle, QStringLiteral("old"));
        posted.recordActivationToken(kHandle, QStringLiteral("token"));
        posted.recordActivationToken(QStringLiteral("99"), QStringLiteral("foreign"));
        QCOMPARE(posted.takeClick(kOtherHandle, kOpen)->activationToken, QString());
        QCOMPARE(posted.takeClick(kHandle, kOpen)->activationToken, QStringLiteral("token"));
    }

    void anActivationTokenIsNotKeptForTheNextRevision()
    {
        PostedNotifications posted;
        posted.note(kFirst, kHandle, kPage);
        posted.recordActivationToken(kHandle, QStringLiteral("token"));
        posted.note(kFirst, kHandle, kPage);
        QCOMPARE(posted.takeClick(kHandle, kOpen)->activationToken, QString());
    }

    void whatIsForgottenIsNeitherReplacedNorClicked()
    {
        PostedNotifications posted;
        posted.note(kFirst, kHandle, kPage);
        posted.note(kSecond, kOtherHandle, kPage);
        posted.forget(kHandle);
        QCOMPARE(posted.handleOf(kFirst), QString());
        QVERIFY(!posted.takeClick(kHandle, kOpen));
        QCOMPARE(posted.handleOf(kSecond), kOtherHandle);
        posted.clear();
        QCOMPARE(posted.count(), 0);
    }

    void overItsCapacityTheLeastRecentlyPostedIsForgotten()
    {
        PostedNotifications posted(2);
        posted.note(kFirst, kHandle, kPage);
        posted.note(kSecond, kOtherHandle, kPage);
        posted.note(kFirst, kHandle, kPage);
        posted.note(QStringLiteral("D3:failure"), QStringLiteral("9"), kPage);
        QCOMPARE(posted.count(), 2);
        QCOMPARE(posted.handleOf(kFirst), kHandle);
        QCOMPARE(posted.handleOf(kSecond), QString());
    }

    void fiveHundredAreRemembered()
    {
        PostedNotifications posted;
        for (int i = 0; i < 501; ++i)
            posted.note(QStringLiteral("D%1").arg(i), QString::number(i + 1), kPage);
        QCOMPARE(posted.count(), 500);
        QCOMPARE(posted.handleOf(QStringLiteral("D0")), QString());
        QCOMPARE(posted.handleOf(QStringLiteral("D1")), QStringLiteral("2"));
    }
};

VELMORA_TEST(PostedNotificationsTest)
#include "posted_notifications_test.moc"
