// SPDX-License-Identifier: MIT
#include "accounts/origin_credentials.h"

#include "accounts/credential_store_error.h"
#include "accounts/earlier_profile.h"
#include "support/await.h"
#include "support/error.h"
#include "support/fake_credential_store.h"
#include "support/fake_preferences.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const LoginOrigin kServer{QUrl(QStringLiteral("https://ghe.example.com/login"))};
const LoginOrigin kOther{QUrl(QStringLiteral("https://other.example.com/login"))};
const CredentialStoreError kLocked = CredentialStoreError::keychain(CredentialStoreError::Locked);

GitHubCredential credential(const char *token)
{
    GitHubCredential made;
    made.accessToken = QString::fromUtf8(token);
    return made;
}

} // namespace

/// Services in memory. The accounts of earlier versions, number 7 among them, belong to a server.
class OriginCredentialsTest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<FakePreferences> m_preferences;
    QMap<QString, std::shared_ptr<FakeCredentialStore>> m_services;

    std::shared_ptr<CredentialStoring> storeOf(const LoginOrigin &origin)
    {
        return credentialStoreOf(origin, m_preferences.get(), [this](const QString &service) { return open(service); });
    }
    std::shared_ptr<FakeCredentialStore> open(const QString &service)
    {
        auto &store = m_services[service];
        if (!store)
            store = std::make_shared<FakeCredentialStore>();
        return store;
    }
    QList<qint64> unlockedIn(const LoginOrigin &origin)
    {
        QList<qint64> all;
        for (const auto &accountIDs : std::as_const(serviceOf(origin).unlocked))
            all.append(accountIDs);
        return all;
    }
    FakeCredentialStore &serviceOf(const LoginOrigin &origin) { return *open(origin.keychainService()); }

    static QString tokenIn(CredentialStoring &store, qint64 accountID)
    {
        const auto found = awaitValue(store.load(accountID));
        return found ? found->accessToken : QString();
    }
    static void save(CredentialStoring &store, const char *token, qint64 accountID)
    {
        awaitValue(store.save(credential(token), accountID, Interaction::Forbidden));
    }

