// SPDX-License-Identifier: MIT
#include "ui/window/dismissal_rule.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace std::chrono_literals;

namespace
{

const DismissalRule::Time kOpened(1h);
constexpr QPoint kItem(1264, 14);
constexpr QPoint kElsewhere(300, 500);

} // namespace

class DismissalRuleTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shouldCloseOnEveryLossOfAFocusThatFollowsClicks()
    {
        DismissalRule rule(DismissalRule::Focus::FollowsClicks);
        rule.opened(kOpened, kItem);
        QVERIFY(rule.closesOnFocusLoss(kOpened, kElsewhere));
    }

    void shouldLetThePointerCrossOtherWindowsOnItsWay()
    {
        DismissalRule rule(DismissalRule::Focus::MayFollowPointer);
        rule.opened(kOpened, std::nullopt);
        QVERIFY(!rule.closesOnFocusLoss(kOpened + 1499ms, kElsewhere));
        QVERIFY(rule.closesOnFocusLoss(kOpened + 1500ms, kElsewhere));
    }

    void shouldCloseAtOnceWhenThePointerHasBeenInside()
    {
        DismissalRule rule(DismissalRule::Focus::MayFollowPointer);
        rule.opened(kOpened, std::nullopt);
        rule.pointerEntered();
        QVERIFY(rule.closesOnFocusLoss(kOpened + 100ms, kElsewhere));
        rule.opened(kOpened + 1h, std::nullopt);
        QVERIFY(!rule.closesOnFocusLoss(kOpened + 1h + 100ms, kElsewhere));
    }

    void shouldStayOpenDuringAQuestionOfTheDesktopAndUntilTheFocusIsBack()
    {
        DismissalRule rule(DismissalRule::Focus::FollowsClicks);
        rule.opened(kOpened, kItem);
        QVERIFY(!rule.setAsking(true, kOpened));
        QVERIFY(!rule.closesOnFocusLoss(kOpened + 1h, kElsewhere));
        QVERIFY(rule.setAsking(false, kOpened + 2h));
        QVERIFY(!rule.closesOnFocusLoss(kOpened + 2h + 1499ms, kElsewhere));
        QVERIFY(rule.closesOnFocusLoss(kOpened + 2h + 1500ms, kElsewhere));
        rule.opened(kOpened + 2h, kItem);
        QVERIFY(rule.closesOnFocusLoss(kOpened + 2h + 100ms, kElsewhere));
    }

    void shouldStayOpenWhileItIsMovedAndNoLonger()
    {
        DismissalRule rule(DismissalRule::Focus::FollowsClicks);
        rule.opened(kOpened, std::nullopt);
        rule.moveStarted();
        QVERIFY(!rule.closesOnFocusLoss(kOpened + 1h, kElsewhere));
        rule.pointerEntered();
        QVERIFY(rule.closesOnFocusLoss(kOpened + 1h, kElsewhere));
        rule.moveStarted();
        rule.opened(kOpened + 2h, std::nullopt);
        QVERIFY(rule.closesOnFocusLoss(kOpened + 3h, kElsewhere));
    }

    void shouldWaitForNoFocusThatNoQuestionHasTaken()
    {
        DismissalRule rule(DismissalRule::Focus::FollowsClicks);
        rule.opened(kOpened, kItem);
        QVERIFY(!rule.setAsking(true, kOpened));
        QVERIFY(!rule.setAsking(false, kOpened));
        QVERIFY(rule.closesOnFocusLoss(kOpened, kElsewhere));
    }

    void shouldTellTheEndOfTheClosingClickFromAnotherClick_data()
    {
        QTest::addColumn<bool>("isAnchored");
        QTest::addColumn<QPoint>("pointer");
        QTest::addColumn<std::chrono::milliseconds>("pause");
        QTest::addColumn<bool>("isSameClick");
        QTest::newRow("at once") << false << kElsewhere << 0ms << true;
        QTest::newRow("a usual click") << false << kElsewhere << 400ms << true;
        QTest::newRow("a later click") << false << kElsewhere << 401ms << false;
        QTest::newRow("a slow finger on the item") << true << kItem + QPoint(10, -10) << 2000ms << true;
        QTest::newRow("a later click on the item") << true << kItem << 2001ms << false;
        QTest::newRow("a click far from the item") << true << kElsewhere << 0ms << false;
        QTest::newRow("just out of reach") << true << kItem + QPoint(33, 0) << 0ms << false;
    }
    void shouldTellTheEndOfTheClosingClickFromAnotherClick()
    {
        QFETCH(bool, isAnchored);
        QFETCH(QPoint, pointer);
        QFETCH(std::chrono::milliseconds, pause);
        QFETCH(bool, isSameClick);
        DismissalRule rule(DismissalRule::Focus::FollowsClicks);
        rule.opened(kOpened, isAnchored ? std::optional(kItem) : std::nullopt);
        const auto closed = kOpened + 1min;
        QVERIFY(rule.closesOnFocusLoss(closed, pointer));
        QCOMPARE(rule.isEndOfClosingClick(closed + pause), isSameClick);
    }

    void shouldTakeOnlyOneClickForTheEnd()
    {
        DismissalRule rule(DismissalRule::Focus::FollowsClicks);
        rule.opened(kOpened, kItem);
        QVERIFY(rule.closesOnFocusLoss(kOpened, kItem));
        QVERIFY(rule.isEndOfClosingClick(kOpened));
        QVERIFY(!rule.isEndOfClosingClick(kOpened));
    }

    void shouldTakeEveryClickForOneOfItsOwnBeforeTheFirstClosing()
    {
        DismissalRule rule(DismissalRule::Focus::FollowsClicks);
        QVERIFY(!rule.isEndOfClosingClick(kOpened));
    }
};

VELMORA_TEST(DismissalRuleTest)
#include "dismissal_rule_test.moc"
