// SPDX-License-Identifier: MIT
// The real program with a private keyring and two GitHubs that have the same users with the same ids.
#include "program_world.h"

#include "accounts/keychain_credential_store.h"
#include "accounts/login_origin.h"
#include "support/test_main.h"

using namespace velmora;
using namespace velmora::testing;

namespace
{

QString addressOf(const Simulator &gitHub)
{
    return gitHub.url().toString(QUrl::StripTrailingSlash);
}

LoginOrigin originOf(const Simulator &gitHub)
{
    return LoginOrigin(gitHub.url());
}

/// The tokens that were sent to this GitHub, and the bodies with refresh tokens.
QByteArrayList secretsSentTo(const Simulator &gitHub)
{
    QByteArrayList secrets;
    for (const auto &entry : gitHub.log().entries()) {
        if (const auto token = entry.request.header("Authorization"))
            secrets.append(*token);
        if (entry.request.body.contains("refresh_token"))
            secrets.append(entry.request.body);
    }
    return secrets;
}

} // namespace

class HostsTest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Simulator> m_first;
    std::unique_ptr<Simulator> m_second;
    std::unique_ptr<QTemporaryDir> m_home;

    using Variables = QMap<QString, QString>;

    static Variables endpoints(const Simulator &api, const Simulator &login)
    {
        return {{QStringLiteral("VELMORA_API_URL"), addressOf(api)},
            {QStringLiteral("VELMORA_LOGIN_URL"), addressOf(login) + QStringLiteral("/login")},
            {QStringLiteral("VELMORA_WEB_URL"), addressOf(login)}};
    }
    static Variables endpoints(const Simulator &gitHub) { return endpoints(gitHub, gitHub); }

    [[nodiscard]] std::unique_ptr<ProgramRun> run(const char *arguments, const Variables &variables) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), m_home->path());
        environment.insert(QStringLiteral("PATH"), QStringLiteral("/nowhere")); // no browser is found
        environment.insert(QStringLiteral("GITHUB_CLIENT_ID"), simulator::demoClientID());
        environment.remove(QStringLiteral("QT_LOGGING_RULES"));
        for (auto variable = variables.begin(); variable != variables.end(); ++variable)
            environment.insert(variable.key(), *variable);
        auto run = std::make_unique<ProgramRun>(words(arguments), environment);
        run->start();
        if (!run->ends())
            qWarning("%s did not end", arguments);
        return run;
    }

    [[nodiscard]] QByteArray accounts(const Variables &variables) const
    {
        const auto listed = run("accounts --json", variables);
        return listed->code() == 0 ? listed->out().trimmed() : "failed: " + listed->err();
    }

    [[nodiscard]] QString configured(const char *name) const
    {
        return m_home->filePath(QStringLiteral(".config/velmora/") + QString::fromUtf8(name));
    }

    void writeProperties(const Variables &variables) const
    {
        QFile file(configured("velmora.properties"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        for (auto variable = variables.begin(); variable != variables.end(); ++variable)
            file.write(QStringLiteral("%1=%2\n").arg(variable.key(), *variable).toUtf8());
    }

    [[nodiscard]] QJsonObject preferences() const
    {
        QFile file(configured("preferences.json"));
        return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object() : QJsonObject();
    }

    /// Changes the account of this GitHub into what an earlier version saved; returns its id.
    qint64 makeEarlier(const Simulator &gitHub) const
    {
        const QString suffix = QLatin1Char('@') + originOf(gitHub).text();
        QJsonObject earlier;
        const QJsonObject now = preferences();
        for (auto value = now.begin(); value != now.end(); ++value) {
            if (!value.key().startsWith(QLatin1String("hosts.")))
                earlier.insert(value.key().remove(suffix), *value);
        }
        QFile file(configured("preferences.json"));
        if (file.open(QIODevice::WriteOnly))
            file.write(QJsonDocument(earlier).toJson());
        const QString list
            = earlier.value(QLatin1String("github.accounts")).toObject()[QStringLiteral("data")].toString();
        const qint64 id
            = array(QByteArray::fromBase64(list.toLatin1())).at(0).toObject()[QStringLiteral("id")].toInteger();
        KeychainCredentialStore filed(originOf(gitHub).keychainService());
        KeychainCredentialStore plain(LoginOrigin::gitHub().keychainService());
        const auto credential = awaitValue(filed.load(id));
        awaitValue(plain.save(credential.value(), id, Interaction::Forbidden));
        awaitValue(filed.remove(id, Interaction::Forbidden));
        return id;
    }

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        // The same identities, but different tokens.
        auto options = quietSimulator();
        for (auto *gitHub : {&m_first, &m_second}) {
            *gitHub = std::make_unique<Simulator>(options);
            QVERIFY((*gitHub)->start());
            ++options.seed;
        }
    }

    void aTokenIsSentToNoOtherHost()
    {
        QCOMPARE(run("connect", endpoints(*m_first))->code(), 0);
        const QByteArray connected = accounts(endpoints(*m_first));
        QVERIFY2(connected.contains("\"connected\""), connected);
        for (const char *command : {"watch --once", "refresh", "status", "repositories --refresh", "installations"})
            std::ignore = run(command, endpoints(*m_second));
        QCOMPARE(accounts(endpoints(*m_second)), QByteArray("[]"));
        const auto report = run("diagnose", endpoints(*m_second));
        QCOMPARE(report->code(), 0);
        QVERIFY2(!report->out().contains("identity 1"), report->out());
        QCOMPARE(secretsSentTo(*m_second), QByteArrayList());
        // The other host's account was left alone and is there again with its host.
        QCOMPARE(accounts(endpoints(*m_first)), connected);
        QCOMPARE(run("watch --once", endpoints(*m_first))->code(), 0);
    }

    void aRefreshTokenThatIsDueIsSentToNoOtherHost()
    {
        m_first->oauth().settings().accessTokenSeconds = 200;
        QCOMPARE(run("connect", endpoints(*m_first))->code(), 0);
        std::ignore = run("watch --once", endpoints(*m_second));
        std::ignore = run("diagnose", endpoints(*m_second));
        QCOMPARE(secretsSentTo(*m_second), QByteArrayList());
        QCOMPARE(run("watch --once", endpoints(*m_first))->code(), 0);
    }

    void equalIdsOfTwoHostsDoNotOverwriteEachOther()
    {
        QCOMPARE(run("connect", endpoints(*m_first))->code(), 0);
        const QByteArray first = accounts(endpoints(*m_first));
        QCOMPARE(run("connect", endpoints(*m_second))->code(), 0);
        const QByteArray second = accounts(endpoints(*m_second));
        const auto idIn = [](const QByteArray &list) {
            return array(list).at(0).toObject().value(QLatin1String("id")).toInteger();
        };
        QCOMPARE(idIn(first), idIn(second));
        for (const auto &gitHub : {m_first.get(), m_second.get()})
            QCOMPARE(run("watch --once", endpoints(*gitHub))->code(), 0);
        const QByteArrayList toFirst = secretsSentTo(*m_first);
        const QByteArrayList toSecond = secretsSentTo(*m_second);
        for (const QByteArray &secret : toFirst)
            QVERIFY(!toSecond.contains(secret));
        QVERIFY(!toFirst.isEmpty() && !toSecond.isEmpty());
        const QString login = array(second).at(0).toObject().value(QLatin1String("login")).toString();
        QCOMPARE(run(qPrintable(QStringLiteral("accounts remove ") + login), endpoints(*m_second))->code(), 0);
        QCOMPARE(accounts(endpoints(*m_second)), QByteArray("[]"));
        QCOMPARE(accounts(endpoints(*m_first)), first);
        QCOMPARE(run("watch --once", endpoints(*m_first))->code(), 0);
    }

    void endpointsOfTwoHostsAreRefused()
    {
        QCOMPARE(run("connect", endpoints(*m_first))->code(), 0);
        const auto before = m_first->log().entries().size();
        const Variables mixed = endpoints(*m_second, *m_first);
        for (const char *command : {"watch --once", "refresh", "connect"}) {
            const auto refused = run(command, mixed);
            QCOMPARE(refused->code(), 1);
            const QByteArray all = refused->out() + refused->err();
            QVERIFY2(all.contains("No account is used: the API is at 127.0.0.1:"), all);
            QVERIFY2(all.contains("VELMORA_API_URL") && all.contains("VELMORA_LOGIN_URL"), all);
        }
        QVERIFY(m_second->log().entries().empty());
        QCOMPARE(m_first->log().entries().size(), before);
        const auto report = run("diagnose", mixed);
        QVERIFY2(report->out().contains("No account is used: the API is at"), report->out());
        QVERIFY2(!report->out().contains("identity 1"), report->out());
        QCOMPARE(secretsSentTo(*m_second), QByteArrayList());
        // In the file both hosts belong together.
        writeProperties(mixed);
        m_first->log().clear();
        std::ignore = run("watch --once", {});
        QVERIFY(!secretsSentTo(*m_second).isEmpty());
    }

    void whatAnEarlierVersionLeftBelongsToTheHostInTheFile()
    {
        m_first->oauth().settings().accessTokenSeconds = 200;
        QCOMPARE(run("connect", endpoints(*m_first))->code(), 0);
        const QByteArray connected = accounts(endpoints(*m_first));
        const qint64 id = makeEarlier(*m_first);
        writeProperties(endpoints(*m_first));
        // diagnose finds the same account as the program will, without migrating anything.
        const QJsonObject earlier = preferences();
        QVERIFY(run("diagnose", {})->out().contains("identity 1"));
        QCOMPARE(preferences(), earlier);
        QCOMPARE(accounts({}), connected);
        // Another host finds nothing, not even under the names of earlier versions.
        QCOMPARE(accounts(endpoints(*m_second)), QByteArray("[]"));
        const Variables gitHub{{QStringLiteral("VELMORA_LOGIN_URL"), QStringLiteral("https://github.com/login")}};
        QCOMPARE(accounts(gitHub), QByteArray("[]"));
        // Saving the next token removes the one under the earlier name.
        QCOMPARE(run("watch --once", {})->code(), 0);
        KeychainCredentialStore plain(LoginOrigin::gitHub().keychainService());
        QVERIFY(!awaitValue(plain.load(id)));
        QCOMPARE(accounts({}), connected);
    }

    void whatAnEarlierVersionLeftBelongsToGitHubOtherwise()
    {
        QCOMPARE(run("connect", endpoints(*m_first))->code(), 0);
        const qint64 id = makeEarlier(*m_first);
        const QJsonObject earlier = preferences();
        // The host in the environment does not own the accounts of earlier versions.
        for (const char *command : {"watch --once", "accounts --json", "refresh"})
            std::ignore = run(command, endpoints(*m_second));
        QCOMPARE(accounts(endpoints(*m_second)), QByteArray("[]"));
        QCOMPARE(secretsSentTo(*m_second), QByteArrayList());
        // Nor does a host that is written to the file later.
        writeProperties(endpoints(*m_second));
        QCOMPARE(accounts({}), QByteArray("[]"));
        QCOMPARE(
            preferences().value(QLatin1String("github.accounts")), earlier.value(QLatin1String("github.accounts")));
        KeychainCredentialStore plain(LoginOrigin::gitHub().keychainService());
        QVERIFY(awaitValue(plain.load(id)));
        const Variables gitHub{{QStringLiteral("VELMORA_LOGIN_URL"), QStringLiteral("https://github.com/login")}};
        QVERIFY(accounts(gitHub).contains("\"connected\""));
    }
};

VELMORA_TEST(HostsTest)
#include "hosts_test.moc"
