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
const WebAddress kPage(QStringLiteral("https://example.com/1"));
const WebAddress kOtherPage(QStringLiteral("https://example.com/2"));

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
        QCOMPARE(posted.takeClick(kHandle)->url, kOtherPage);
    }

    void aSecondHandleForTheSameIdentifierSupersedesTheFirst()
    {
        PostedNotifications posted;
        posted.note(kFirst, kHandle, kPage);
        QCOMPARE(posted.note(kFirst, kOtherHandle, kPage), kHandle);
        QCOMPARE(posted.handleOf(kFirst), kOtherHandle);
        QVERIFY(!posted.takeClick(kHandle));
    }

    void aHandleThatTheServerUsesAgainBelongsToTheLaterIdentifier()
    {
        PostedNotifications posted;
        posted.note(kFirst, kHandle, kPage);
        QCOMPARE(posted.note(kSecond, kHandle, kOtherPage), QString());
        QCOMPARE(posted.handleOf(kFirst), QString());
        QCOMPARE(posted.takeClick(kHandle)->url, kOtherPage);
    }

    void oneRevisionIsClickedOnce()
    {
        PostedNotifications posted;
        posted.note(kFirst, kHandle, kPage);
        const PostedNotifications::Click expected{.url = kPage, .activationToken = {}};
        QCOMPARE(posted.takeClick(kHandle), expected);
        QVERIFY(!posted.takeClick(kHandle));
        posted.note(kFirst, kHandle, kPage);
        QCOMPARE(posted.takeClick(kHandle), expected);
    }

    void anActivationTokenGoesWithTheNextClickOfItsNotification()
    {
        PostedNotifications posted;
        posted.note(kFirst, kHandle, kPage);
        posted.note(kSecond, kOtherHandle, kOtherPage);
        posted.recordActivationToken(kHandle, QStringLiteral("old"));
        posted.recordActivationToken(kHandle, QStringLiteral("token"));
        posted.recordActivationToken(QStringLiteral("99"), QStringLiteral("foreign"));
        QCOMPARE(posted.takeClick(kOtherHandle)->activationToken, QString());
        QCOMPARE(posted.takeClick(kHandle)->activationToken, QStringLiteral("token"));
    }

    void anActivationTokenIsNotKeptForTheNextRevision()
    {
        PostedNotifications posted;
        posted.note(kFirst, kHandle, kPage);
        posted.recordActivationToken(kHandle, QStringLiteral("token"));
        posted.note(kFirst, kHandle, kPage);
        QCOMPARE(posted.takeClick(kHandle)->activationToken, QString());
    }

    void whatIsForgottenIsNeitherReplacedNorClicked()
    {
        PostedNotifications posted;
        posted.note(kFirst, kHandle, kPage);
        posted.note(kSecond, kOtherHandle, kPage);
        posted.forget(kHandle);
        QCOMPARE(posted.handleOf(kFirst), QString());
        QVERIFY(!posted.takeClick(kHandle));
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
