// SPDX-License-Identifier: MIT
#include "installations/installation_record.h"

#include "support/test_main.h"

#include <QTest>

using namespace velmora;

class InstallationRecordTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theKeyJoinsBothIdsInDecimal()
    {
        QCOMPARE(installationKey(12345, 678), QStringLiteral("12345:678"));
        QCOMPARE(installationKey(9'223'372'036'854'775'807LL, -1), QStringLiteral("9223372036854775807:-1"));
    }

    void oneInstallationSeenByTwoIdentitiesHasTwoKeys()
    {
        InstallationRecord record;
        record.identityID = 1;
        record.installation.id = 7;
        const QString first = record.id();
        record.identityID = 2;
        QCOMPARE(first, QStringLiteral("1:7"));
        QCOMPARE(record.id(), QStringLiteral("2:7"));
        QVERIFY(record.isEnabled);
    }
};

VELMORA_TEST(InstallationRecordTest)
#include "installation_record_test.moc"
