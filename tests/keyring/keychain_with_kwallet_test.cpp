// SPDX-License-Identifier: MIT
#include "private_wallet.h"

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

/// Tests with the real KWallet, whose Secret Service treats a wallet as locked unless it was opened through the
/// service.
class KeychainWithKWalletTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_wallet.start();
        m_store = std::make_unique<KeychainCredentialStore>(QStringLiteral("com.example.velmora.test"));
    }

    void aWalletThatTheLoginHasOpenedTakesCredentialsWithoutAQuestion()
    {
        const auto preparing = await(m_store->prepareToSave());
        QVERIFY2(!preparing.failure, qPrintable(preparing.description()));
        const auto saving = await(m_store->save(credential("first"), 42, Interaction::Allowed));
        QVERIFY2(!saving.failure, qPrintable(saving.description()));
        QVERIFY(!m_wallet.isAsking());
    }

    void anOpenWalletHoldsCredentials()
    {
        QVERIFY(awaitValue(m_store->load(42)) == credential("first"));
        awaitValue(m_store->save(credential("second"), 42, Interaction::Forbidden));
        QVERIFY(awaitValue(m_store->load(42)) == credential("second"));
        awaitValue(m_store->save(credential("other"), 43, Interaction::Forbidden));
        QVERIFY(awaitValue(m_store->load(43)) == credential("other"));
        QVERIFY(!awaitValue(m_store->load(44)));
        awaitValue(m_store->remove(44, Interaction::Forbidden));
    }

    void aWalletThatIsLockedWhileRunningIsNotTakenForEmpty()
    {
        m_wallet.lock();
        verifyLocked(*m_store);
    }

    void aDismissedQuestionIsAskedOnceAndKeepsTheCredentials()
    {
        const auto removing = start(m_store->remove(42, Interaction::Allowed));
        const auto unlocking = start(m_store->unlock({42, 43}));
        QVERIFY(answer([this] { m_wallet.dismiss(); }, removing, unlocking));
        QVERIFY(removing->failedWith(kDismissed));
        QVERIFY(unlocking->failedWith(kDismissed));
        QVERIFY(!m_wallet.isAsking());
        verifyLocked(*m_store);
    }

    void theUserUnlocksItOnRequest()
    {
        const auto unlocking = start(m_store->unlock({42, 43}));
        QVERIFY(answer([this] { m_wallet.typePassword(); }, unlocking));
        QVERIFY2(!unlocking->failure, qPrintable(unlocking->description()));
        QVERIFY(awaitValue(m_store->load(42)) == credential("second"));
        QVERIFY(awaitValue(m_store->load(43)) == credential("other"));
        awaitValue(m_store->unlock({42, 43}));
        m_wallet.lock();
    }

    void aWalletThatTheLoginHasNotOpenedIsNotTakenForEmpty()
    {
        m_wallet.startLocked();
        verifyLocked(*m_store);
        const auto preparing = start(m_store->prepareToSave());
        QVERIFY(answer([this] { m_wallet.typePassword(); }, preparing));
        QVERIFY2(!preparing->failure, qPrintable(preparing->description()));
        awaitValue(m_store->unlock({42}));
        QVERIFY(awaitValue(m_store->load(42)) == credential("second"));
        m_wallet.lock();
    }

    void aWalletThatTheLoginHasOpenedIsReadWithoutAQuestion()
    {
        m_wallet.start();
        QVERIFY(awaitValue(m_store->load(42)) == credential("second"));
        QVERIFY(!awaitValue(m_store->load(44)));
        QVERIFY(!m_wallet.isAsking());
        m_wallet.lock();
    }

    void aWalletThatTheLoginHasOpenedTakesRenewedCredentialsWithoutAQuestion()
    {
        m_wallet.start();
        const auto saving = start(m_store->save(credential("third"), 42, Interaction::Forbidden));
        const auto loading = start(m_store->load(43));
        QVERIFY(waitUntil([&] { return saving->isDone && loading->isDone; }));
        QVERIFY2(!saving->failure, qPrintable(saving->description()));
        QVERIFY2(!loading->failure, qPrintable(loading->description()));
        QVERIFY(*loading->value == credential("other"));
        QVERIFY(awaitValue(m_store->load(42)) == credential("third"));
        m_wallet.lock();
    }

    void aUserWhoWantsToBeAskedAboutEachProgramIsAskedOnce()
    {
        m_wallet.setAsksAboutPrograms(true);
        m_wallet.start();
        KeychainCredentialStore patient(QStringLiteral("com.example.velmora.test"), 60s);
        const auto loading = start(patient.load(42));
        QVERIFY(answer([this] { m_wallet.dismiss(); }, loading));
        QVERIFY(loading->failedWith(kLocked));
        verifyLocked(patient);
        m_wallet.setAsksAboutPrograms(false);
        m_wallet.start();
        QVERIFY(awaitValue(patient.load(42)) == credential("third"));
        m_wallet.lock();
    }

    void nothingIsOpenedBesideAQuestion()
    {
        m_wallet.setAsksAboutPrograms(true);
        m_wallet.start();
        KeychainCredentialStore patient(QStringLiteral("com.example.velmora.test"), 60s);
        const auto unlocking = start(patient.unlock({42}));
        QVERIFY(waitUntil([this] { return m_wallet.isAsking(); }));
        verifyIsLocked(patient);
        QVERIFY(!unlocking->isDone);
        QVERIFY(answer([this] { m_wallet.dismiss(); }, unlocking));
        QVERIFY(unlocking->failedWith(kDismissed));
        m_wallet.setAsksAboutPrograms(false);
    }

    void aUserWhoDoesNotAnswerIsNotAskedAgainEither()
    {
        m_wallet.setAsksAboutPrograms(true);
        m_wallet.start();
        KeychainCredentialStore store(QStringLiteral("com.example.velmora.test"), 3s);
        QVERIFY(await(store.load(42)).failedWith(kNotAnswering));
        QVERIFY(waitUntil([this] {
            m_wallet.dismiss();
            return !m_wallet.isAsking();
        }));
        verifyLocked(store);
        m_wallet.setAsksAboutPrograms(false);
        m_wallet.start();
        awaitValue(m_store->unlock({42}));
    }

    void aProgramThatHangsIsNotWaitedForWithoutABound()
    {
        KeychainCredentialStore impatient(QStringLiteral("com.example.velmora.test"), 500ms);
        ::kill(m_wallet.pid(), SIGSTOP);
        const auto loading = await(impatient.load(42));
        const auto unlocking = await(impatient.unlock({42}));
        const auto removing = await(impatient.remove(42, Interaction::Allowed));
        ::kill(m_wallet.pid(), SIGCONT);
        QVERIFY(loading.failedWith(kNotAnswering));
        QVERIFY(unlocking.failedWith(kNotAnswering));
        QVERIFY(removing.failedWith(kNotAnswering));
        QVERIFY(awaitValue(m_store->load(42)) == credential("third"));
    }

    void aRemovedCredentialIsGone()
    {
        awaitValue(m_store->remove(42, Interaction::Allowed));
        QVERIFY(!awaitValue(m_store->load(42)));
        QVERIFY(awaitValue(m_store->load(43)) == credential("other"));
    }

private:
    void verifyIsLocked(KeychainCredentialStore &store)
    {
        QVERIFY(await(store.load(42)).failedWith(kLocked));
        QVERIFY(await(store.remove(42, Interaction::Forbidden)).failedWith(kLocked));
        QVERIFY(await(store.save(credential("lost"), 42, Interaction::Forbidden)).failedWith(kLocked));
    }

    void verifyLocked(KeychainCredentialStore &store)
    {
        verifyIsLocked(store);
        QVERIFY(!m_wallet.isAsking());
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

    PrivateWallet m_wallet;
    std::unique_ptr<KeychainCredentialStore> m_store;
};

VELMORA_TEST(KeychainWithKWalletTest)
#include "keychain_with_kwallet_test.moc"
