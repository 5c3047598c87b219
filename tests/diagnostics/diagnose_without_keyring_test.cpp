// SPDX-License-Identifier: MIT
// The real program in a session whose keyring is not running.
#include "accounts/github_account.h"
#include "accounts/login_origin.h"
#include "cli/program_run.h"
#include "platform/preferences_file.h"
#include "support/json.h"
#include "support/test_main.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QString kKeyring = QStringLiteral("org.freedesktop.secrets");
/// No server listens at this address, which is on this machine.
const QString kNowhere = QStringLiteral("http://127.0.0.1:1");

} // namespace

class DiagnoseWithoutKeyringTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_home;

    void writeAccounts(const QList<GitHubAccount> &accounts) const
    {
        const QString folder = m_home.filePath(QStringLiteral(".config/velmora"));
        QVERIFY(QDir().mkpath(folder));
        QFile file(folder + QStringLiteral("/preferences.json"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        const LoginOrigin origin{QUrl(kNowhere)};
        const QJsonObject content{
            {origin.preferenceKey(QStringLiteral("github.accounts")), jsonFromPreference(encodeJSON(accounts))}};
        file.write(QJsonDocument(content).toJson());
    }

private Q_SLOTS:
    void theKeyringIsNotStartedByAsking()
    {
        writeAccounts({{7, QStringLiteral("mona"), {}}, {8, QStringLiteral("lisa"), {}}});
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), m_home.path());
        for (const char *name : {"VELMORA_API_URL", "VELMORA_WEB_URL", "VELMORA_LOGIN_URL"})
            environment.insert(QString::fromLatin1(name), kNowhere);
        ProgramRun run({QStringLiteral("diagnose")}, environment);
        run.start();
        QVERIFY(run.ends(50'000));
        QCOMPARE(run.code(), 0);
        const QDBusConnectionInterface *bus = QDBusConnection::sessionBus().interface();
        QVERIFY(bus->activatableServiceNames().value().contains(kKeyring));
        QVERIFY(!bus->isServiceRegistered(kKeyring).value());
        const QByteArrayList lines = run.out().split('\n');
        const auto told = [&](const QByteArray &label) {
            for (const QByteArray &line : lines) {
                if (line.startsWith("  " + label + "  "))
                    return line.mid(label.size() + 2).trimmed();
            }
            return QByteArray();
        };
        QCOMPARE(told("keyring"), QByteArray("not running; the bus starts one when it is needed"));
        QCOMPARE(told("accounts"), QByteArray("2 (2 unknown)"));
        QCOMPARE(told("identities"), QByteArray("not asked without a keyring that is running"));
        QVERIFY(!run.out().contains("identity 1"));
    }
};

VELMORA_TEST(DiagnoseWithoutKeyringTest)
#include "diagnose_without_keyring_test.moc"
