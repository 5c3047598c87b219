// SPDX-License-Identifier: MIT
#include "accounts/credential_store_error.h"
#include "accounts/keychain_credential_store.h"
#include "support/await.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class KeychainWithoutProviderTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyOperationSaysAtOnceThatThereIsNoKeyring_data()
    {
        QTest::addColumn<QByteArray>("desktop");
        QTest::newRow("GNOME") << QByteArray("GNOME");
        // On KDE the names of KWallet are tried as well.
        QTest::newRow("KDE") << QByteArray("KDE");
    }
    void everyOperationSaysAtOnceThatThereIsNoKeyring()
    {
        QFETCH(QByteArray, desktop);
        qputenv("XDG_CURRENT_DESKTOP", desktop);
        KeychainCredentialStore store(QStringLiteral("com.example.velmora.test"));
        const auto none = CredentialStoreError::keychain(CredentialStoreError::NoProvider);
        QVERIFY(await(store.load(42)).failedWith(none));
        QVERIFY(await(store.save({}, 42, Interaction::Forbidden)).failedWith(none));
        QVERIFY(await(store.save({}, 42, Interaction::Allowed)).failedWith(none));
        QVERIFY(await(store.remove(42, Interaction::Allowed)).failedWith(none));
    }
};

VELMORA_TEST(KeychainWithoutProviderTest)
#include "keychain_without_provider_test.moc"
