// SPDX-License-Identifier: MIT
#include "ui/settings/general/general_settings_view.h"

#include "platform/platform_error.h"
#include "settings/general_settings_store.h"
#include "support/asked_notifier.h"
#include "support/await.h"
#include "support/fake_login_item.h"
#include "support/fake_preferences.h"
#include "support/fake_settings_page_opener.h"
#include "support/test_main.h"
#include "support/widget_probe.h"
#include "ui/controls/card.h"
#include "ui/controls/switch_control.h"

#include <QApplication>
#include <QComboBox>
#include <QTest>
#include <QWheelEvent>

#include <memory>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QString kFailures = QStringLiteral("Notify me when deployments fail");
const QString kSuccesses = QStringLiteral("Notify me when deployments succeed");
const QString kApprovals = QStringLiteral("Notify me when deployments wait for approval");
const QString kLaunch = QStringLiteral("Launch Velmora at login");
const QString kOpen = QStringLiteral("Open Notification Settings");
const QString kRefused = QStringLiteral("Notifications are disabled for Velmora in System Settings.");
const QString kHelp = QStringLiteral("Velmora sends one notification when a deployment changes to a selected result.");
const QString kWhose = QStringLiteral("Notify me about");
const QString kEverybodys = QStringLiteral("everybody's deployments");
const QString kOnlyMine = QStringLiteral("only those I started");
const QString kWhoseHelp = QStringLiteral(
    "Yours are the deployments that a connected account has created. Those that a bot has created are nobody's.");
const QString kMended = QStringLiteral("Mended failures no longer count");
const QString kMendedHelp = QStringLiteral("A failure is mended when a later deployment to the same environment of its "
                                           "repository succeeds. It stays in the list, and is drawn quietly.");
const QString kStartupHelp = QStringLiteral("Keep deployment monitoring available after you sign in to your computer.");

} // namespace

class GeneralSettingsViewTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_view.reset();
        m_store.reset();
        m_defaults = std::make_unique<FakePreferences>();
        m_notifier = {};
        m_notifier.immediate = true;
        m_loginItem = {};
        m_opener.opened = 0;
        m_opener.failure.reset();
        m_store = std::make_unique<GeneralSettingsStore>(m_defaults.get(), &m_notifier, &m_loginItem);
        build();
    }

    void everyTextIsThereInItsOrder()
    {
        QCOMPARE(shownTexts(*m_view),
            (QStringList{QStringLiteral("Notifications"), kHelp, kWhose, kWhoseHelp, QStringLiteral("Startup"),
                kStartupHelp, QStringLiteral("Failures"), kMendedHelp}));
        QStringList switches;
        for (const auto *control : m_view->findChildren<SwitchControl *>())
            switches.append(withoutMnemonic(control->text()));
        QCOMPARE(switches, (QStringList{kFailures, kSuccesses, kApprovals, kLaunch, kMended}));
    }

    void thePartsStandInTheirOrder()
    {
        m_loginItem.failure = std::make_exception_ptr(PlatformError(QStringLiteral("No autostart here")));
        refuse();
        toggle(kLaunch);
        const QList<QWidget *> expected{shownLabel(*m_view, QStringLiteral("Notifications")), control(kFailures),
            control(kSuccesses), control(kApprovals), shownLabel(*m_view, kHelp), shownButton(*m_view, kOpen),
            shownLabel(*m_view, kWhose), shownLabel(*m_view, kWhoseHelp),
            shownLabel(*m_view, QStringLiteral("Startup")), control(kLaunch), shownLabel(*m_view, kStartupHelp),
            shownLabel(*m_view, QStringLiteral("Failures")), control(kMended), shownLabel(*m_view, kMendedHelp),
            shownLabel(*m_view, QStringLiteral("No autostart here"))};
        int above = -1;
        for (const QWidget *part : expected) {
            QVERIFY(part);
            const int top = part->mapTo(m_view.get(), QPoint()).y();
            QVERIFY(top > above);
            above = top;
        }
    }

    void theSwitchesShowTheStore()
    {
        QVERIFY(control(kFailures)->isChecked());
        QVERIFY(!control(kSuccesses)->isChecked());
        QVERIFY(!control(kLaunch)->isChecked());
        m_store->setNotificationPreferences(true);
        QVERIFY(control(kSuccesses)->isChecked());
        m_store->setNotificationPreference(false, DeploymentNotificationKind::Failure);
        QVERIFY(!control(kFailures)->isChecked());
        QVERIFY(control(kSuccesses)->isChecked());
    }

    void switchingSuccessesLeavesFailuresAlone()
    {
        toggle(kSuccesses);
        QVERIFY(m_store->successNotificationsEnabled());
        QVERIFY(control(kSuccesses)->isChecked());
        QVERIFY(m_store->failureNotificationsEnabled());
        QVERIFY(control(kFailures)->isChecked());
        toggle(kSuccesses);
        QVERIFY(!m_store->successNotificationsEnabled());
        QVERIFY(m_store->failureNotificationsEnabled());
    }

    void switchingFailuresLeavesSuccessesAlone()
    {
        toggle(kFailures);
        QVERIFY(!m_store->failureNotificationsEnabled());
        QVERIFY(!m_store->successNotificationsEnabled());
        toggle(kSuccesses);
        toggle(kFailures);
        QVERIFY(m_store->failureNotificationsEnabled());
        QVERIFY(m_store->successNotificationsEnabled());
    }

    void approvalsAreOffUntilTheyAreSwitchedOnByThemselves()
    {
        QVERIFY(!control(kApprovals)->isChecked());
        toggle(kApprovals);
        QVERIFY(control(kApprovals)->isChecked());
        QVERIFY(m_store->notificationsEnabled(DeploymentNotificationKind::Waiting));
        QVERIFY(m_store->failureNotificationsEnabled());
        QVERIFY(!m_store->successNotificationsEnabled());
    }

    void whoseDeploymentsCountIsOneOfTwoChoices()
    {
        auto *whose = m_view->findChild<QComboBox *>();
        QVERIFY(whose);
        QCOMPARE(whose->accessibleDescription(), kWhose);
        QCOMPARE(whose->currentText(), kEverybodys);
        QTest::keyClick(whose, Qt::Key_Down);
        QVERIFY(m_store->notifiesOnlyMine());
        QCOMPARE(whose->currentText(), kOnlyMine);
        m_store->setNotifiesOnlyMine(false);
        QCOMPARE(whose->currentText(), kEverybodys);
        m_store->setNotifiesOnlyMine(true);
        QTest::keyClick(whose, Qt::Key_Up);
        QVERIFY(!m_store->notifiesOnlyMine());
    }

    void mendedFailuresAreSwitchedWithoutAQuestion()
    {
        QVERIFY(!control(kMended)->isChecked());
        toggle(kMended);
        QVERIFY(m_store->ignoresMendedFailures());
        QVERIFY(control(kMended)->isChecked());
        m_store->setIgnoresMendedFailures(false);
        QVERIFY(!control(kMended)->isChecked());
    }

    void aWheelOverTheChoiceOnlyScrolls()
    {
        auto *whose = m_view->findChild<QComboBox *>();
        QWheelEvent turn(QPointF(1, 1), QPointF(1, 1), QPoint(), QPoint(0, -120), Qt::NoButton, Qt::NoModifier,
            Qt::NoScrollPhase, false);
        QApplication::sendEvent(whose, &turn);
        QVERIFY(!m_store->notifiesOnlyMine());
        QCOMPARE(whose->currentText(), kEverybodys);
    }

    void aRefusedSwitchFallsBackAndSaysWhy()
    {
        m_notifier.immediate.reset();
        toggle(kSuccesses);
        // The switch moves with the click, before the desktop has answered.
        QVERIFY(control(kSuccesses)->isChecked());
        QVERIFY(!m_store->successNotificationsEnabled());
        m_notifier.questions.last().resolve(false);
        drainEvents();
        QVERIFY(!control(kSuccesses)->isChecked());
        QVERIFY(shownLabel(*m_view, kRefused));
        QVERIFY(shownButton(*m_view, kOpen));
    }

    void aSwitchThatIsRefusedAgainFallsBackAgain()
    {
        refuse();
        // The store does not change this time and therefore emits nothing.
        toggle(kSuccesses);
        QVERIFY(!control(kSuccesses)->isChecked());
    }

    void aFailureToAskFallsBackAndSaysWhy()
    {
        m_notifier.immediate.reset();
        m_notifier.immediateFailure = std::make_exception_ptr(PlatformError(QStringLiteral("The bus is gone")));
        toggle(kSuccesses);
        QVERIFY(!control(kSuccesses)->isChecked());
        QVERIFY(shownLabel(*m_view, QStringLiteral("The bus is gone")));
        QVERIFY(!shownButton(*m_view, kOpen));
    }

    void theButtonIsThereOnlyWhilePermissionIsMissing()
    {
        QVERIFY(!shownButton(*m_view, kOpen));
        refuse();
        auto *button = shownButton(*m_view, kOpen);
        QVERIFY(button);
        const auto *help = shownLabel(*m_view, kHelp);
        QVERIFY(button->mapTo(m_view.get(), QPoint()).y() > help->mapTo(m_view.get(), QPoint()).y());
        m_notifier.immediate = true;
        toggle(kSuccesses);
        QVERIFY(!shownButton(*m_view, kOpen));
    }

    void theButtonOpensTheDesktopsPage()
    {
        refuse();
        shownButton(*m_view, kOpen)->click();
        QCOMPARE(m_opener.opened, 1);
        QCOMPARE(shownTexts(*m_view).size(), 9);
    }

    void aRefusalBeforeItIsOpenedLeavesNoEmptyLine()
    {
        refuse();
        build();
        QVERIFY(shownButton(*m_view, kOpen));
        const auto labels = m_view->findChildren<QLabel *>();
        QVERIFY(std::ranges::none_of(labels, [this](const QLabel *label) {
            return label->isVisibleTo(m_view.get()) && label->text().isEmpty() && label->pixmap().isNull();
        }));
    }

    void aDesktopWithoutSuchAPageSaysSo()
    {
        refuse();
        m_opener.failure = QStringLiteral("This desktop has <no> such page.");
        shownButton(*m_view, kOpen)->click();
        auto *label = shownLabel(*m_view, QStringLiteral("This desktop has <no> such page."));
        QVERIFY(label);
        QCOMPARE(label->textFormat(), Qt::PlainText);
        m_opener.failure.reset();
        shownButton(*m_view, kOpen)->click();
        QVERIFY(!shownLabel(*m_view, QStringLiteral("This desktop has <no> such page.")));
    }

    void whatTheDesktopSaidGoesWithTheButton()
    {
        refuse();
        m_opener.failure = QStringLiteral("No page.");
        shownButton(*m_view, kOpen)->click();
        m_notifier.immediate = true;
        toggle(kSuccesses);
        QVERIFY(!shownLabel(*m_view, QStringLiteral("No page.")));
        m_notifier.immediate = false;
        toggle(kFailures);
        toggle(kFailures);
        QVERIFY(shownButton(*m_view, kOpen));
        QVERIFY(!shownLabel(*m_view, QStringLiteral("No page.")));
    }

    void theErrorSectionComesAndGoesWithTheMessage()
    {
        QCOMPARE(shownCards(), 3);
        refuse();
        QCOMPARE(shownCards(), 4);
        QVERIFY(shownLabel(*m_view, kRefused));
        m_notifier.immediate = true;
        toggle(kSuccesses);
        QCOMPARE(shownCards(), 3);
        QVERIFY(!shownLabel(*m_view, kRefused));
    }

    void startingAtLoginIsSwitchedAtOnce()
    {
        toggle(kLaunch);
        QCOMPARE(m_loginItem.calls, QStringList{QStringLiteral("register")});
        QVERIFY(control(kLaunch)->isChecked());
        toggle(kLaunch);
        QCOMPARE(m_loginItem.calls, (QStringList{QStringLiteral("register"), QStringLiteral("unregister")}));
        QVERIFY(!control(kLaunch)->isChecked());
    }

    void aRefusedStartAtLoginFallsBackAndSaysWhy()
    {
        m_loginItem.failure = std::make_exception_ptr(PlatformError(QStringLiteral("No autostart here")));
        toggle(kLaunch);
        QVERIFY(!control(kLaunch)->isChecked());
        QVERIFY(shownLabel(*m_view, QStringLiteral("No autostart here")));
        // The second attempt changes nothing in the store.
        toggle(kLaunch);
        QVERIFY(!control(kLaunch)->isChecked());
    }

    void whatTheDesktopDoesAtLoginIsReadAnewWhenTheTabIsShown()
    {
        m_loginItem.current = LoginItemStatus::Enabled;
        QVERIFY(!control(kLaunch)->isChecked());
        m_view->hide();
        m_view->show();
        QVERIFY(control(kLaunch)->isChecked());
    }

    void aViewThatIsGoneIsNotShownTheAnswer()
    {
        m_notifier.immediate.reset();
        toggle(kSuccesses);
        m_view.reset();
        m_notifier.questions.last().resolve(true);
        drainEvents();
        QVERIFY(m_store->successNotificationsEnabled());
    }

    void everyControlHasAMnemonicOfItsOwn()
    {
        refuse();
        QStringList mnemonics;
        for (const auto *button : m_view->findChildren<QAbstractButton *>()) {
            if (button->isVisibleTo(m_view.get()) && !button->text().isEmpty())
                mnemonics.append(button->shortcut().toString());
        }
        QCOMPARE(mnemonics.size(), 6);
        QVERIFY(!mnemonics.contains(QString()));
        QCOMPARE(mnemonics.removeDuplicates(), 0);
        // The mnemonics of the tabs.
        for (const char *taken : {"Alt+A", "Alt+R", "Alt+G"})
            QVERIFY(!mnemonics.contains(QLatin1String(taken)));
    }

    void aLargeFontMakesTheTabScrollAndCutsNothing()
    {
        QFont large = m_view->font();
        large.setPointSize(30);
        m_view->setFont(large);
        m_view->resize(596, 300);
        drainEvents();
        const auto *help = shownLabel(*m_view, kHelp);
        QVERIFY(help->height() >= help->heightForWidth(help->width()));
        auto *launch = control(kLaunch);
        launch->setFocus();
        drainEvents();
        QVERIFY(m_view->rect().contains(launch->mapTo(m_view.get(), launch->rect().center())));
    }

