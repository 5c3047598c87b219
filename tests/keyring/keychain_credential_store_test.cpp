// SPDX-License-Identifier: MIT
#include "private_keyring.h"

#include "accounts/credential_store_error.h"
#include "accounts/keychain_credential_store.h"
#include "accounts/login_origin.h"
#include "support/await.h"
#include "support/test_main.h"

#include <QTest>

#include <csignal>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const CredentialStoreError kLocked = CredentialStoreError::keychain(CredentialStoreError::Locked);
const CredentialStoreError kEnded = CredentialStoreError::keychain(CredentialStoreError::ProviderEnded);

GitHubCredential credential(const QString &token)
{
    GitHubCredential made;
    made.accessToken = token;
    return made;
}

GitHubCredential fullCredential()
{
    GitHubCredential made = credential(QStringLiteral("ghu_gültig ✓ \"\\ 鍵"));
    made.expiresAt = instantFromReferenceDate(799'200'000.25);
    made.refreshToken = QStringLiteral("ghr_erneuern");
    made.refreshTokenExpiresAt = instantFromReferenceDate(815'097'600.0);
    return made;
}

} // namespace

class KeychainCredentialStoreTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aCredentialComesBackAsItWasSaved();
    void theSecretIsOneLineOfJSON();
    void aSecondSaveReplacesTheFirst();
    void aSaveRemovesCopiesInOtherCollections();
    void accounts42And420NeverCollide();
    void equalIdsOfTwoHostsNeverCollide();
    void anAccountThatWasNeverSavedLoadsNothing();
    void anAccountThatWasNeverSavedIsRemovedWithoutAnError();
    void aRemovedCredentialIsGone();
    void itemsOfOtherSchemasAreLeftAlone();
    void anItemThatCannotBeDecodedFailsAndStays();
    void anItemWithoutDataIsInvalid();
    void aLockedKeyringFailsAtOnceAndKeepsItsItems();
    void nothingIsSavedIntoALockedKeyringWithoutAQuestion();
    void anUnlockedKeyringWorksAgain();
    void aPromptThatCannotBeShownCountsAsDismissed();
    void operationsMayOverlap();
    void anOperationOutlivesItsStore();
    void aRestartedProviderIsFound();
    void aProviderThatIsReplacedUnnoticedIsFound();
    void aProviderThatEndsDuringAnOperationEndsIt();

private:
    void save(const GitHubCredential &credential, qint64 account)
    {
        awaitValue(m_store->save(credential, account, Interaction::Forbidden));
    }
    std::optional<GitHubCredential> load(qint64 account) { return awaitValue(m_store->load(account)); }

    PrivateKeyring m_keyring;
    std::unique_ptr<KeychainCredentialStore> m_store;
};

void KeychainCredentialStoreTest::init()
{
    if (!m_keyring.hasProvider())
        m_keyring.startProvider();
    m_store = std::make_unique<KeychainCredentialStore>(QLatin1String(kTestService));
}

void KeychainCredentialStoreTest::cleanup()
{
    if (!m_keyring.hasProvider())
        m_keyring.startProvider();
    m_keyring.unlock();
    for (const qint64 account : {1, 2, 3, 42, 420})
        awaitValue(m_store->remove(account, Interaction::Forbidden));
    m_store.reset();
}

void KeychainCredentialStoreTest::aCredentialComesBackAsItWasSaved()
{
    save(fullCredential(), 42);
    QVERIFY(load(42) == fullCredential());
    save(credential(QStringLiteral("only")), 1);
    QVERIFY(load(1) == credential(QStringLiteral("only")));
}

void KeychainCredentialStoreTest::theSecretIsOneLineOfJSON()
{
    save(credential(QStringLiteral("ghu_one")), 42);
    QCOMPARE(m_keyring.secret("42"), QByteArray(R"({"accessToken":"ghu_one"})"));
}

void KeychainCredentialStoreTest::aSecondSaveReplacesTheFirst()
{
    save(fullCredential(), 42);
    save(credential(QStringLiteral("second")), 42);
    QCOMPARE(m_keyring.itemCount("42"), 1);
    QCOMPARE(m_keyring.secret("42"), QByteArray(R"({"accessToken":"second"})"));
    QVERIFY(load(42) == credential(QStringLiteral("second")));
}

void KeychainCredentialStoreTest::aSaveRemovesCopiesInOtherCollections()
{
    m_keyring.put("42", R"({"accessToken":"old"})", "session");
    m_keyring.put("42", R"({"accessToken":"older"})");
    QCOMPARE(m_keyring.itemCount("42"), 2);
    save(credential(QStringLiteral("new")), 42);
    QCOMPARE(m_keyring.itemCount("42"), 1);
    QVERIFY(load(42) == credential(QStringLiteral("new")));
}

