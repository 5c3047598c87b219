// SPDX-License-Identifier: MIT
#include "accounts/earlier_profile.h"

#include "support/fake_preferences.h"
#include "support/test_main.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const LoginOrigin kServer{QUrl(QStringLiteral("https://ghe.example.com/login"))};
const QByteArray kTwoAccounts = R"([{"id":7,"login":"mona"},{"id":8,"login":"lisa"}])";

QMap<QString, Preferences::Value> earlierValues()
{
    return {{QStringLiteral("github.accounts"), kTwoAccounts},
        {QStringLiteral("github.connections"), QStringList{QStringLiteral("7:1")}},
        {QStringLiteral("github.endedSessions"), QStringList{QStringLiteral("8:0123456789abcdef")}},
        {QStringLiteral("github.disabledInstallations"), QStringList{QStringLiteral("7:1")}},
        {QStringLiteral("github.excludedRepositories"), QStringList{QStringLiteral("a/b"), QStringLiteral("c/d")}},
        {QStringLiteral("deployments.notifiedFailures"), QStringList{QStringLiteral("D1:failure")}},
        {QStringLiteral("deployments.notifiedSuccesses"), QStringList{QStringLiteral("D2:success")}}};
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class EarlierProfileTest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> m_cache;
    std::unique_ptr<FakePreferences> m_preferences;

    [[nodiscard]] QString cached(const LoginOrigin &origin) const
    {
        return origin.folderIn(m_cache->path()) + QStringLiteral("/deployments.json");
    }

    void saveDeployments(const LoginOrigin &origin, const QByteArray &content) const
    {
        QVERIFY(QDir().mkpath(origin.folderIn(m_cache->path())));
        QFile file(cached(origin));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    void fileFor(const LoginOrigin &owner) const { fileEarlierProfile(m_preferences.get(), m_cache->path(), owner); }

private Q_SLOTS:
    void init()
    {
        m_cache = std::make_unique<QTemporaryDir>();
        m_preferences = std::make_unique<FakePreferences>();
    }

    void gitHubKeepsWhereItStands()
    {
        m_preferences->values = earlierValues();
        saveDeployments(LoginOrigin::gitHub(), "saved");
        fileFor(LoginOrigin::gitHub());
        const auto values = earlierValues();
        for (auto value = values.begin(); value != values.end(); ++value)
            QVERIFY(m_preferences->value(value.key()) == *value);
        QCOMPARE(contentOf(cached(LoginOrigin::gitHub())), QByteArray("saved"));
        QVERIFY(!isTokenInherited(*m_preferences, 7));
        QCOMPARE(earlierOwner(*m_preferences), std::optional(LoginOrigin::gitHub()));
    }

    void anotherHostIsGivenEverything()
    {
        m_preferences->values = earlierValues();
        m_preferences->values.insert(QStringLiteral("general.notificationsEnabled"), true);
        saveDeployments(LoginOrigin::gitHub(), "saved");
        fileFor(kServer);
        const auto values = earlierValues();
        for (auto value = values.begin(); value != values.end(); ++value) {
            QVERIFY(!m_preferences->values.contains(value.key()));
            QVERIFY(m_preferences->value(kServer.preferenceKey(value.key())) == *value);
        }
        QVERIFY(m_preferences->boolean(QStringLiteral("general.notificationsEnabled")));
        QVERIFY(!QFile::exists(cached(LoginOrigin::gitHub())));
        QCOMPARE(contentOf(cached(kServer)), QByteArray("saved"));
        QVERIFY(isTokenInherited(*m_preferences, 7));
        QVERIFY(isTokenInherited(*m_preferences, 8));
        QVERIFY(!isTokenInherited(*m_preferences, 9));
        forgetInheritedToken(m_preferences.get(), 7);
        QVERIFY(!isTokenInherited(*m_preferences, 7));
        QVERIFY(isTokenInherited(*m_preferences, 8));
    }

    void itHappensOnce_data()
    {
        QTest::addColumn<bool>("isGitHubFirst");
        QTest::newRow("first github.com") << true;
        QTest::newRow("first another host") << false;
    }
    void itHappensOnce()
    {
        QFETCH(bool, isGitHubFirst);
        m_preferences->values = earlierValues();
        fileFor(isGitHubFirst ? LoginOrigin::gitHub() : kServer);
        m_preferences->values.insert(QStringLiteral("github.accounts"), QByteArray("[]"));
        const auto before = m_preferences->values;
        saveDeployments(LoginOrigin::gitHub(), "of github.com");
        fileFor(isGitHubFirst ? kServer : LoginOrigin::gitHub());
        QCOMPARE(m_preferences->values, before);
        QCOMPARE(contentOf(cached(LoginOrigin::gitHub())), QByteArray("of github.com"));
    }

    void aNewProfileIsNotTouched()
    {
        m_preferences->values.insert(QStringLiteral("general.notificationsEnabled"), true);
        saveDeployments(LoginOrigin::gitHub(), "saved");
        fileFor(kServer);
        QVERIFY(m_preferences->writes.isEmpty());
        QCOMPARE(contentOf(cached(LoginOrigin::gitHub())), QByteArray("saved"));
    }

    void anEndInBetweenLosesNothing()
    {
        // The files were moved before the program ended; the preferences were not written yet.
        m_preferences->values = earlierValues();
        saveDeployments(kServer, "moved");
        fileFor(kServer);
        QCOMPARE(contentOf(cached(kServer)), QByteArray("moved"));
        QVERIFY(m_preferences->values.contains(kServer.preferenceKey(QStringLiteral("github.accounts"))));
    }

    void deploymentsThatCannotBeMovedAreNobodys()
    {
        m_preferences->values = earlierValues();
        saveDeployments(LoginOrigin::gitHub(), "saved");
        QFile obstacle(kServer.folderIn(m_cache->path()));
        QVERIFY(obstacle.open(QIODevice::WriteOnly));
        fileFor(kServer);
        QVERIFY(!QFile::exists(cached(LoginOrigin::gitHub())));
        QVERIFY(isTokenInherited(*m_preferences, 7));
    }

    void aListThatCannotBeReadIsMovedAsItIs()
    {
        m_preferences->values.insert(QStringLiteral("github.accounts"), QByteArray("nonsense"));
        fileFor(kServer);
        QVERIFY(m_preferences->value(kServer.preferenceKey(QStringLiteral("github.accounts")))
            == Preferences::Value(QByteArray("nonsense")));
    }
};

VELMORA_TEST(EarlierProfileTest)
#include "earlier_profile_test.moc"
