// SPDX-License-Identifier: MIT
#include "private_database.h"

#include "accounts/credential_store_error.h"
#include "accounts/keychain_credential_store.h"
#include "support/await.h"
#include "support/test_main.h"

#include <QElapsedTimer>
#include <QTest>

#include <csignal>

using namespace std::chrono_literals;
using namespace velmora;
using namespace velmora::testing;

namespace
{

const CredentialStoreError kLocked = CredentialStoreError::keychain(CredentialStoreError::Locked);
const CredentialStoreError kDismissed = CredentialStoreError::keychain(CredentialStoreError::Dismissed);
const CredentialStoreError kNotAnswering = CredentialStoreError::keychain(CredentialStoreError::NotAnswering);

GitHubCredential credential(const char *token)
{
    GitHubCredential made;
    made.accessToken = QLatin1String(token);
    return made;
}

} // namespace

/// Tests with the real KeePassXC, which hides the items of a locked database.
class KeychainWithKeePassXCTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_database.start();
        m_store = std::make_unique<KeychainCredentialStore>(QStringLiteral("com.example.velmora.test"));
        awaitValue(m_store->prepareToSave());
        awaitValue(m_store->save(credential("first"), 42, Interaction::Allowed));
    }

    void anOpenDatabaseHoldsCredentials()
    {
        QVERIFY(awaitValue(m_store->load(42)) == credential("first"));
        awaitValue(m_store->save(credential("second"), 42, Interaction::Forbidden));
        QVERIFY(awaitValue(m_store->load(42)) == credential("second"));
        QVERIFY(!awaitValue(m_store->load(43)));
        awaitValue(m_store->remove(43, Interaction::Forbidden));
    }

    void aDatabaseThatIsLockedWhileRunningIsNotTakenForEmpty()
    {
        m_database.lock();
        verifyLocked();
    }

    void aDismissedQuestionIsAskedOnceAndKeepsTheCredential()
    {
        const auto removing = start(m_store->remove(42, Interaction::Allowed));
        const auto unlocking = start(m_store->unlock({42, 43}));
        QVERIFY(answer([this] { m_database.dismiss(); }, removing, unlocking));
        QVERIFY(removing->failedWith(kDismissed));
        QVERIFY(unlocking->failedWith(kDismissed));
        QVERIFY(!m_database.isAsking());
        verifyLocked();
    }

    void theUserUnlocksItOnRequest()
    {
        const auto unlocking = start(m_store->unlock({42, 43}));
        QVERIFY(answer([this] { m_database.typePassword(); }, unlocking));
        QVERIFY2(!unlocking->failure, qPrintable(unlocking->description()));
        QVERIFY(awaitValue(m_store->load(42)) == credential("second"));
        awaitValue(m_store->unlock({42, 43}));
    }

    void aDatabaseThatIsLockedAfterARestartIsNotTakenForEmpty()
    {
        m_database.startLocked();
        verifyLocked();
        const auto preparing = start(m_store->prepareToSave());
        QVERIFY(answer([this] { m_database.typePassword(); }, preparing));
        QVERIFY2(!preparing->failure, qPrintable(preparing->description()));
        awaitValue(m_store->unlock({42}));
        QVERIFY(awaitValue(m_store->load(42)) == credential("second"));
    }

    void aProgramThatHangsIsNotWaitedForWithoutABound()
    {
        KeychainCredentialStore impatient(QStringLiteral("com.example.velmora.test"), 500ms);
        ::kill(m_database.pid(), SIGSTOP);
        const auto loading = await(impatient.load(42));
        const auto unlocking = await(impatient.unlock({42}));
        const auto removing = await(impatient.remove(42, Interaction::Allowed));
        ::kill(m_database.pid(), SIGCONT);
        QVERIFY(loading.failedWith(kNotAnswering));
        QVERIFY(unlocking.failedWith(kNotAnswering));
        QVERIFY(removing.failedWith(kNotAnswering));
        QVERIFY(awaitValue(m_store->load(42)) == credential("second"));
    }

    void aRemovedCredentialIsGone()
    {
        awaitValue(m_store->remove(42, Interaction::Allowed));
        QVERIFY(!awaitValue(m_store->load(42)));
    }

private:
    void verifyLocked()
    {
        QVERIFY(await(m_store->load(42)).failedWith(kLocked));
        QVERIFY(await(m_store->remove(42, Interaction::Forbidden)).failedWith(kLocked));
        QVERIFY(await(m_store->save(credential("lost"), 42, Interaction::Forbidden)).failedWith(kLocked));
        QVERIFY(!m_database.isAsking());
    }

    /// Repeats the answer until all requests have ended: keys that arrive before the dialog listens are lost.
    template <typename Answer, typename... Requests>
    bool answer(Answer give, const Requests &...requests)
    {
        QElapsedTimer watchdog;
        watchdog.start();
        while (!watchdog.hasExpired(30'000)) {
            if (waitUntil([&] { return (requests->isDone && ...); }, 300))
                return true;
            give();
        }
        return false;
    }

    PrivateDatabase m_database;
    std::unique_ptr<KeychainCredentialStore> m_store;
};

VELMORA_TEST(KeychainWithKeePassXCTest)
#include "keychain_with_keepassxc_test.moc"
