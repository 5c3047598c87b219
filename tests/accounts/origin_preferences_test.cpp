// SPDX-License-Identifier: MIT
#include "accounts/origin_preferences.h"

#include "accounts/earlier_profile.h"
#include "platform/file_preferences.h"
#include "support/await.h"
#include "support/fake_preferences.h"
#include "support/test_main.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace velmora;
using namespace velmora::testing;

namespace
{

const QString kAccounts = QStringLiteral("github.accounts");
const QString kNotified = QStringLiteral("deployments.notifiedFailures");
const QString kShared = QStringLiteral("general.notificationsEnabled");
const LoginOrigin kServer{QUrl(QStringLiteral("https://ghe.example.com/login"))};
const LoginOrigin kOther{QUrl(QStringLiteral("https://other.example.com/login"))};

} // namespace

class OriginPreferencesTest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<FakePreferences> m_all;

    [[nodiscard]] std::unique_ptr<OriginPreferences> of(const LoginOrigin &origin) const
    {
        return std::make_unique<OriginPreferences>(m_all.get(), origin);
    }

private Q_SLOTS:
    void init() { m_all = std::make_unique<FakePreferences>(); }

    void whatBelongsToAccountsStaysWithTheirOrigin()
    {
        const auto server = of(kServer);
        const auto gitHub = of(LoginOrigin::gitHub());
        for (const QString &key : {kAccounts, kNotified}) {
            server->setValue(key, QStringLiteral("server"));
            QVERIFY(!gitHub->value(key));
            gitHub->setValue(key, QStringLiteral("github"));
            QVERIFY(server->value(key) == Preferences::Value(QStringLiteral("server")));
            QVERIFY(m_all->value(key) == Preferences::Value(QStringLiteral("github")));
            QVERIFY(!of(kOther)->value(key));
            server->remove(key);
            QVERIFY(!server->value(key));
            QVERIFY(gitHub->value(key) == Preferences::Value(QStringLiteral("github")));
        }
    }

    void listsStayWithTheirOriginToo()
    {
        const auto server = of(kServer);
        const auto gitHub = of(LoginOrigin::gitHub());
        const auto change = [](const QString &text) {
            return ListChanges{{kNotified, {{text}, {}}}, {kShared, {{text}, {}}}};
        };
        const auto differences = awaitValue(server->changeLists(change(QStringLiteral("server"))));
        QCOMPARE(differences.value(kNotified).added, QStringList(QStringLiteral("server")));
        awaitValue(gitHub->changeLists(change(QStringLiteral("github"))));
        QCOMPARE(server->stringList(kNotified), QStringList(QStringLiteral("server")));
        QCOMPARE(m_all->stringList(kNotified), QStringList(QStringLiteral("github")));
        QCOMPARE(m_all->stringList(kShared), (QStringList{QStringLiteral("github"), QStringLiteral("server")}));
        QVERIFY(earlierOwner(*m_all) == LoginOrigin::gitHub());
    }

    void whatBelongsToTheUserIsShared()
    {
        of(kServer)->setValue(kShared, true);
        QVERIFY(of(LoginOrigin::gitHub())->boolean(kShared));
        QVERIFY(m_all->boolean(kShared));
        of(LoginOrigin::gitHub())->remove(kShared);
        QVERIFY(!of(kServer)->value(kShared));
    }

    void aChangeIsToldToItsOriginAndUnderThePlainKey()
    {
        const auto server = of(kServer);
        const auto gitHub = of(LoginOrigin::gitHub());
        QSignalSpy toServer(server.get(), &Preferences::changed);
        QSignalSpy toGitHub(gitHub.get(), &Preferences::changed);
        m_all->setValue(kServer.preferenceKey(kAccounts), QStringLiteral("a"));
        QCOMPARE(toServer, QList<QVariantList>{{kAccounts}});
        QVERIFY(toGitHub.isEmpty());
        m_all->setValue(kAccounts, QStringLiteral("b"));
        QCOMPARE(toServer.count(), 1);
        QCOMPARE(toGitHub, QList<QVariantList>{{kAccounts}});
        m_all->setValue(kShared, true);
        QCOMPARE(toServer.last(), QVariantList{kShared});
        QCOMPARE(toGitHub.last(), QVariantList{kShared});
        m_all->setValue(QStringLiteral("general.a@b"), true);
        QCOMPARE(toServer.last(), QVariantList{QStringLiteral("general.a@b")});
    }

    void whatBecomesOfTheFileIsPassedOn()
    {
        const auto server = of(kServer);
        QSignalSpy failures(server.get(), &Preferences::failureChanged);
        QSignalSpy ends(server.get(), &Preferences::settled);
        QSignalSpy damages(server.get(), &Preferences::damageFound);
        Q_EMIT m_all->failureChanged();
        Q_EMIT m_all->settled();
        Q_EMIT m_all->damageFound(QStringLiteral("damaged"));
        QCOMPARE(failures.count(), 1);
        QCOMPARE(ends.count(), 1);
        QCOMPARE(damages, QList<QVariantList>{{QStringLiteral("damaged")}});
        QVERIFY(!server->isSaving());
        QCOMPARE(server->failure(), QString());
    }

    void theirFailureIsThatOfTheFile()
    {
        FilePreferences homeless((QString()));
        QVERIFY(!homeless.failure().isEmpty());
        QCOMPARE(OriginPreferences(&homeless, kServer).failure(), homeless.failure());
        const QTemporaryDir folder;
        FilePreferences preferences(folder.filePath(QStringLiteral("preferences.json")));
        OriginPreferences server(&preferences, kServer);
        server.setValue(kAccounts, QByteArray("[]"));
        QVERIFY(server.isSaving());
        preferences.flush();
        QVERIFY(!server.isSaving());
    }

    void whatGitHubWritesIsNobodyElsesEarlierAccount()
    {
        of(LoginOrigin::gitHub())->setValue(kShared, true);
        of(kServer)->setValue(kAccounts, QByteArray("[]"));
        QVERIFY(!earlierOwner(*m_all));
        of(LoginOrigin::gitHub())->setValue(kAccounts, QByteArray("[]"));
        QCOMPARE(earlierOwner(*m_all), std::optional(LoginOrigin::gitHub()));
        fileEarlierProfile(m_all.get(), QString(), kServer);
        QVERIFY(m_all->value(kAccounts) == Preferences::Value(QByteArray("[]")));
    }
};

VELMORA_TEST(OriginPreferencesTest)
#include "origin_preferences_test.moc"
