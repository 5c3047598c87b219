// SPDX-License-Identifier: MIT
#include "accounts/in_memory_credential_store.h"

#include "support/await.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

GitHubCredential credential(const char *token)
{
    GitHubCredential made;
    made.accessToken = QLatin1String(token);
    return made;
}

} // namespace

class InMemoryCredentialStoreTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aSecondSaveReplacesTheFirst()
    {
        InMemoryCredentialStore store;
        awaitValue(store.save(credential("first"), 42, Interaction::Forbidden));
        awaitValue(store.save(credential("second"), 42, Interaction::Allowed));
        QVERIFY(awaitValue(store.load(42)) == credential("second"));
        // Loading does not consume the credential.
        QVERIFY(awaitValue(store.load(42)) == credential("second"));
    }

    void accountsDoNotMix()
    {
        InMemoryCredentialStore store;
        awaitValue(store.save(credential("short"), 42, Interaction::Forbidden));
        awaitValue(store.save(credential("long"), 420, Interaction::Forbidden));
        awaitValue(store.remove(42, Interaction::Forbidden));
        QVERIFY(!awaitValue(store.load(42)));
        QVERIFY(awaitValue(store.load(420)) == credential("long"));
    }

    void aMissingCredentialIsNoError()
    {
        InMemoryCredentialStore store;
        QVERIFY(!awaitValue(store.load(1)));
        QVERIFY(!await(store.remove(1, Interaction::Forbidden)).failure);
    }
};

VELMORA_TEST(InMemoryCredentialStoreTest)
#include "in_memory_credential_store_test.moc"