private:
    void build()
    {
        m_view = std::make_unique<GeneralSettingsView>(m_store.get(), &m_opener);
        m_view->resize(596, 400);
        m_view->show();
        QVERIFY(QTest::qWaitForWindowActive(m_view.get()));
    }

    SwitchControl *control(const QString &text) { return qobject_cast<SwitchControl *>(shownButton(*m_view, text)); }

    void toggle(const QString &text)
    {
        QTest::mouseClick(control(text), Qt::LeftButton);
        drainEvents();
    }

    void refuse()
    {
        m_notifier.immediate = false;
        toggle(kSuccesses);
    }

    [[nodiscard]] qsizetype shownCards() const
    {
        const auto cards = m_view->findChildren<Card *>();
        return std::ranges::count_if(cards, [this](const Card *card) { return card->isVisibleTo(m_view.get()); });
    }

    std::unique_ptr<FakePreferences> m_defaults;
    AskedNotifier m_notifier;
    FakeLoginItem m_loginItem;
    FakeSettingsPageOpener m_opener;
    std::unique_ptr<GeneralSettingsStore> m_store;
    std::unique_ptr<GeneralSettingsView> m_view;
};

VELMORA_WIDGET_TEST(GeneralSettingsViewTest)
#include "general_settings_view_test.moc"
