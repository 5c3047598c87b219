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
/// The bus starts it under a name of its own, which Velmora uses on its desktop.
const QString kWallet = QStringLiteral("org.kde.kwalletd5");
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

    [[nodiscard]] QByteArrayList report(const char *desktop) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), m_home.path());
        environment.insert(QStringLiteral("XDG_CURRENT_DESKTOP"), QString::fromLatin1(desktop));
        for (const char *name : {"VELMORA_API_URL", "VELMORA_WEB_URL", "VELMORA_LOGIN_URL"})
            environment.insert(QString::fromLatin1(name), kNowhere);
        ProgramRun run({QStringLiteral("diagnose")}, environment);
        run.start();
        return run.ends(50'000) && run.code() == 0 ? run.out().split('\n') : QByteArrayList();
    }

    static QByteArray told(const QByteArrayList &lines, const QByteArray &label)
    {
        for (const QByteArray &line : lines) {
            if (line.startsWith("  " + label + "  "))
                return line.mid(label.size() + 2).trimmed();
        }
        return {};
    }

private Q_SLOTS:
    void theKeyringIsNotStartedByAsking()
    {
        writeAccounts({{7, QStringLiteral("mona"), {}}, {8, QStringLiteral("lisa"), {}}});
        const QByteArrayList lines = report("KDE");
        const QDBusConnectionInterface *bus = QDBusConnection::sessionBus().interface();
        const bool isWallet = bus->activatableServiceNames().value().contains(kWallet);
        QVERIFY(isWallet || bus->activatableServiceNames().value().contains(kKeyring));
        for (const QString &name : {kKeyring, kWallet})
            QVERIFY(!bus->isServiceRegistered(name).value());
        const QByteArray startable = "not running; the bus starts one when it is needed";
        QCOMPARE(told(lines, "keyring"), startable);
        QCOMPARE(told(lines, "accounts"), QByteArray("2 (2 unknown)"));
        QCOMPARE(told(lines, "identities"), QByteArray("not asked without a keyring that is running"));
        QVERIFY(!told(lines, "preferences").isEmpty());
        QVERIFY(told(lines, "identity 1").isEmpty());
        QCOMPARE(told(report("GNOME"), "keyring"), isWallet ? QByteArray("none") : startable);
    }
};

VELMORA_TEST(DiagnoseWithoutKeyringTest)
#include "diagnose_without_keyring_test.moc"
