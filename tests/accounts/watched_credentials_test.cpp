// SPDX-License-Identifier: MIT
#include "accounts/watched_credentials.h"

#include "accounts/credential_store_error.h"
#include "support/await.h"
#include "support/fake_credential_store.h"
#include "support/task_scope.h"
#include "support/test_main.h"

#include <QSignalSpy>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class WatchedCredentialsTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_store = std::make_shared<FakeCredentialStore>();
        m_watched = std::make_unique<WatchedCredentials>(m_store);
    }

    void aCredentialThatCannotBeReadOrStoredTellsThatTheStoreIsLocked()
    {
        QSignalSpy changes(m_watched.get(), &WatchedCredentials::lockedChanged);
        m_store->loadFailure = locked();
        QVERIFY_THROWS_EXCEPTION(CredentialStoreError, std::ignore = awaitValue(m_watched->load(1)));
        QVERIFY(m_watched->isLocked());
        m_store->loadFailure = nullptr;
        QCOMPARE(awaitValue(m_watched->load(1)), std::nullopt);
        QVERIFY(!m_watched->isLocked());
        m_store->saveFailure = locked();
        QVERIFY_THROWS_EXCEPTION(CredentialStoreError, awaitValue(m_watched->save({}, 1, Interaction::Forbidden)));
        QVERIFY(m_watched->isLocked());
        QCOMPARE(changes.size(), 3);
    }

    void itIsLockedUntilTheCredentialsOfAllAccountsAreWithinReach()
    {
        m_store->loadFailure = locked();
        QVERIFY_THROWS_EXCEPTION(CredentialStoreError, std::ignore = awaitValue(m_watched->load(1)));
        QVERIFY_THROWS_EXCEPTION(CredentialStoreError, std::ignore = awaitValue(m_watched->load(2)));
        awaitValue(m_watched->save({}, 1, Interaction::Forbidden));
        QVERIFY(m_watched->isLocked());
        m_watched->forget(2);
        QVERIFY(!m_watched->isLocked());
    }

    void aDeclinedQuestionIsALockAndOtherFailuresAreNone()
    {
        m_store->loadFailure = failure(CredentialStoreError::NoProvider);
        QVERIFY_THROWS_EXCEPTION(CredentialStoreError, std::ignore = awaitValue(m_watched->load(1)));
        QVERIFY(!m_watched->isLocked());
        m_store->loadFailure = failure(CredentialStoreError::Dismissed);
        QVERIFY_THROWS_EXCEPTION(CredentialStoreError, std::ignore = awaitValue(m_watched->load(1)));
        QVERIFY(m_watched->isLocked());
    }

    void itMayBeAskingWhileAnOperationOfTheUserRuns()
    {
        QSignalSpy changes(m_watched.get(), &WatchedCredentials::askingChanged);
        m_store->isHoldingQuestions = true;
        launch(m_watched->unlock({1}), "Unlocking");
        QVERIFY(m_watched->isAsking());
        launch(m_watched->prepareToSave(), "Preparing");
        m_store->release();
        QVERIFY(m_watched->isAsking());
        m_store->release();
        QVERIFY(waitUntil([&] { return !m_watched->isAsking(); }));
        QCOMPARE(changes.size(), 2);
        m_store->isHoldingQuestions = false;
        awaitValue(m_watched->save({}, 1, Interaction::Forbidden));
        QCOMPARE(changes.size(), 2);
        awaitValue(m_watched->save({}, 1, Interaction::Allowed));
        QCOMPARE(changes.size(), 4);
        m_store->removeFailure = locked();
        QVERIFY_THROWS_EXCEPTION(CredentialStoreError, awaitValue(m_watched->remove(1, Interaction::Allowed)));
        QVERIFY(!m_watched->isAsking());
        QCOMPARE(changes.size(), 6);
        QVERIFY_THROWS_EXCEPTION(CredentialStoreError, awaitValue(m_watched->remove(1, Interaction::Forbidden)));
        QCOMPARE(changes.size(), 6);
    }

private:
    static std::exception_ptr failure(CredentialStoreError::Status status)
    {
        return std::make_exception_ptr(CredentialStoreError::keychain(status));
    }
    static std::exception_ptr locked() { return failure(CredentialStoreError::Locked); }

    std::shared_ptr<FakeCredentialStore> m_store;
    std::unique_ptr<WatchedCredentials> m_watched;
};

VELMORA_TEST(WatchedCredentialsTest)
#include "watched_credentials_test.moc"
