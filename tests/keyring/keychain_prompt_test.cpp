// SPDX-License-Identifier: MIT
#include "fake_secret_service.h"

#include "accounts/credential_store_error.h"
#include "accounts/keychain_credential_store.h"
#include "support/await.h"

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

/// Whether the task succeeds; tells why not.
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

    void savingGoesOnOnceThePersonHasUnlocked()
    {
        m_service->secret = kStored;
        m_service->isLocked = true;
        QVERIFY(succeeds(m_store->save(credential("new"), 42, Interaction::Allowed)));
        QCOMPARE(*m_service->secret, QByteArray(R"({"accessToken":"new"})"));
        QCOMPARE(m_service->calls.count(QLatin1String("Prompt")), 1);
    }

    void removingGoesOnOnceThePersonHasUnlocked()
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
        // The person is asked once for each operation, not again and again.
        QCOMPARE(m_service->calls.count(QLatin1String("Prompt")), 2);
    }

    void theFirstKeyringIsMadeWhenThePersonAgrees()
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
        QTest::newRow("locked item") << true << true << true;
        QTest::newRow("locked collection") << false << true << true;
        QTest::newRow("no collection") << false << false << false;
    }
    void theBackgroundNeverAsks()
    {
        QFETCH(bool, hasItem);
        QFETCH(bool, isLocked);
        QFETCH(bool, hasCollection);
        m_service->isLocked = isLocked;
        m_service->hasCollection = hasCollection;
        if (hasItem)
            m_service->secret = kStored;
        const auto locked = status(CredentialStoreError::Locked);
        QVERIFY(await(m_store->save(credential("new"), 42, Interaction::Forbidden)).failedWith(locked));
        if (hasItem) {
            QVERIFY(await(m_store->load(42)).failedWith(locked));
            QVERIFY(await(m_store->remove(42, Interaction::Forbidden)).failedWith(locked));
        } else {
            QVERIFY(!awaitValue(m_store->load(42)));
            QVERIFY(succeeds(m_store->remove(42, Interaction::Forbidden)));
        }
        for (const char *asking : {"Unlock", "Prompt", "CreateCollection", "CreateItem"})
            QVERIFY(!m_service->calls.contains(QLatin1String(asking)));
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
        // The next provider is used as if nothing had happened.
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
    std::unique_ptr<FakeSecretService> m_service;
    std::unique_ptr<KeychainCredentialStore> m_store;
};

QTEST_GUILESS_MAIN(KeychainPromptTest)
#include "keychain_prompt_test.moc"
