// SPDX-License-Identifier: MIT
#include "private_keyring.h"

#include "accounts/credential_store_error.h"
#include "accounts/keychain_credential_store.h"
#include "support/await.h"

#include <QElapsedTimer>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class KeychainLockedAtStartTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aKeyringThatIsLockedAtStartWorksOnceItIsUnlocked()
    {
        PrivateKeyring keyring;
        KeychainCredentialStore store(QLatin1String{kTestService});
        GitHubCredential credential;
        credential.accessToken = QStringLiteral("ghu_token");
        const auto locked = CredentialStoreError::keychain(CredentialStoreError::Locked);

        QElapsedTimer time;
        time.start();
        QVERIFY(!awaitValue(store.load(42)));
        QVERIFY(await(store.save(credential, 42, Interaction::Forbidden)).failedWith(locked));
        QVERIFY(time.elapsed() < 3000);

        keyring.unlock();
        awaitValue(store.save(credential, 42, Interaction::Forbidden));
        QVERIFY(awaitValue(store.load(42)) == credential);
    }
};

QTEST_GUILESS_MAIN(KeychainLockedAtStartTest)
#include "keychain_locked_at_start_test.moc"
