// SPDX-License-Identifier: MIT
#include "accounts/credential_store_error.h"

#include "support/test_main.h"

#include <QSet>
#include <QTest>

using velmora::CredentialStoreError;

class CredentialStoreErrorTest final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyStatusTellsTheUserWhatToDo()
    {
        QSet<QString> descriptions;
        for (const qint32 status :
            {CredentialStoreError::Locked, CredentialStoreError::Dismissed, CredentialStoreError::NoProvider,
                CredentialStoreError::ProviderEnded, CredentialStoreError::Failed, CredentialStoreError::NotAnswering})
            descriptions.insert(CredentialStoreError::keychain(status).description());
        descriptions.insert(CredentialStoreError::invalidData().description());
        QCOMPARE(descriptions.size(), 7);
        QVERIFY(!descriptions.contains(QString()));
    }

    void aMissingProviderNamesWhatCanBeInstalled()
    {
        const QString text = CredentialStoreError::keychain(CredentialStoreError::NoProvider).description();
        for (const char *name : {"gnome-keyring", "KWallet", "KeePassXC"})
            QVERIFY(text.contains(QLatin1String(name)));
    }

    void anyOtherFailureSaysWhatTheKeyringSaid()
    {
        const auto error = CredentialStoreError::keychain(CredentialStoreError::Failed, QStringLiteral("disk full"));
        QCOMPARE(error.description(), QStringLiteral("The keyring failed: disk full"));
        QCOMPARE(
            CredentialStoreError::keychain(-25300).description(), QStringLiteral("The keyring failed: status -25300"));
    }

    void equalityIsTheCaseAndTheStatus()
    {
        const auto locked = CredentialStoreError::keychain(CredentialStoreError::Locked);
        QVERIFY(locked == CredentialStoreError::keychain(CredentialStoreError::Locked, QStringLiteral("detail")));
        QVERIFY(!(locked == CredentialStoreError::keychain(CredentialStoreError::Failed)));
        QVERIFY(!(locked == CredentialStoreError::invalidData()));
        QVERIFY(CredentialStoreError::invalidData() == CredentialStoreError::invalidData());
        QCOMPARE(locked.errorCase(), CredentialStoreError::Case::Keychain);
        QCOMPARE(locked.status(), 1);
    }
};

VELMORA_TEST(CredentialStoreErrorTest)
#include "credential_store_error_test.moc"
