// SPDX-License-Identifier: MIT
#include "settings/general_settings_store.h"

#include "platform/platform_error.h"
#include "support/asked_notifier.h"
#include "support/await.h"
#include "support/fake_login_item.h"
#include "support/fake_preferences.h"
#include "support/test_main.h"

#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QString kFailure = QStringLiteral("general.notificationsEnabled");
const QString kSuccess = QStringLiteral("general.successNotificationsEnabled");
const QString kWaiting = QStringLiteral("general.waitingNotificationsEnabled");
const QString kRefused = QStringLiteral("Notifications are disabled for Velmora in System Settings.");

std::exception_ptr failure(const QString &description)
{
    return std::make_exception_ptr(PlatformError(description));
}

} // namespace

class GeneralSettingsStoreTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_store.reset();
        m_defaults = std::make_unique<FakePreferences>();
        m_notifier = {};
        m_loginItem = {};
    }

    void aFirstStartStoresThatFailuresAreAnnouncedAndNothingElse()
    {
        build();
        QVERIFY(m_store->failureNotificationsEnabled());
        QVERIFY(!m_store->successNotificationsEnabled());
        QVERIFY(!m_store->notificationsRequireSystemPermission());
        QCOMPARE(m_store->errorMessage(), std::nullopt);
        QVERIFY(!m_store->launchAtLoginEnabled());
        QCOMPARE(m_defaults->writes, QStringList{kFailure});
        QVERIFY(m_defaults->boolean(kFailure));
        QVERIFY(!m_defaults->value(kSuccess));
        QVERIFY(!m_store->notificationsEnabled(DeploymentNotificationKind::Waiting));
        QVERIFY(m_notifier.questions.isEmpty());
    }

    void whatWasStoredIsTakenUpAndNotWrittenAgain()
    {
        m_defaults->values[kFailure] = false;
        m_defaults->values[kSuccess] = true;
        build();
        QVERIFY(!m_store->failureNotificationsEnabled());
        QVERIFY(m_store->successNotificationsEnabled());
        QVERIFY(m_defaults->writes.isEmpty());
    }

    void theLoginItemCountsAsOnOnlyWhenItIsEnabled_data()
    {
        QTest::addColumn<LoginItemStatus>("status");
        QTest::addColumn<bool>("isOn");
        QTest::newRow("enabled") << LoginItemStatus::Enabled << true;
        QTest::newRow("disabled") << LoginItemStatus::Disabled << false;
        QTest::newRow("needs repair") << LoginItemStatus::NeedsRepair << false;
    }
    void theLoginItemCountsAsOnOnlyWhenItIsEnabled()
    {
        QFETCH(LoginItemStatus, status);
        m_loginItem.current = status;
        build();
        QTEST(m_store->launchAtLoginEnabled(), "isOn");
    }

    void nobodyIsAskedAtStartWhenNothingIsToBeAnnounced()
    {
        m_defaults->values[kFailure] = false;
        build();
        awaitValue(m_store->prepareNotifications());
        QVERIFY(m_notifier.questions.isEmpty());
        QCOMPARE(m_changes->count(), 0);
    }

    void oneSwitchThatIsOnIsReasonEnoughToAsk_data()
    {
        QTest::addColumn<bool>("failures");
        QTest::addColumn<bool>("successes");
        QTest::addColumn<bool>("approvals");
        QTest::newRow("failures") << true << false << false;
        QTest::newRow("successes") << false << true << false;
        QTest::newRow("both") << true << true << false;
        QTest::newRow("approvals") << false << false << true;
    }
    void oneSwitchThatIsOnIsReasonEnoughToAsk()
    {
        QFETCH(bool, failures);
        QFETCH(bool, successes);
        QFETCH(bool, approvals);
        m_defaults->values[kFailure] = failures;
        m_defaults->values[kSuccess] = successes;
        m_defaults->values[kWaiting] = approvals;
        build();
        const auto preparation = start(m_store->prepareNotifications());
        QCOMPARE(m_notifier.questions.size(), 1);
        QVERIFY(!preparation->isDone);
        m_notifier.questions.at(0).resolve(true);
        QVERIFY(preparation->isDone);
        QCOMPARE(m_store->failureNotificationsEnabled(), failures);
        QCOMPARE(m_store->successNotificationsEnabled(), successes);
        QCOMPARE(m_store->notificationsEnabled(DeploymentNotificationKind::Waiting), approvals);
    }

    void permissionAtStartChangesNothing()
    {
        build();
        m_notifier.immediate = true;
        m_defaults->writes.clear();
        awaitValue(m_store->prepareNotifications());
        QCOMPARE(m_changes->count(), 0);
        QVERIFY(m_defaults->writes.isEmpty());
    }

    void permissionAtStartLeavesAnErrorOfSomethingElseOnShow()
    {
        build();
        showLoginItemError(QStringLiteral("no login item"));
        m_notifier.immediate = true;
        awaitValue(m_store->prepareNotifications());
        QCOMPARE(m_store->errorMessage(), QStringLiteral("no login item"));
    }

    void aRefusalAtStartSwitchesBothOffAndTellsSo()
    {
        m_defaults->values[kSuccess] = true;
        build();
        m_defaults->writes.clear();
        m_notifier.immediate = false;
        awaitValue(m_store->prepareNotifications());
        QVERIFY(!m_store->failureNotificationsEnabled());
        QVERIFY(!m_store->successNotificationsEnabled());
        QVERIFY(m_store->notificationsRequireSystemPermission());
        QCOMPARE(m_store->errorMessage(), kRefused);
        QCOMPARE(m_defaults->writes, (QStringList{kFailure, kSuccess}));
        QCOMPARE(m_defaults->value(kFailure), Preferences::Value(false));
        QCOMPARE(m_defaults->value(kSuccess), Preferences::Value(false));
        QCOMPARE(m_changes->count(), 1);
    }

    void aRefusalAtStartSwitchesApprovalsOffToo()
    {
        m_defaults->values[kFailure] = false;
        m_defaults->values[kWaiting] = true;
        build();
        m_notifier.immediate = false;
        awaitValue(m_store->prepareNotifications());
        QVERIFY(!m_store->notificationsEnabled(DeploymentNotificationKind::Waiting));
        QCOMPARE(m_defaults->value(kWaiting), Preferences::Value(false));
        QCOMPARE(m_store->errorMessage(), kRefused);
        QCOMPARE(m_changes->count(), 1);
    }

    void aFailureToAskAtStartIsShownAndLeavesTheSwitchesAlone()
    {
        build();
        m_notifier.immediateFailure = failure(QStringLiteral("no service"));
        m_defaults->writes.clear();
        awaitValue(m_store->prepareNotifications());
        QVERIFY(m_store->failureNotificationsEnabled());
        QVERIFY(!m_store->notificationsRequireSystemPermission());
        QCOMPARE(m_store->errorMessage(), QStringLiteral("no service"));
        QVERIFY(m_defaults->writes.isEmpty());
        QCOMPARE(m_changes->count(), 1);
    }

    void aLaterPreparationTakesItsOwnErrorBack()
    {
        build();
        failPreparation(QStringLiteral("no service"));
        m_notifier.immediate = true;
        awaitValue(m_store->retryPreparation());
        QCOMPARE(m_notifier.questions.size(), 2);
        QCOMPARE(m_store->errorMessage(), std::nullopt);
        QVERIFY(m_store->failureNotificationsEnabled());
        QCOMPARE(m_changes->count(), 2);
    }

    void aLaterPreparationLeavesTheErrorOfSomethingElse()
    {
        build();
        failPreparation(QStringLiteral("no service"));
        showLoginItemError(QStringLiteral("no service"));
        m_notifier.immediate = true;
        awaitValue(m_store->retryPreparation());
        QCOMPARE(m_store->errorMessage(), QStringLiteral("no service"));
    }

    void aLaterPreparationThatFailsAgainShowsTheNewReason()
    {
        build();
        failPreparation(QStringLiteral("no service"));
        m_notifier.immediateFailure = failure(QStringLiteral("it hangs"));
        awaitValue(m_store->retryPreparation());
        QCOMPARE(m_store->errorMessage(), QStringLiteral("it hangs"));
    }

    void aPreparationThatSucceededIsNotRepeated()
    {
        build();
        awaitValue(m_store->retryPreparation());
        QVERIFY(m_notifier.questions.isEmpty());
        m_notifier.immediate = true;
        awaitValue(m_store->prepareNotifications());
        awaitValue(m_store->retryPreparation());
        QCOMPARE(m_notifier.questions.size(), 1);
    }

    void aServiceThatAppearsWhileItIsAskedForIsAskedAgainAfterAFailure()
    {
        build();
        const auto preparation = start(m_store->prepareNotifications());
        awaitValue(m_store->retryPreparation());
        QCOMPARE(m_notifier.questions.size(), 1);
        m_notifier.questions.at(0).fail(failure(QStringLiteral("too early")));
        QCOMPARE(m_notifier.questions.size(), 2);
        m_notifier.questions.at(1).resolve(true);
        QVERIFY(preparation->isDone);
        QCOMPARE(m_store->errorMessage(), std::nullopt);
    }

    void aServiceThatAppearsWhileItIsAskedForIsNotAskedAgainAfterASuccess()
    {
        build();
        const auto preparation = start(m_store->prepareNotifications());
        awaitValue(m_store->retryPreparation());
        m_notifier.questions.at(0).resolve(true);
        QVERIFY(preparation->isDone);
        QCOMPARE(m_notifier.questions.size(), 1);
    }

    void aRepetitionAsksNobodyOnceEverythingIsSwitchedOff()
    {
        build();
        failPreparation(QStringLiteral("no service"));
        m_store->setNotificationPreferences(false);
        awaitValue(m_store->retryPreparation());
        awaitValue(m_store->retryPreparation());
        QCOMPARE(m_notifier.questions.size(), 1);
        QCOMPARE(m_store->errorMessage(), QStringLiteral("no service"));
    }

    void switchingOffAsksNobodyAndLeavesEverythingElse_data() { addKinds(); }
    void switchingOffAsksNobodyAndLeavesEverythingElse()
    {
        QFETCH(DeploymentNotificationKind, kind);
        QFETCH(QString, key);
        m_defaults->values[kSuccess] = true;
        m_defaults->values[kWaiting] = true;
        build();
        showLoginItemError(QStringLiteral("an earlier error"));
        m_changes->clear();
        m_defaults->writes.clear();
        awaitValue(m_store->setNotificationsEnabled(false, kind));
        QVERIFY(m_notifier.questions.isEmpty());
        QCOMPARE(m_store->errorMessage(), QStringLiteral("an earlier error"));
        QCOMPARE(m_store->failureNotificationsEnabled(), kind != DeploymentNotificationKind::Failure);
        QCOMPARE(m_store->successNotificationsEnabled(), kind != DeploymentNotificationKind::Success);
        QCOMPARE(m_store->notificationsEnabled(DeploymentNotificationKind::Waiting),
            kind != DeploymentNotificationKind::Waiting);
        QCOMPARE(m_defaults->writes, QStringList{key});
        QCOMPARE(m_defaults->value(key), Preferences::Value(false));
        QCOMPARE(m_changes->count(), 1);
    }

    void switchingOffLeavesThePermissionFlag()
    {
        build();
        m_notifier.immediate = false;
        awaitValue(m_store->prepareNotifications());
        awaitValue(m_store->setNotificationsEnabled(false, DeploymentNotificationKind::Success));
        QVERIFY(m_store->notificationsRequireSystemPermission());
        QCOMPARE(m_store->errorMessage(), kRefused);
    }

    void switchingOnWithPermissionClearsTheErrorAndTheFlag_data() { addKinds(); }
    void switchingOnWithPermissionClearsTheErrorAndTheFlag()
    {
        QFETCH(DeploymentNotificationKind, kind);
        QFETCH(QString, key);
        build();
        m_notifier.immediate = false;
        awaitValue(m_store->prepareNotifications());
        m_changes->clear();
        m_notifier.immediate = true;
        awaitValue(m_store->setNotificationsEnabled(true, kind));
        QVERIFY(!m_store->notificationsRequireSystemPermission());
        QCOMPARE(m_store->errorMessage(), std::nullopt);
        QCOMPARE(m_store->failureNotificationsEnabled(), kind == DeploymentNotificationKind::Failure);
        QCOMPARE(m_store->successNotificationsEnabled(), kind == DeploymentNotificationKind::Success);
        QCOMPARE(m_store->notificationsEnabled(DeploymentNotificationKind::Waiting),
            kind == DeploymentNotificationKind::Waiting);
        QCOMPARE(m_defaults->value(key), Preferences::Value(true));
        QCOMPARE(m_changes->count(), 1);
    }

    void switchingOnAgainstARefusalLeavesThatSwitchOff_data() { addKinds(); }
    void switchingOnAgainstARefusalLeavesThatSwitchOff()
    {
        QFETCH(DeploymentNotificationKind, kind);
        QFETCH(QString, key);
        m_defaults->values[kSuccess] = true;
        m_defaults->values[kWaiting] = true;
        build();
        m_notifier.immediate = false;
        awaitValue(m_store->setNotificationsEnabled(true, kind));
        QVERIFY(m_store->notificationsRequireSystemPermission());
        QCOMPARE(m_store->errorMessage(), kRefused);
        QCOMPARE(m_store->failureNotificationsEnabled(), kind != DeploymentNotificationKind::Failure);
        QCOMPARE(m_store->successNotificationsEnabled(), kind != DeploymentNotificationKind::Success);
        QCOMPARE(m_store->notificationsEnabled(DeploymentNotificationKind::Waiting),
            kind != DeploymentNotificationKind::Waiting);
        QCOMPARE(m_defaults->value(key), Preferences::Value(false));
        QCOMPARE(m_changes->count(), 1);
    }

    void aFailureToAskSwitchesThatKindOffAndLeavesTheFlag_data()
    {
        QTest::addColumn<bool>("wasRefused");
        QTest::newRow("refused before") << true;
        QTest::newRow("not refused before") << false;
    }
    void aFailureToAskSwitchesThatKindOffAndLeavesTheFlag()
    {
        QFETCH(bool, wasRefused);
        build();
        m_notifier.immediate = !wasRefused;
        awaitValue(m_store->setNotificationsEnabled(true, DeploymentNotificationKind::Success));
        m_notifier.immediate.reset();
        m_notifier.immediateFailure = failure(QStringLiteral("it hangs"));
        awaitValue(m_store->setNotificationsEnabled(true, DeploymentNotificationKind::Failure));
        QVERIFY(!m_store->failureNotificationsEnabled());
        QCOMPARE(m_store->successNotificationsEnabled(), !wasRefused);
        QCOMPARE(m_defaults->value(kFailure), Preferences::Value(false));
        QCOMPARE(m_store->notificationsRequireSystemPermission(), wasRefused);
        QCOMPARE(m_store->errorMessage(), QStringLiteral("it hangs"));
    }

    void nothingChangesBeforeTheAnswer()
    {
        build();
        const auto toggling = start(m_store->setNotificationsEnabled(true, DeploymentNotificationKind::Success));
        QVERIFY(!m_store->successNotificationsEnabled());
        QVERIFY(!m_defaults->value(kSuccess));
        m_notifier.questions.at(0).resolve(true);
        QVERIFY(toggling->isDone);
        QVERIFY(m_store->successNotificationsEnabled());
    }

    void twoThatAreSwitchedAtOnceEachApplyTheirOwnAnswer()
    {
        build();
        const auto first = start(m_store->setNotificationsEnabled(true, DeploymentNotificationKind::Failure));
        const auto second = start(m_store->setNotificationsEnabled(true, DeploymentNotificationKind::Success));
        m_notifier.questions.at(1).resolve(true);
        QVERIFY(m_store->successNotificationsEnabled());
        QVERIFY(!m_store->notificationsRequireSystemPermission());
        m_notifier.questions.at(0).resolve(false);
        QVERIFY(!m_store->failureNotificationsEnabled());
        QVERIFY(m_store->successNotificationsEnabled());
        QVERIFY(m_store->notificationsRequireSystemPermission());
        QCOMPARE(m_store->errorMessage(), kRefused);
        QVERIFY(first->isDone && second->isDone);
    }

    void onAndOffAtOnceEndsWithTheAnswerThatCameLast()
    {
        build();
        const auto on = start(m_store->setNotificationsEnabled(true, DeploymentNotificationKind::Failure));
        awaitValue(m_store->setNotificationsEnabled(false, DeploymentNotificationKind::Failure));
        QVERIFY(!m_store->failureNotificationsEnabled());
        m_notifier.questions.at(0).resolve(true);
        QVERIFY(on->isDone);
        QVERIFY(m_store->failureNotificationsEnabled());
    }

    void aCancelledQuestionChangesNothing()
    {
        build();
        m_notifier.immediateFailure = std::make_exception_ptr(CancellationError());
        m_defaults->writes.clear();
        awaitValue(m_store->prepareNotifications());
        awaitValue(m_store->setNotificationsEnabled(true, DeploymentNotificationKind::Failure));
        QCOMPARE(m_store->errorMessage(), std::nullopt);
        QVERIFY(m_store->failureNotificationsEnabled());
        QVERIFY(m_defaults->writes.isEmpty());
        QCOMPARE(m_changes->count(), 0);
    }

    void bothPreferencesAreStoredThatOfFailuresFirstAndAnnouncedOnce()
    {
        build();
        m_defaults->writes.clear();
        m_store->setNotificationPreferences(true);
        QCOMPARE(m_defaults->writes, (QStringList{kFailure, kSuccess}));
        QVERIFY(m_store->failureNotificationsEnabled() && m_store->successNotificationsEnabled());
        QCOMPARE(m_changes->count(), 1);
        m_store->setNotificationPreferences(true);
        QCOMPARE(m_changes->count(), 1);
    }

    void anEqualPreferenceIsNotAnnounced()
    {
        build();
        m_store->setNotificationPreference(true, DeploymentNotificationKind::Failure);
        m_store->setNotificationPreference(false, DeploymentNotificationKind::Success);
        QCOMPARE(m_changes->count(), 0);
        QCOMPARE(m_defaults->value(kSuccess), Preferences::Value(false));
    }

    void everybodysDeploymentsCountUntilThatIsRestricted()
    {
        const QString onlyMine = QStringLiteral("general.notifiesOnlyMine");
        build();
        QVERIFY(!m_store->notifiesOnlyMine());
        QVERIFY(!m_defaults->value(onlyMine));
        m_store->setNotifiesOnlyMine(true);
        QVERIFY(m_store->notifiesOnlyMine());
        QVERIFY(m_defaults->boolean(onlyMine));
        QCOMPARE(m_changes->count(), 1);
        m_defaults->setValue(onlyMine, false);
        QVERIFY(!m_store->notifiesOnlyMine());
        QCOMPARE(m_changes->count(), 2);
        m_defaults->setValue(onlyMine, true);
        build();
        QVERIFY(m_store->notifiesOnlyMine());
    }

    void mendedFailuresCountUntilThatIsSwitchedOff()
    {
        const QString ignoresMended = QStringLiteral("general.ignoresMendedFailures");
        build();
        QVERIFY(!m_store->ignoresMendedFailures());
        QVERIFY(!m_defaults->value(ignoresMended));
        m_store->setIgnoresMendedFailures(true);
        QVERIFY(m_store->ignoresMendedFailures());
        QVERIFY(m_defaults->boolean(ignoresMended));
        QCOMPARE(m_changes->count(), 1);
        m_defaults->setValue(ignoresMended, false);
        QVERIFY(!m_store->ignoresMendedFailures());
        QCOMPARE(m_changes->count(), 2);
        m_defaults->setValue(ignoresMended, true);
        build();
        QVERIFY(m_store->ignoresMendedFailures());
    }

    void whatAnotherProcessStoresIsFollowed()
    {
        build();
        m_defaults->setValue(kSuccess, true);
        QVERIFY(m_store->successNotificationsEnabled());
        QCOMPARE(m_changes->count(), 1);
        m_defaults->remove(kFailure);
        QVERIFY(!m_store->failureNotificationsEnabled());
        QCOMPARE(m_changes->count(), 2);
        m_defaults->setValue(QStringLiteral("something.else"), true);
        QCOMPARE(m_changes->count(), 2);
        m_defaults->setValue(kWaiting, true);
        QVERIFY(m_store->notificationsEnabled(DeploymentNotificationKind::Waiting));
        QCOMPARE(m_changes->count(), 3);
    }

    void theLoginSwitchShowsWhatTheDesktopDid()
    {
        build();
        awaitValue(m_store->setLaunchAtLogin(true));
        QVERIFY(m_store->launchAtLoginEnabled());
        awaitValue(m_store->setLaunchAtLogin(false));
        QVERIFY(!m_store->launchAtLoginEnabled());
        QCOMPARE(m_loginItem.calls, (QStringList{QStringLiteral("register"), QStringLiteral("unregister")}));
        QCOMPARE(m_changes->count(), 2);
        QCOMPARE(m_store->errorMessage(), std::nullopt);
    }

    void aFailingRegistrationShowsTheReasonAndLeavesTheSwitchOff()
    {
        build();
        showLoginItemError(QStringLiteral("the disk is full"));
        QVERIFY(!m_store->launchAtLoginEnabled());
        QCOMPARE(m_store->errorMessage(), QStringLiteral("the disk is full"));
        QCOMPARE(m_changes->count(), 1);
    }

    void aFailingUnregistrationLeavesTheSwitchOn()
    {
        m_loginItem.current = LoginItemStatus::Enabled;
        build();
        m_loginItem.failure = failure(QStringLiteral("the file is somebody else's"));
        awaitValue(m_store->setLaunchAtLogin(false));
        QVERIFY(m_store->launchAtLoginEnabled());
        QCOMPARE(m_store->errorMessage(), QStringLiteral("the file is somebody else's"));
    }

    void theStatusIsReadAgainAfterAFailureToo()
    {
        build();
        m_loginItem.gates.emplace_back();
        const OneShot<> gate = m_loginItem.gates.front();
        m_loginItem.failure = failure(QStringLiteral("half done"));
        const auto setting = start(m_store->setLaunchAtLogin(true));
        m_loginItem.current = LoginItemStatus::Enabled;
        gate.resolve();
        QVERIFY(setting->isDone);
        QVERIFY(m_store->launchAtLoginEnabled());
        QCOMPARE(m_store->errorMessage(), QStringLiteral("half done"));
        QCOMPARE(m_changes->count(), 1);
    }

    void aSuccessfulRegistrationLeavesAnEarlierErrorOnShow()
    {
        build();
        showLoginItemError(QStringLiteral("the disk is full"));
        m_loginItem.failure = nullptr;
        awaitValue(m_store->setLaunchAtLogin(true));
        QVERIFY(m_store->launchAtLoginEnabled());
        QCOMPARE(m_store->errorMessage(), QStringLiteral("the disk is full"));
    }

    void aCancelledRegistrationIsNoError()
    {
        build();
        m_loginItem.failure = std::make_exception_ptr(CancellationError());
        awaitValue(m_store->setLaunchAtLogin(true));
        QCOMPARE(m_store->errorMessage(), std::nullopt);
        QCOMPARE(m_changes->count(), 0);
    }

    void onlyALoginItemThatNeedsItIsRepaired()
    {
        m_loginItem.current = LoginItemStatus::Disabled;
        build();
        awaitValue(m_store->repairLaunchAtLogin());
        m_loginItem.current = LoginItemStatus::Enabled;
        awaitValue(m_store->repairLaunchAtLogin());
        QVERIFY(m_loginItem.calls.isEmpty());
        m_loginItem.current = LoginItemStatus::NeedsRepair;
        awaitValue(m_store->repairLaunchAtLogin());
        QCOMPARE(m_loginItem.calls, QStringList{QStringLiteral("register")});
        QVERIFY(m_store->launchAtLoginEnabled());
    }

    void aStatusThatWasChangedElsewhereIsSeenWhenItIsReadAgain()
    {
        build();
        m_loginItem.current = LoginItemStatus::Enabled;
        m_store->reloadLaunchAtLogin();
        QVERIFY(m_store->launchAtLoginEnabled());
        m_store->reloadLaunchAtLogin();
        QCOMPARE(m_changes->count(), 1);
    }

    void operationsThatOutliveTheStoreChangeNothing()
    {
        m_defaults->values[kFailure] = true;
        build();
        const OneShot<> gate;
        m_loginItem.gates.push_back(gate);
        const auto preparing = start(m_store->prepareNotifications());
        const auto toggling = start(m_store->setNotificationsEnabled(true, DeploymentNotificationKind::Success));
        const auto registering = start(m_store->setLaunchAtLogin(true));
        m_changes.reset();
        m_store.reset();
        m_notifier.questions.at(0).resolve(false);
        m_notifier.questions.at(1).resolve(true);
        gate.resolve();
        QVERIFY(preparing->isDone && toggling->isDone && registering->isDone);
        QVERIFY(!preparing->failure && !toggling->failure && !registering->failure);
        QVERIFY(m_defaults->boolean(kFailure));
        QVERIFY(!m_defaults->value(kSuccess));
    }

