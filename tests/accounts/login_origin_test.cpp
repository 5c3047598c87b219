// SPDX-License-Identifier: MIT
#include "accounts/login_origin.h"

#include "support/test_main.h"

#include <QSet>
#include <QTest>

using namespace velmora;

namespace
{

LoginOrigin origin(const char *login)
{
    return LoginOrigin(QUrl(QString::fromUtf8(login)));
}

} // namespace

class LoginOriginTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theOriginIsSchemeHostAndPort_data()
    {
        QTest::addColumn<QString>("text");
        const auto row = [](const char *login, const char *text) {
            QTest::newRow(login) << QString::fromUtf8(text);
        };
        row("https://github.com/login", "https://github.com");
        row("https://GitHub.COM:443/login/", "https://github.com");
        row("https://ghe.example.com/a/b/login", "https://ghe.example.com");
        row("https://ghe.example.com:8443/login", "https://ghe.example.com:8443");
        row("https://ghe.example.com:80/login", "https://ghe.example.com:80");
        row("http://localhost:80/login", "http://localhost");
        row("http://127.0.0.1:8080/login", "http://127.0.0.1:8080");
        row("http://[::1]:8080/login", "http://[::1]:8080");
        row("https://bücher.example/login", "https://xn--bcher-kva.example");
    }
    void theOriginIsSchemeHostAndPort()
    {
        QFETCH(QString, text);
        const LoginOrigin made = origin(QTest::currentDataTag());
        QCOMPARE(made.text(), text);
        QCOMPARE(LoginOrigin(QUrl(made.text())), made);
    }

    void gitHubKeepsThePlainNames()
    {
        const LoginOrigin gitHub = origin("https://github.com/login");
        QVERIFY(gitHub.isGitHub());
        QCOMPARE(gitHub, LoginOrigin::gitHub());
        QCOMPARE(gitHub.keychainService(), QStringLiteral("com.tarvik.velmora.github"));
        QCOMPARE(gitHub.preferenceKey(QStringLiteral("github.accounts")), QStringLiteral("github.accounts"));
        QCOMPARE(gitHub.folderIn(QStringLiteral("/cache")), QStringLiteral("/cache"));
    }

    void anotherHostHasNamesOfItsOwn()
    {
        const LoginOrigin server = origin("https://ghe.example.com:8443/login");
        QVERIFY(!server.isGitHub());
        QCOMPARE(server.keychainService(), QStringLiteral("com.tarvik.velmora.github@https://ghe.example.com:8443"));
        QCOMPARE(server.preferenceKey(QStringLiteral("github.accounts")),
            QStringLiteral("github.accounts@https://ghe.example.com:8443"));
        QCOMPARE(server.folderIn(QStringLiteral("/cache")), QStringLiteral("/cache/https+ghe.example.com+8443"));
        QCOMPARE(server.folderIn(QString()), QString());
    }

    void noTwoOriginsShareAName()
    {
        const QList<LoginOrigin> origins{origin("https://github.com"), origin("http://github.com:8080"),
            origin("https://github.com:8443"), origin("https://www.github.com"), origin("https://ghe.example.com"),
            origin("https://ghe.example.com:80"), origin("http://localhost"), origin("https://localhost"),
            origin("http://localhost:443"), origin("http://[::1]:1"), origin("http://[::1:1]")};
        QSet<QString> services;
        QSet<QString> keys;
        QSet<QString> folders;
        for (const LoginOrigin &each : origins) {
            services.insert(each.keychainService());
            keys.insert(each.preferenceKey(QStringLiteral("github.accounts")));
            folders.insert(each.folderIn(QStringLiteral("/cache")));
        }
        QCOMPARE(services.size(), origins.size());
        QCOMPARE(keys.size(), origins.size());
        QCOMPARE(folders.size(), origins.size());
    }
};

VELMORA_TEST(LoginOriginTest)
#include "login_origin_test.moc"
