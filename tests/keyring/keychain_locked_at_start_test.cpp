// SPDX-License-Identifier: MIT
#include "private_keyring.h"

#include "accounts/credential_store_error.h"
#include "accounts/keychain_credential_store.h"
#include "support/await.h"
#include "support/test_main.h"

#include <QTest>

#include <csignal>

using namespace std::chrono_literals;
using namespace velmora;
using namespace velmora::testing;

namespace
{

const CredentialStoreError kLocked = CredentialStoreError::keychain(CredentialStoreError::Locked);
const CredentialStoreError kNotAnswering = CredentialStoreError::keychain(CredentialStoreError::NotAnswering);
const CredentialStoreError kDismissed = CredentialStoreError::keychain(CredentialStoreError::Dismissed);

GitHubCredential credential(const char *token)
{
    GitHubCredential made;
    made.accessToken = QLatin1String(token);
    return made;
}

} // namespace

/// Tests with a keyring that was filled in an earlier session and that the login has not unlocked.
class KeychainLockedAtStartTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        KeychainCredentialStore before(QLatin1String{kTestService});
        awaitValue(before.save(credential("stored"), 42, Interaction::Forbidden));
        awaitValue(before.save(credential("other"), 43, Interaction::Forbidden));
        m_keyring.put("44", "of another program", "default", "org.example.Other");
    }
    void init()
    {
        m_keyring.endProvider();
        m_keyring.startLockedProvider();
        m_store = std::make_unique<KeychainCredentialStore>(QLatin1String{kTestService});
    }

    void whatIsLockedIsNotTakenForMissing()
    {
        QVERIFY(await(m_store->load(42)).failedWith(kLocked));
        QVERIFY(await(m_store->remove(42, Interaction::Forbidden)).failedWith(kLocked));
        QVERIFY(await(m_store->save(credential("new"), 42, Interaction::Forbidden)).failedWith(kLocked));
        QCOMPARE(m_keyring.itemCount("42"), 1);
    }

    void anAccountWithoutAnItemIsLockedAsWell()
    {
        QVERIFY(await(m_store->load(99)).failedWith(kLocked));
        QVERIFY(await(m_store->save(credential("new"), 99, Interaction::Forbidden)).failedWith(kLocked));
        m_keyring.unlock();
        QVERIFY(!awaitValue(m_store->load(99)));
    }

    void everythingIsThereOnceItIsUnlocked()
    {
        QVERIFY(await(m_store->load(42)).failedWith(kLocked));
        m_keyring.unlock();
        QVERIFY(awaitValue(m_store->load(42)) == credential("stored"));
        awaitValue(m_store->save(credential("newer"), 42, Interaction::Forbidden));
        QCOMPARE(m_keyring.itemCount("42"), 1);
        QVERIFY(awaitValue(m_store->load(42)) == credential("newer"));
        awaitValue(m_store->save(credential("stored"), 42, Interaction::Forbidden));
    }

    void anItemOfAnotherProgramIsToldApartOnceItIsUnlocked()
    {
        QVERIFY(await(m_store->load(44)).failedWith(kLocked));
        m_keyring.unlock();
        QVERIFY(!awaitValue(m_store->load(44)));
        awaitValue(m_store->remove(44, Interaction::Forbidden));
        QCOMPARE(m_keyring.itemCount("44"), 1);
    }

    void aQuestionThatCannotBeShownCountsAsDismissed()
    {
        QVERIFY(await(m_store->remove(42, Interaction::Allowed)).failedWith(kDismissed));
        QVERIFY(await(m_store->unlock({42, 43})).failedWith(kDismissed));
        QVERIFY(await(m_store->prepareToSave()).failedWith(kDismissed));
        QCOMPARE(m_keyring.itemCount("42"), 1);
        QCOMPARE(m_keyring.itemCount("43"), 1);
    }

    void nothingIsAskedOnceItIsUnlocked()
    {
        m_keyring.unlock();
        // A prompt cannot be shown on this bus and would fail.
        awaitValue(m_store->unlock({42, 43, 99}));
        awaitValue(m_store->prepareToSave());
        awaitValue(m_store->remove(43, Interaction::Allowed));
        QCOMPARE(m_keyring.itemCount("43"), 0);
    }

    void oneThatHangsIsNotWaitedForWithoutABound()
    {
        m_keyring.unlock();
        KeychainCredentialStore impatient(QLatin1String{kTestService}, 500ms);
        ::kill(m_keyring.providerPID(), SIGSTOP);
        const auto loading = await(impatient.load(42));
        const auto saving = await(impatient.save(credential("lost"), 42, Interaction::Forbidden));
        const auto unlocking = await(impatient.unlock({42}));
        const auto removing = await(impatient.remove(42, Interaction::Allowed));
        ::kill(m_keyring.providerPID(), SIGCONT);
        for (const auto *const outcome : {&saving, &unlocking, &removing})
            QVERIFY(outcome->failedWith(kNotAnswering));
        QVERIFY(loading.failedWith(kNotAnswering));
    }

private:
    PrivateKeyring m_keyring;
    std::unique_ptr<KeychainCredentialStore> m_store;
};

VELMORA_TEST(KeychainLockedAtStartTest)
#include "keychain_locked_at_start_test.moc"