private:
    void build()
    {
        m_store = std::make_unique<GeneralSettingsStore>(m_defaults.get(), &m_notifier, &m_loginItem);
        m_changes = std::make_unique<QSignalSpy>(m_store.get(), &GeneralSettingsStore::changed);
    }

    void showLoginItemError(const QString &description)
    {
        m_loginItem.failure = failure(description);
        awaitValue(m_store->setLaunchAtLogin(true));
    }

    void failPreparation(const QString &description)
    {
        m_notifier.immediateFailure = failure(description);
        awaitValue(m_store->prepareNotifications());
        m_notifier.immediateFailure = nullptr;
    }

    static void addKinds()
    {
        QTest::addColumn<DeploymentNotificationKind>("kind");
        QTest::addColumn<QString>("key");
        QTest::newRow("failures") << DeploymentNotificationKind::Failure << kFailure;
        QTest::newRow("successes") << DeploymentNotificationKind::Success << kSuccess;
        QTest::newRow("approvals") << DeploymentNotificationKind::Waiting << kWaiting;
    }

    std::unique_ptr<FakePreferences> m_defaults;
    AskedNotifier m_notifier;
    FakeLoginItem m_loginItem;
    std::unique_ptr<GeneralSettingsStore> m_store;
    std::unique_ptr<QSignalSpy> m_changes;
};

VELMORA_TEST(GeneralSettingsStoreTest)
#include "general_settings_store_test.moc"