private Q_SLOTS:
    void init()
    {
        m_services.clear();
        m_preferences = std::make_unique<FakePreferences>();
        m_preferences->values.insert(
            QStringLiteral("github.accounts"), QByteArray(R"([{"id":7,"login":"mona"},{"id":8,"login":"lisa"}])"));
        fileEarlierProfile(m_preferences.get(), QString(), kServer);
        serviceOf(LoginOrigin::gitHub()).credentials = {{7, credential("mona")}, {8, credential("lisa")}};
    }

    void equalIdsOfTwoHostsStayApart()
    {
        m_preferences = std::make_unique<FakePreferences>();
        m_services.clear();
        const auto gitHub = storeOf(LoginOrigin::gitHub());
        const auto server = storeOf(kServer);
        save(*gitHub, "github", 7);
        QCOMPARE(tokenIn(*server, 7), QString());
        save(*server, "server", 7);
        QCOMPARE(tokenIn(*gitHub, 7), QStringLiteral("github"));
        QCOMPARE(tokenIn(*server, 7), QStringLiteral("server"));
        awaitValue(server->remove(7, Interaction::Forbidden));
        QCOMPARE(tokenIn(*gitHub, 7), QStringLiteral("github"));
    }

    void theOwnerFindsWhatStandsUnderThePlainName()
    {
        const auto server = storeOf(kServer);
        QCOMPARE(tokenIn(*server, 7), QStringLiteral("mona"));
        QCOMPARE(tokenIn(*server, 9), QString());
        QCOMPARE(serviceOf(LoginOrigin::gitHub()).credentials.size(), 2);
    }

    void neitherGitHubNorAThirdHostFindsIt()
    {
        const auto gitHub = storeOf(LoginOrigin::gitHub());
        QCOMPARE(tokenIn(*gitHub, 7), QString());
        awaitValue(gitHub->remove(7, Interaction::Allowed));
        QCOMPARE(tokenIn(*storeOf(kOther), 7), QString());
        QCOMPARE(tokenIn(*storeOf(kServer), 7), QStringLiteral("mona"));
    }

    void aRenewedCredentialLeavesThePlainName()
    {
        const auto server = storeOf(kServer);
        save(*server, "renewed", 7);
        QCOMPARE(tokenIn(*server, 7), QStringLiteral("renewed"));
        QVERIFY(!serviceOf(LoginOrigin::gitHub()).credentials.contains(7));
        QVERIFY(!isTokenInherited(*m_preferences, 7));
        QVERIFY(isTokenInherited(*m_preferences, 8));
        // From now on the entry in this place belongs to github.com.
        const auto gitHub = storeOf(LoginOrigin::gitHub());
        save(*gitHub, "github", 7);
        QCOMPARE(tokenIn(*gitHub, 7), QStringLiteral("github"));
        awaitValue(server->remove(7, Interaction::Forbidden));
        QCOMPARE(tokenIn(*gitHub, 7), QStringLiteral("github"));
    }

    void aReplacedCredentialThatStaysIsNotUsedAgain()
    {
        const auto server = storeOf(kServer);
        serviceOf(LoginOrigin::gitHub()).removeFailure = std::make_exception_ptr(kLocked);
        save(*server, "renewed", 7);
        QCOMPARE(tokenIn(*server, 7), QStringLiteral("renewed"));
        QVERIFY(isTokenInherited(*m_preferences, 7));
        serviceOf(LoginOrigin::gitHub()).removeFailure = nullptr;
        save(*server, "renewed again", 7);
        QVERIFY(!serviceOf(LoginOrigin::gitHub()).credentials.contains(7));
        QVERIFY(!isTokenInherited(*m_preferences, 7));
    }

    void aCredentialThatCannotBeStoredChangesNothing()
    {
        const auto server = storeOf(kServer);
        serviceOf(kServer).saveFailure = std::make_exception_ptr(kLocked);
        QVERIFY(await(server->save(credential("renewed"), 7, Interaction::Forbidden)).failedWith(kLocked));
        QCOMPARE(tokenIn(*server, 7), QStringLiteral("mona"));
    }

    void theOwnerRemovesItWhereItStands()
    {
        const auto server = storeOf(kServer);
        awaitValue(server->remove(7, Interaction::Forbidden));
        QVERIFY(!serviceOf(LoginOrigin::gitHub()).credentials.contains(7));
        QVERIFY(!isTokenInherited(*m_preferences, 7));
        QCOMPARE(tokenIn(*server, 8), QStringLiteral("lisa"));
    }

    void aRemovalThatFailsIsToldAndCanBeRepeated()
    {
        const auto server = storeOf(kServer);
        serviceOf(LoginOrigin::gitHub()).removeFailure = std::make_exception_ptr(kLocked);
        QVERIFY(await(server->remove(7, Interaction::Forbidden)).failedWith(kLocked));
        QVERIFY(isTokenInherited(*m_preferences, 7));
        QCOMPARE(tokenIn(*server, 7), QStringLiteral("mona"));
    }

    void beforeGitHubReplacesItItIsMovedToItsOwner()
    {
        const auto gitHub = storeOf(LoginOrigin::gitHub());
        save(*gitHub, "github", 7);
        QCOMPARE(tokenIn(*gitHub, 7), QStringLiteral("github"));
        QCOMPARE(tokenIn(*storeOf(kServer), 7), QStringLiteral("mona"));
        QVERIFY(!isTokenInherited(*m_preferences, 7));
    }

    void aNewerOneOfTheOwnerIsNotReplacedByTheMove()
    {
        serviceOf(kServer).credentials.insert(7, credential("newer"));
        save(*storeOf(LoginOrigin::gitHub()), "github", 7);
        QCOMPARE(tokenIn(*storeOf(kServer), 7), QStringLiteral("newer"));
    }

    void whatCannotBeMovedIsNotReplaced()
    {
        const auto gitHub = storeOf(LoginOrigin::gitHub());
        serviceOf(kServer).saveFailure = std::make_exception_ptr(kLocked);
        QVERIFY(await(gitHub->save(credential("github"), 7, Interaction::Allowed)).failedWith(kLocked));
        QCOMPARE(tokenIn(*storeOf(kServer), 7), QStringLiteral("mona"));
    }

    void whatIsNoCredentialNeedNotBeMoved()
    {
        const auto gitHub = storeOf(LoginOrigin::gitHub());
        serviceOf(LoginOrigin::gitHub()).loadFailure = std::make_exception_ptr(DecodingError(QStringLiteral("bad")));
        save(*gitHub, "github", 7);
        serviceOf(LoginOrigin::gitHub()).loadFailure = nullptr;
        QCOMPARE(tokenIn(*gitHub, 7), QStringLiteral("github"));
    }

    void theOwnerUnlocksWhereItsCredentialsStand()
    {
        forgetInheritedToken(m_preferences.get(), 8);
        awaitValue(storeOf(kServer)->unlock({7, 8, 9}));
        QCOMPARE(unlockedIn(kServer), (QList<qint64>{7, 8, 9}));
        QCOMPARE(unlockedIn(LoginOrigin::gitHub()), QList<qint64>{7});
    }

    void gitHubUnlocksNothingOfTheOwners()
    {
        awaitValue(storeOf(LoginOrigin::gitHub())->unlock({7, 9}));
        QCOMPARE(unlockedIn(LoginOrigin::gitHub()), QList<qint64>{9});
        QCOMPARE(unlockedIn(kServer), QList<qint64>());
    }

    void whatIsMovedForTheUserIsUnlockedFirst()
    {
        const auto gitHub = storeOf(LoginOrigin::gitHub());
        awaitValue(gitHub->save(credential("github"), 7, Interaction::Allowed));
        QCOMPARE(unlockedIn(LoginOrigin::gitHub()), QList<qint64>{7});
        QCOMPARE(unlockedIn(kServer), QList<qint64>{7});
    }

    void aServiceIsPreparedForItsOwnCredentials()
    {
        awaitValue(storeOf(kServer)->prepareToSave());
        QCOMPARE(serviceOf(kServer).preparations, 1);
        QCOMPARE(serviceOf(LoginOrigin::gitHub()).preparations, 0);
        awaitValue(storeOf(LoginOrigin::gitHub())->prepareToSave());
        QCOMPARE(serviceOf(kServer).preparations, 1);
        QCOMPARE(serviceOf(LoginOrigin::gitHub()).preparations, 1);
    }

    void aStoreOutlivesThePreferences()
    {
        const auto server = storeOf(kServer);
        serviceOf(kServer).isHoldingSaves = true;
        const auto saved = start(server->save(credential("renewed"), 7, Interaction::Forbidden));
        m_preferences.reset();
        QVERIFY(serviceOf(kServer).release());
        QVERIFY(saved->isDone);
        QCOMPARE(tokenIn(*server, 7), QStringLiteral("renewed"));
    }
};

VELMORA_TEST(OriginCredentialsTest)
#include "origin_credentials_test.moc"
