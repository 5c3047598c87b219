// SPDX-License-Identifier: MIT
#include "accounts/credential_store_error.h"
#include "accounts/keychain_credential_store.h"
#include "support/await.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class KeychainWithWalletTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aWalletIsStartedUnderItsOwnNameOnItsOwnDesktopOnly()
    {
        KeychainCredentialStore store(QStringLiteral("com.example.velmora.test"));
        GitHubCredential credential;
        credential.accessToken = QStringLiteral("ghu_token");
        qputenv("XDG_CURRENT_DESKTOP", "GNOME");
        const auto none = CredentialStoreError::keychain(CredentialStoreError::NoProvider);
        QVERIFY(await(store.load(42)).failedWith(none));

        qputenv("XDG_CURRENT_DESKTOP", "other:KDE");
        const auto saved = await(store.save(credential, 42, Interaction::Forbidden));
        QVERIFY2(!saved.failure, qPrintable(saved.description()));
        QVERIFY(awaitValue(store.load(42)) == credential);
    }
};

VELMORA_TEST(KeychainWithWalletTest)
#include "keychain_with_wallet_test.moc"
