// SPDX-License-Identifier: MIT
#include "diagnostics/probe.h"
#include "diagnostics/texts.h"
#include "support/test_main.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace velmora;
using namespace std::chrono_literals;

namespace
{

const Instant kNow(std::chrono::seconds(1'800'000'000));

} // namespace

class DiagnosisTextsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theReportHasTwoColumnsUnderHeadings()
    {
        const QList<FindingSection> sections{{QStringLiteral("One"), {{QStringLiteral("a"), QStringLiteral("x")}}},
            {QStringLiteral("Empty"), {{QStringLiteral("none"), QString()}}},
            {QStringLiteral("Two"),
                {{QStringLiteral("long"), QStringLiteral("y\n  z")}, {QStringLiteral("left out"), QString()}}}};
        const QStringList expected{QStringLiteral("One"), QStringLiteral("  a         x"), QString(),
            QStringLiteral("Two"), QStringLiteral("  long      y z")};
        QCOMPARE(reportLines(sections), expected);
    }

    void textsOfOtherProgramsAreShownWhenTheyArePlain_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("version");
        const auto row = [](const char *text, const char *name, const char *version) {
            QTest::newRow(text) << QString::fromUtf8(name) << QString::fromUtf8(version);
        };
        row("gnome-keyring-d\n", "gnome-keyring-d", "gnome-keyring-d");
        row("Xfce Notify Daemon", "Xfce Notify Daemon", "Xfce");
        row("1.9.0 (2022-06-27)", "", "1.9.0");
        row("mona@corp.test", "", "");
        row("/home/mona", "", "");
        row("https://corp.test", "", "");
        row("na\x1b[31mme", "", "");
        row("a name of more than forty letters and blanks", "", "a");
        row("1.2.3.4.5.6.7.8.9.10.11", "1.2.3.4.5.6.7.8.9.10.11", "");
        row("\u043c\u043e\u043d\u0430", "", "");
        row("", "", "");
    }
    void textsOfOtherProgramsAreShownWhenTheyArePlain()
    {
        QFETCH(QString, name);
        QFETCH(QString, version);
        const QString text = QString::fromUtf8(QTest::currentDataTag());
        QCOMPARE(plainName(text), name);
        QCOMPARE(plainVersion(text), version);
    }

    void pathsBeginAtHomeOrAreCut()
    {
        const QStringList homes{QStringLiteral("/home/mona"), QStringLiteral("/srv/homes/mona")};
        const auto shown = [&](const char *path) {
            return pathFromHome(QString::fromUtf8(path), homes);
        };
        QCOMPARE(shown("/home/mona/.config/velmora/x"), QStringLiteral("~/.config/velmora/x"));
        QCOMPARE(shown("/srv/homes/mona/x"), QStringLiteral("~/x"));
        QCOMPARE(shown("/home/mona"), QStringLiteral("~"));
        QCOMPARE(shown("/home/monalisa/velmora/x"), QStringLiteral("…/velmora/x"));
        QCOMPARE(shown("/data/mona/velmora/x"), QStringLiteral("…/velmora/x"));
        QCOMPARE(shown("/home/mona/.config/velmora"), QStringLiteral("~/.config/velmora"));
    }

    void theHomeIsWhatTheEnvironmentTells()
    {
        const QTemporaryDir folder;
        const QString link = folder.filePath(QStringLiteral("link"));
        const QString home = QDir(folder.path()).canonicalPath() + QStringLiteral("/home");
        QVERIFY(QDir().mkpath(home) && QFile::link(home, link));
        qputenv("HOME", link.toUtf8() + '/');
        QCOMPARE(homesOfPerson(), (QStringList{link, home}));
        for (const char *bad : {"/", "", "relative"}) {
            qputenv("HOME", bad);
            QVERIFY2(homesOfPerson().isEmpty(), bad);
        }
    }

