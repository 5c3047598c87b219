// SPDX-License-Identifier: MIT
#include "accounts/credential_store_error.h"
#include "accounts/keychain_credential_store.h"
#include "support/await.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

class KeychainWithoutBusTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aSessionWithoutABusHasNoKeyring()
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
        KeychainCredentialStore store(QStringLiteral("com.example.velmora.test"));
        const auto none = CredentialStoreError::keychain(CredentialStoreError::NoProvider);
        QVERIFY(await(store.load(42)).failedWith(none));
        QVERIFY(await(store.remove(42, Interaction::Allowed)).failedWith(none));
    }
};

VELMORA_TEST(KeychainWithoutBusTest)
#include "keychain_without_bus_test.moc"
