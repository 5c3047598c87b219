// SPDX-License-Identifier: MIT
#include "fake_secret_service.h"

#include "accounts/credential_store_error.h"
#include "accounts/keychain_credential_store.h"
#include "support/await.h"
#include "support/test_main.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

using namespace std::chrono_literals;
using namespace velmora;
using namespace velmora::testing;

namespace
{

const QByteArray kStored = R"({"accessToken":"stored"})";

GitHubCredential credential(const char *token)
{
    GitHubCredential made;
    made.accessToken = QLatin1String(token);
    return made;
}

/// Whether the task succeeds; logs the failure if not.
bool succeeds(QCoro::Task<> task)
{
    const auto outcome = await(std::move(task));
    if (outcome.failure)
        qWarning().noquote() << outcome.description();
    return !outcome.failure;
}

CredentialStoreError status(CredentialStoreError::Status value)
{
    return CredentialStoreError::keychain(value);
}

} // namespace

class KeychainPromptTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_service = std::make_unique<FakeSecretService>();
        QVERIFY(m_service->appear());
        m_store = std::make_unique<KeychainCredentialStore>(QStringLiteral("com.example.velmora.test"));
    }
    void cleanup()
    {
        m_store.reset();
        m_service.reset();
        drainEvents();
    }

    void anUnencryptedProviderWorksAsWell()
    {
        QVERIFY(succeeds(m_store->save(credential("ghu_ü"), 42, Interaction::Forbidden)));
        QVERIFY(awaitValue(m_store->load(42)) == credential("ghu_ü"));
        QVERIFY(succeeds(m_store->remove(42, Interaction::Forbidden)));
        QVERIFY(!m_service->secret);
    }

    void aLoadTakesTwoCalls()
    {
        m_service->secret = kStored;
        std::ignore = awaitValue(m_store->load(42));
        m_service->calls.clear();
        QVERIFY(awaitValue(m_store->load(42)) == credential("stored"));
        QCOMPARE(m_service->calls, (QStringList{QStringLiteral("SearchItems"), QStringLiteral("GetSecrets")}));
    }

    void aSessionThatTheProviderMisreadsIsOpenedAnew()
    {
        m_service->misreadSessions = 2;
        QVERIFY(succeeds(m_store->save(credential("new"), 42, Interaction::Forbidden)));
        KeychainCredentialStore other(QStringLiteral("com.example.velmora.test"));
        m_service->misreadSessions = 2;
        QVERIFY(awaitValue(other.load(42)) == credential("new"));
        QCOMPARE(m_service->misreadSessions, 0);
    }

    void aProviderThatMisreadsEverySessionFails()
    {
        m_service->secret = kStored;
        m_service->misreadSessions = 1000;
        const auto failed = status(CredentialStoreError::Failed);
        QVERIFY(await(m_store->load(42)).failedWith(failed));
        QVERIFY(await(m_store->save(credential("new"), 42, Interaction::Allowed)).failedWith(failed));
        QCOMPARE(*m_service->secret, kStored);
    }

    void savingGoesOnOnceTheUserHasUnlocked()
    {
        m_service->secret = kStored;
        m_service->isLocked = true;
        QVERIFY(succeeds(m_store->save(credential("new"), 42, Interaction::Allowed)));
        QCOMPARE(*m_service->secret, QByteArray(R"({"accessToken":"new"})"));
        QCOMPARE(m_service->calls.count(QLatin1String("Prompt")), 1);
    }

    void removingGoesOnOnceTheUserHasUnlocked()
    {
        m_service->secret = kStored;
        m_service->isLocked = true;
        QVERIFY(succeeds(m_store->remove(42, Interaction::Allowed)));
        QVERIFY(!m_service->secret);
        QCOMPARE(m_service->calls.count(QLatin1String("Prompt")), 1);
    }

    void aDismissedPromptIsAnErrorAndChangesNothing()
    {
        m_service->secret = kStored;
        m_service->isLocked = true;
        m_service->answer = FakeSecretService::Answer::Dismiss;
        const auto dismissed = status(CredentialStoreError::Dismissed);
        QVERIFY(await(m_store->save(credential("new"), 42, Interaction::Allowed)).failedWith(dismissed));
        QVERIFY(await(m_store->remove(42, Interaction::Allowed)).failedWith(dismissed));
        QCOMPARE(*m_service->secret, kStored);
        // One prompt for each operation.
        QCOMPARE(m_service->calls.count(QLatin1String("Prompt")), 2);
    }

    void theFirstKeyringIsMadeWhenTheUserAgrees()
    {
        m_service->hasCollection = false;
        QVERIFY(succeeds(m_store->save(credential("new"), 42, Interaction::Allowed)));
        QCOMPARE(*m_service->secret, QByteArray(R"({"accessToken":"new"})"));
    }

    void decliningTheFirstKeyringIsADismissal()
    {
        m_service->hasCollection = false;
        m_service->answer = FakeSecretService::Answer::Dismiss;
        const auto outcome = await(m_store->save(credential("new"), 42, Interaction::Allowed));
        QVERIFY2(outcome.failedWith(status(CredentialStoreError::Dismissed)), qPrintable(outcome.description()));
    }

    void theBackgroundNeverAsks_data()
    {
        QTest::addColumn<bool>("hasItem");
        QTest::addColumn<bool>("isLocked");
        QTest::addColumn<bool>("hasCollection");
        QTest::addColumn<bool>("isHidden");
        QTest::addColumn<bool>("canBeRemoved");
        QTest::newRow("locked item") << true << true << true << false << false;
        QTest::newRow("hidden item") << true << true << true << true << false;
        QTest::newRow("locked collection") << false << true << true << false << false;
        QTest::newRow("no collection") << false << false << false << false << true;
    }
    void theBackgroundNeverAsks()
    {
        QFETCH(bool, hasItem);
        QFETCH(bool, isLocked);
        QFETCH(bool, hasCollection);
        QFETCH(bool, isHidden);
        QFETCH(bool, canBeRemoved);
        m_service->hidesLockedItems = isHidden;
        m_service->isLocked = isLocked;
        m_service->hasCollection = hasCollection;
        if (hasItem)
            m_service->secret = kStored;
        const auto locked = status(CredentialStoreError::Locked);
        QVERIFY(await(m_store->save(credential("new"), 42, Interaction::Forbidden)).failedWith(locked));
        if (!canBeRemoved) {
            QVERIFY(await(m_store->load(42)).failedWith(locked));
            QVERIFY(await(m_store->remove(42, Interaction::Forbidden)).failedWith(locked));
            QCOMPARE(m_service->secret.has_value(), hasItem);
        } else {
            QVERIFY(!awaitValue(m_store->load(42)));
            QVERIFY(succeeds(m_store->remove(42, Interaction::Forbidden)));
        }
        for (const char *asking : {"Unlock", "Prompt", "CreateCollection", "CreateItem"})
            QVERIFY(!m_service->calls.contains(QLatin1String(asking)));
    }

    void anItemThatWasHiddenIsRemovedOnceTheUserHasUnlocked()
    {
        m_service->secret = kStored;
        m_service->isLocked = true;
        m_service->hidesLockedItems = true;
        QVERIFY(succeeds(m_store->remove(42, Interaction::Allowed)));
        QVERIFY(!m_service->secret);
        QCOMPARE(prompts(), 1);
    }

    void aRequestUnlocksAllAccountsWithOneQuestion_data()
    {
        QTest::addColumn<bool>("isHidden");
        QTest::newRow("items that are shown") << false;
        QTest::newRow("items that are hidden") << true;
    }
    void aRequestUnlocksAllAccountsWithOneQuestion()
    {
        QFETCH(bool, isHidden);
        m_service->secret = kStored;
        m_service->isLocked = true;
        m_service->hidesLockedItems = isHidden;
        QVERIFY(succeeds(m_store->unlock({42, 43})));
        QCOMPARE(prompts(), 1);
        QVERIFY(awaitValue(m_store->load(42)) == credential("stored"));
        QVERIFY(succeeds(m_store->unlock({42, 43})));
        QCOMPARE(prompts(), 1);
    }

    void nothingIsAskedWithoutAnAccount()
    {
        m_service->isLocked = true;
        QVERIFY(succeeds(m_store->unlock({})));
        QVERIFY(m_service->calls.isEmpty());
    }

    void aQuestionThatWasDismissedIsNotAskedAgain()
    {
        m_service->secret = kStored;
        m_service->isLocked = true;
        m_service->answer = FakeSecretService::Answer::Dismiss;
        QVERIFY(await(m_store->unlock({42, 43})).failedWith(status(CredentialStoreError::Dismissed)));
        QCOMPARE(prompts(), 1);
    }

    void theUserIsAskedOneThingAtATime_data()
    {
        QTest::addColumn<bool>("isDismissed");
        QTest::newRow("unlocked") << false;
        QTest::newRow("dismissed") << true;
    }
    void theUserIsAskedOneThingAtATime()
    {
        QFETCH(bool, isDismissed);
        m_service->secret = kStored;
        m_service->isLocked = true;
        m_service->answer = FakeSecretService::Answer::Never;
        const auto first = start(m_store->unlock({42}));
        QVERIFY(waitUntil([&] { return prompts() == 1; }));
        const auto second = start(m_store->unlock({42}));
        const auto third = start(m_store->prepareToSave());
        const auto searches = [this] {
            return m_service->calls.count(QLatin1String("SearchItems"));
        };
        QVERIFY(waitUntil([&] { return searches() >= 2; }));
        // Both have found the collection locked and wait for the open prompt.
        QVERIFY(succeeds(m_store->save(credential("x"), 1, Interaction::Forbidden)) == false);
        QCOMPARE(prompts(), 1);
        m_service->complete(isDismissed);
        QVERIFY(waitUntil([&] { return first->isDone && second->isDone && third->isDone; }));
        QCOMPARE(prompts(), 1);
        for (const auto &request : {first, second, third})
            QCOMPARE(request->failedWith(status(CredentialStoreError::Dismissed)), isDismissed);
        QCOMPARE(m_service->isLocked, isDismissed);
    }

    void theLaterQuestionIsAskedAfterTheEarlier()
    {
        m_service->secret = kStored;
        m_service->isLocked = true;
        m_service->answer = FakeSecretService::Answer::Dismiss;
        QVERIFY(await(m_store->unlock({42})).failedWith(status(CredentialStoreError::Dismissed)));
        m_service->answer = FakeSecretService::Answer::Unlock;
        QVERIFY(succeeds(m_store->unlock({42})));
        QCOMPARE(prompts(), 2);
    }

    void whatACredentialIsStoredInIsOpenedBeforehand_data()
    {
        QTest::addColumn<bool>("hasCollection");
        QTest::addColumn<bool>("isLocked");
        QTest::addColumn<int>("questions");
        QTest::newRow("open") << true << false << 0;
        QTest::newRow("locked") << true << true << 1;
        QTest::newRow("none yet") << false << false << 1;
    }
    void whatACredentialIsStoredInIsOpenedBeforehand()
    {
        QFETCH(bool, hasCollection);
        QFETCH(bool, isLocked);
        QFETCH(int, questions);
        m_service->hasCollection = hasCollection;
        m_service->isLocked = isLocked;
        QVERIFY(succeeds(m_store->prepareToSave()));
        QVERIFY(succeeds(m_store->save(credential("new"), 42, Interaction::Forbidden)));
        QCOMPARE(prompts(), questions);
    }

    void decliningToOpenItIsADismissal_data()
    {
        QTest::addColumn<bool>("hasCollection");
        QTest::newRow("locked") << true;
        QTest::newRow("none yet") << false;
    }
    void decliningToOpenItIsADismissal()
    {
        QFETCH(bool, hasCollection);
        m_service->hasCollection = hasCollection;
        m_service->isLocked = hasCollection;
        m_service->answer = FakeSecretService::Answer::Dismiss;
        const auto outcome = await(m_store->prepareToSave());
        QVERIFY2(outcome.failedWith(status(CredentialStoreError::Dismissed)), qPrintable(outcome.description()));
        QCOMPARE(prompts(), 1);
    }

    void aProviderThatHangsIsNotWaitedForWithoutABound()
    {
        KeychainCredentialStore impatient(QStringLiteral("com.example.velmora.test"), 200ms);
        m_service->secret = kStored;
        m_service->isHeldBack = true;
        const auto notAnswering = status(CredentialStoreError::NotAnswering);
        QVERIFY(await(impatient.load(42)).failedWith(notAnswering));
        QVERIFY(await(impatient.remove(42, Interaction::Forbidden)).failedWith(notAnswering));
        QVERIFY(await(impatient.save(credential("x"), 42, Interaction::Forbidden)).failedWith(notAnswering));
        QVERIFY(await(impatient.unlock({42})).failedWith(notAnswering));
        QVERIFY(await(impatient.prepareToSave()).failedWith(notAnswering));
        m_service->release();
        drainEvents();
        QVERIFY(awaitValue(m_store->load(42)) == credential("stored"));
    }

    void theUserMayTakeLongerThanAProvider()
    {
        KeychainCredentialStore impatient(QStringLiteral("com.example.velmora.test"), 2s);
        m_service->secret = kStored;
        m_service->isLocked = true;
        m_service->answer = FakeSecretService::Answer::Never;
        const auto unlocking = start(impatient.unlock({42}));
        QVERIFY(waitUntil([&] { return prompts() == 1; }));
        QElapsedTimer time;
        time.start();
        QVERIFY(waitUntil([&] { return time.hasExpired(2500); }));
        QVERIFY(!unlocking->isDone);
        m_service->complete(false);
        QVERIFY(waitUntil([&] { return unlocking->isDone; }));
        QVERIFY2(!unlocking->failure, qPrintable(unlocking->description()));
    }

    void aProviderThatEndsDuringThePromptEndsTheWait()
    {
        m_service->secret = kStored;
        m_service->isLocked = true;
        m_service->answer = FakeSecretService::Answer::Never;
        const auto saving = start(m_store->save(credential("new"), 42, Interaction::Allowed));
        QVERIFY(waitUntil([&] { return m_service->calls.contains(QLatin1String("Prompt")); }));
        drainEvents();
        QVERIFY(!saving->isDone);
        m_service->disappear();
        QVERIFY(waitUntil([&] { return saving->isDone; }));
        QVERIFY(saving->failedWith(status(CredentialStoreError::ProviderEnded)));
        // The next provider is used as usual.
        m_service->isLocked = false;
        QVERIFY(m_service->appear());
        QVERIFY(awaitValue(m_store->load(42)) == credential("stored"));
    }

    void aPromptOutlivesTheStore()
    {
        m_service->secret = kStored;
        m_service->isLocked = true;
        m_service->answer = FakeSecretService::Answer::Never;
        const auto removing = start(m_store->remove(42, Interaction::Allowed));
        QVERIFY(waitUntil([&] { return m_service->calls.contains(QLatin1String("Prompt")); }));
        m_store.reset();
        m_service->disappear();
        QVERIFY(waitUntil([&] { return removing->isDone; }));
        QVERIFY(removing->failedWith(status(CredentialStoreError::ProviderEnded)));
    }

    void theEventLoopRunsWhileTheProviderTakesItsTime()
    {
        m_service->secret = kStored;
        m_service->isHeldBack = true;
        int ticks = 0;
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&ticks] { ++ticks; });
        timer.start(10ms);
        const auto loading = start(m_store->load(42));
        QVERIFY(waitUntil([&] { return ticks >= 20; }));
        QVERIFY(!loading->isDone);
        m_service->release();
        QVERIFY(waitUntil([&] { return loading->isDone; }));
        QVERIFY(loading->value == std::optional(std::optional(credential("stored"))));
    }

private:
    [[nodiscard]] int prompts() const { return static_cast<int>(m_service->calls.count(QLatin1String("Prompt"))); }

    std::unique_ptr<FakeSecretService> m_service;
    std::unique_ptr<KeychainCredentialStore> m_store;
};

VELMORA_TEST(KeychainPromptTest)
#include "keychain_prompt_test.moc"