void KeychainCredentialStoreTest::accounts42And420NeverCollide()
{
    save(credential(QStringLiteral("short")), 42);
    save(credential(QStringLiteral("long")), 420);
    QCOMPARE(m_keyring.itemCount("42"), 1);
    QCOMPARE(m_keyring.itemCount("420"), 1);
    awaitValue(m_store->remove(42, Interaction::Forbidden));
    QVERIFY(!load(42));
    QVERIFY(load(420) == credential(QStringLiteral("long")));
}

void KeychainCredentialStoreTest::equalIdsOfTwoHostsNeverCollide()
{
    KeychainCredentialStore gitHub(LoginOrigin::gitHub().keychainService());
    KeychainCredentialStore server(
        LoginOrigin(QUrl(QStringLiteral("https://ghe.example.com/login"))).keychainService());
    awaitValue(gitHub.save(credential(QStringLiteral("github")), 42, Interaction::Forbidden));
    QVERIFY(!awaitValue(server.load(42)));
    awaitValue(server.save(credential(QStringLiteral("server")), 42, Interaction::Forbidden));
    QVERIFY(awaitValue(gitHub.load(42)) == credential(QStringLiteral("github")));
    QVERIFY(awaitValue(server.load(42)) == credential(QStringLiteral("server")));
    awaitValue(server.remove(42, Interaction::Forbidden));
    QVERIFY(!awaitValue(server.load(42)));
    QVERIFY(awaitValue(gitHub.load(42)) == credential(QStringLiteral("github")));
    awaitValue(gitHub.remove(42, Interaction::Forbidden));
}

void KeychainCredentialStoreTest::anAccountThatWasNeverSavedLoadsNothing()
{
    QVERIFY(!load(3));
}

void KeychainCredentialStoreTest::anAccountThatWasNeverSavedIsRemovedWithoutAnError()
{
    const auto outcome = await(m_store->remove(3, Interaction::Forbidden));
    QVERIFY2(!outcome.failure, qPrintable(outcome.description()));
}

void KeychainCredentialStoreTest::aRemovedCredentialIsGone()
{
    save(fullCredential(), 42);
    awaitValue(m_store->remove(42, Interaction::Forbidden));
    QCOMPARE(m_keyring.itemCount("42"), 0);
    QVERIFY(!load(42));
}

void KeychainCredentialStoreTest::itemsOfOtherSchemasAreLeftAlone()
{
    m_keyring.put("2", "of another program", "default", "org.example.Other");
    QVERIFY(!load(2));
    save(fullCredential(), 2);
    awaitValue(m_store->remove(2, Interaction::Forbidden));
    QCOMPARE(m_keyring.itemCount("2"), 1);
    QCOMPARE(m_keyring.secret("2"), QByteArray("of another program"));
}

void KeychainCredentialStoreTest::anItemThatCannotBeDecodedFailsAndStays()
{
    m_keyring.put("42", "not a credential");
    QVERIFY(await(m_store->load(42)).failedWithType<DecodingError>());
    m_keyring.put("42", R"({"refreshToken":"without an access token"})");
    QVERIFY(await(m_store->load(42)).failedWithType<DecodingError>());
    QCOMPARE(m_keyring.itemCount("42"), 1);
}

void KeychainCredentialStoreTest::anItemWithoutDataIsInvalid()
{
    m_keyring.put("42", "");
    QVERIFY(await(m_store->load(42)).failedWith(CredentialStoreError::invalidData()));
    QCOMPARE(m_keyring.itemCount("42"), 1);
}

void KeychainCredentialStoreTest::aLockedKeyringFailsAtOnceAndKeepsItsItems()
{
    save(fullCredential(), 42);
    m_keyring.lock();
    QVERIFY(await(m_store->load(42)).failedWith(kLocked));
    QVERIFY(await(m_store->remove(42, Interaction::Forbidden)).failedWith(kLocked));
    QCOMPARE(m_keyring.itemCount("42"), 1);
}

void KeychainCredentialStoreTest::nothingIsSavedIntoALockedKeyringWithoutAQuestion()
{
    save(fullCredential(), 42);
    m_keyring.lock();
    const auto replaced = await(m_store->save(credential(QStringLiteral("x")), 42, Interaction::Forbidden));
    QVERIFY(replaced.failedWith(kLocked));
    const auto added = await(m_store->save(credential(QStringLiteral("x")), 1, Interaction::Forbidden));
    QVERIFY(added.failedWith(kLocked));
    m_keyring.unlock();
    QCOMPARE(m_keyring.itemCount("1"), 0);
    QVERIFY(load(42) == fullCredential());
}

