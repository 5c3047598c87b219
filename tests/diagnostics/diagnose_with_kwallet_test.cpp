// SPDX-License-Identifier: MIT
// The real program beside the real KWallet.
#include "keyring/private_wallet.h"

#include "cli/program_run.h"
#include "support/test_main.h"

#include <QTest>

using namespace velmora::testing;

class DiagnoseWithKWalletTest : public QObject
{
    Q_OBJECT

private:
    static QByteArray keyringLine()
    {
        ProgramRun run({QStringLiteral("diagnose")}, QProcessEnvironment::systemEnvironment());
        run.start();
        if (!run.ends())
            return "did not end";
        for (const QByteArray &line : run.out().split('\n')) {
            if (line.startsWith("  keyring  "))
                return line.sliced(qstrlen("  keyring  ")).trimmed();
        }
        return run.out();
    }

private Q_SLOTS:
    void aWalletIsUnlockedWhenTheLoginHasOpenedIt()
    {
        PrivateWallet wallet;
        wallet.start();
        QCOMPARE(keyringLine(), QByteArray("kwalletd5, unlocked"));
        QVERIFY(!wallet.isAsking());
        wallet.startLocked();
        QCOMPARE(keyringLine(), QByteArray("kwalletd5, locked"));
        QVERIFY(!wallet.isAsking());
    }
};

VELMORA_TEST(DiagnoseWithKWalletTest)
#include "diagnose_with_kwallet_test.moc"