    void theKindOfGitHubIsToldAndNotItsName_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("https://api.github.com") << "github.com";
        QTest::newRow("https://api.octocorp.ghe.com") << "GHE.com tenant";
        QTest::newRow("https://ghe.corp.test/api/v3") << "Enterprise Server";
        QTest::newRow("https://github.com.evil.test") << "Enterprise Server";
        QTest::newRow("http://127.0.0.1:8080") << "loopback";
        QTest::newRow("http://localhost:8080") << "loopback";
    }
    void theKindOfGitHubIsToldAndNotItsName()
    {
        QFETCH(QString, kind);
        QCOMPARE(gitHubKind(QUrl(QString::fromUtf8(QTest::currentDataTag()))), kind);
    }

    void aProxyIsToldWithoutItsNameAndCredentials()
    {
        Proxy proxy{Proxy::Kind::HTTP, QStringLiteral("corp.test"), 3128, {}, {}};
        QCOMPARE(proxyText(proxy), QStringLiteral("a proxy (http)"));
        proxy.user = QStringLiteral("mona");
        proxy.password = QStringLiteral("secret");
        QCOMPARE(proxyText(proxy), QStringLiteral("a proxy (http), with a user name"));
        proxy.kind = Proxy::Kind::SOCKS5;
        QCOMPARE(proxyText(proxy), QStringLiteral("a proxy (socks5)"));
        QCOMPARE(proxyText(Proxy()), QStringLiteral("none"));
    }

    void theClockIsComparedWithGitHubs_data()
    {
        QTest::addColumn<int>("skew");
        QTest::addColumn<QString>("text");
        QTest::newRow("equal") << 0 << "agrees with GitHub's";
        QTest::newRow("a second") << -1 << "agrees with GitHub's";
        QTest::newRow("ahead") << 5 << "5 s ahead of GitHub's";
        QTest::newRow("behind") << -59 << "59 s behind GitHub's";
        QTest::newRow("wrong") << -7200 << "7,200 s behind GitHub's; the expiry of tokens is misjudged";
    }
    void theClockIsComparedWithGitHubs()
    {
        QFETCH(int, skew);
        QFETCH(QString, text);
        QCOMPARE(clockText(kNow, kNow + std::chrono::seconds(skew)), text);
        QCOMPARE(clockText(std::nullopt, kNow), QStringLiteral("GitHub does not tell its time"));
    }

    void theVersionOfAServerIsTold_data()
    {
        QTest::addColumn<QByteArray>("api");
        QTest::addColumn<QString>("text");
        const QByteArray old = "2022-11-28";
        const QByteArray current = "2026-03-10";
        const QString advice = QStringLiteral(", which knows no API of 2026-03-10: set VELMORA_API_VERSION=2022-11-28");
        QTest::newRow("3.20.9") << current << QStringLiteral("Enterprise Server 3.20.9") + advice;
        QTest::newRow("3.20.10") << old << QStringLiteral("Enterprise Server 3.20.10");
        QTest::newRow("3.21.0") << current << QStringLiteral("Enterprise Server 3.21.0");
        QTest::newRow(" 3.22 ") << current << QStringLiteral("Enterprise Server 3.22");
        QTest::newRow("4.0.1") << current << QStringLiteral("Enterprise Server 4.0.1");
        QTest::newRow("2.22.22") << current << QStringLiteral("Enterprise Server 2.22.22") + advice;
        QTest::newRow("3.20; secret.corp.test")
            << current << QStringLiteral("Enterprise Server of a version that cannot be read");
    }
    void theVersionOfAServerIsTold()
    {
        QFETCH(QByteArray, api);
        QFETCH(QString, text);
        QCOMPARE(serverText(QByteArray(QTest::currentDataTag()), api), text);
        QCOMPARE(serverText(std::nullopt, api), QString());
    }

    void rateLimitsAreTold_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow(R"({"resources":{"core":{"limit":5000,"remaining":4990,"reset":1800001801},
            "graphql":{"limit":5000,"remaining":4312,"reset":1800001800}}})")
            << "graphql 4,312 of 5,000 left, resets in 30 min; core 4,990 of 5,000 left, resets in 31 min";
        QTest::newRow(R"({"resources":{"graphql":{"limit":5000,"remaining":0,"reset":1}}})")
            << "graphql 0 of 5,000 left";
        QTest::newRow(R"({"resources":{"graphql":{"limit":"many","remaining":0}}})") << "";
        QTest::newRow(R"({"message":"secret"})") << "";
        QTest::newRow("secret") << "";
    }
    void rateLimitsAreTold()
    {
        QFETCH(QString, text);
        QCOMPARE(rateLimitsText(QTest::currentDataTag(), kNow), text);
    }

    void smallTexts()
    {
        QCOMPARE(answerText(200, 1234ms), QStringLiteral("HTTP 200 in 1,234 ms"));
        QCOMPARE(answerText(std::nullopt, 5ms), QStringLiteral("an answer that is not HTTP in 5 ms"));
        QCOMPARE(identityCountsText({}), QStringLiteral("none"));
        QCOMPARE(identityCountsText({3, 1, 1}), QStringLiteral("3 (1 connected, 1 to be connected again, 1 unknown)"));
        QCOMPARE(identityCountsText({2, 2, 0}), QStringLiteral("2 (2 connected)"));
    }
};

VELMORA_TEST(DiagnosisTextsTest)
#include "diagnosis_texts_test.moc"