void KeychainCredentialStoreTest::anUnlockedKeyringWorksAgain()
{
    save(fullCredential(), 42);
    m_keyring.lock();
    QVERIFY(await(m_store->load(42)).failedWith(kLocked));
    m_keyring.unlock();
    QVERIFY(load(42) == fullCredential());
    save(credential(QStringLiteral("again")), 42);
    QVERIFY(load(42) == credential(QStringLiteral("again")));
}

void KeychainCredentialStoreTest::aPromptThatCannotBeShownCountsAsDismissed()
{
    save(fullCredential(), 42);
    m_keyring.lock();
    const auto dismissed = CredentialStoreError::keychain(CredentialStoreError::Dismissed);
    QVERIFY(await(m_store->remove(42, Interaction::Allowed)).failedWith(dismissed));
    const auto replaced = await(m_store->save(credential(QStringLiteral("x")), 42, Interaction::Allowed));
    QVERIFY(replaced.failedWith(dismissed));
    const auto added = await(m_store->save(credential(QStringLiteral("x")), 1, Interaction::Allowed));
    QVERIFY(added.failedWith(dismissed));
    QCOMPARE(m_keyring.itemCount("42"), 1);
}

void KeychainCredentialStoreTest::operationsMayOverlap()
{
    QList<std::shared_ptr<Outcome<void>>> saves;
    for (const qint64 account : {1, 2, 3, 42, 420})
        saves.append(start(m_store->save(credential(QString::number(account)), account, Interaction::Forbidden)));
    for (const auto &saved : saves) {
        QVERIFY(waitUntil([&] { return saved->isDone; }));
        QVERIFY2(!saved->failure, qPrintable(saved->description()));
    }
    for (const qint64 account : {1, 2, 3, 42, 420})
        QVERIFY(load(account) == credential(QString::number(account)));
}

void KeychainCredentialStoreTest::anOperationOutlivesItsStore()
{
    auto shortLived = std::make_unique<KeychainCredentialStore>(QLatin1String(kTestService));
    const auto saved = start(shortLived->save(fullCredential(), 42, Interaction::Forbidden));
    QVERIFY(!saved->isDone);
    shortLived.reset();
    QVERIFY(waitUntil([&] { return saved->isDone; }));
    QVERIFY2(!saved->failure, qPrintable(saved->description()));
    QVERIFY(load(42) == fullCredential());
}

void KeychainCredentialStoreTest::aRestartedProviderIsFound()
{
    save(fullCredential(), 42);
    m_keyring.endProvider();
    const auto none = CredentialStoreError::keychain(CredentialStoreError::NoProvider);
    QVERIFY(await(m_store->load(42)).failedWith(none));
    m_keyring.startProvider();
    QVERIFY(load(42) == fullCredential());
}

void KeychainCredentialStoreTest::aProviderThatIsReplacedUnnoticedIsFound()
{
    save(fullCredential(), 42);
    // The event loop does not run in between, so the store learns of both only in its next operation.
    m_keyring.endProvider();
    m_keyring.startProvider();
    QVERIFY(load(42) == fullCredential());
    save(credential(QStringLiteral("after")), 42);
    QCOMPARE(m_keyring.itemCount("42"), 1);
}

void KeychainCredentialStoreTest::aProviderThatEndsDuringAnOperationEndsIt()
{
    save(fullCredential(), 42);
    const pid_t provider = m_keyring.providerPID();
    ::kill(provider, SIGSTOP);
    const auto loading = start(m_store->load(42));
    const auto saving = start(m_store->save(credential(QStringLiteral("x")), 42, Interaction::Forbidden));
    const auto removing = start(m_store->remove(42, Interaction::Forbidden));
    QTest::qWait(50);
    QVERIFY(!loading->isDone && !saving->isDone && !removing->isDone);
    ::kill(provider, SIGKILL);
    QVERIFY(waitUntil([&] { return loading->isDone && saving->isDone && removing->isDone; }));
    QVERIFY(loading->failedWith(kEnded));
    QVERIFY(saving->failedWith(kEnded));
    QVERIFY(removing->failedWith(kEnded));
    m_keyring.startProvider();
    QVERIFY(load(42) == fullCredential());
}

VELMORA_TEST(KeychainCredentialStoreTest)
#include "keychain_credential_store_test.moc"
