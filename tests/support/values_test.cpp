// SPDX-License-Identifier: MIT
#include "support/alphabetical_order.h"
#include "support/erased.h"
#include "support/error.h"
#include "support/test_main.h"
#include "support/web_address.h"

#include <stdexcept>

#include <QTest>

using namespace velmora;
using namespace std::chrono_literals;

class ValuesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aSecretIsOverwrittenWhereItLay()
    {
        QByteArray secret("ghu_secret");
        const char *const place = secret.constData();
        erase(secret);
        QCOMPARE(QByteArray(place, 10), QByteArray(10, '\0'));
    }

    void aSecretThatIsStillInUseElsewhereIsLeftAlone()
    {
        QByteArray secret("ghu_secret");
        const QByteArray other = secret;
        erase(secret);
        QCOMPARE(other, QByteArray("ghu_secret"));
        QByteArray nothing;
        erase(nothing);
        QVERIFY(nothing.isEmpty());
    }

    void onlyWebAddressesWithAHostAreOpenable_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isOpenable");
        QTest::newRow("https") << "https://github.com/acme/site" << true;
        QTest::newRow("http") << "http://build.test:8080/x?y#z" << true;
        QTest::newRow("upper case") << "HTTPS://GITHUB.COM/" << true;
        QTest::newRow("empty") << "" << false;
        QTest::newRow("no host") << "https:///path" << false;
        QTest::newRow("relative") << "/path" << false;
        QTest::newRow("host alone") << "github.com" << false;
        QTest::newRow("file") << "file:///etc/passwd" << false;
        QTest::newRow("script") << "javascript:alert(1)" << false;
        QTest::newRow("other scheme") << "ssh://github.com/acme" << false;
        QTest::newRow("bad port") << "https://github.com:x/" << false;
    }

    void onlyWebAddressesWithAHostAreOpenable()
    {
        QFETCH(QString, text);
        QFETCH(bool, isOpenable);
        QCOMPARE(WebAddress(text).isOpenable(), isOpenable);
    }

    void aPathComponentIsAppendedAndEscaped()
    {
        const auto appended = [](const char *address, const char *component) {
            return WebAddress(QString::fromUtf8(address)).appendingPathComponent(QString::fromUtf8(component)).text();
        };
        QCOMPARE(appended("https://x.test/o/r", "deployments"), QStringLiteral("https://x.test/o/r/deployments"));
        QCOMPARE(appended("https://x.test/o/r/", "deployments"), QStringLiteral("https://x.test/o/r/deployments"));
        QCOMPARE(appended("https://x.test", "a"), QStringLiteral("https://x.test/a"));
        QCOMPARE(appended("https://x.test/o?q=1#f", "a"), QStringLiteral("https://x.test/o/a"));
        QCOMPARE(appended("https://x.test/a%2Fb", "c/d e%"), QStringLiteral("https://x.test/a%2Fb/c%2Fd%20e%25"));
    }

    void anAddressIsComparedAsItWasReceived()
    {
        QVERIFY(WebAddress(QStringLiteral("https://X.test")) != WebAddress(QStringLiteral("https://x.test")));
        QVERIFY(WebAddress().isEmpty());
    }

    void namesAreSortedRegardlessOfCaseAndEqualOnesKeepTheirOrder()
    {
        QStringList names{QStringLiteral("b/x"), QStringLiteral("a/Z"), QStringLiteral("A/y"), QStringLiteral("a/z"),
            QStringLiteral("zed"), QStringLiteral("Alice"), QStringLiteral("A/Z")};
        sortAlphabetically(names, [](const QString &name) { return name; });
        QCOMPARE(names,
            QStringList({QStringLiteral("A/y"), QStringLiteral("a/Z"), QStringLiteral("a/z"), QStringLiteral("A/Z"),
                QStringLiteral("Alice"), QStringLiteral("b/x"), QStringLiteral("zed")}));
    }

    void tenThousandNamesAreSorted()
    {
        QStringList names;
        for (int i = 0; i < 10'000; ++i)
            names.append(QStringLiteral("Owner/Repository-%1").arg((i * 7919) % 10'000, 5, 10, QLatin1Char('0')));
        sortAlphabetically(names, [](const QString &name) { return name; });
        QVERIFY(std::ranges::is_sorted(names));
    }

    void textsOfOthersAreCut()
    {
        const QString longest(500, QLatin1Char('x'));
        QCOMPARE(cutText(longest), longest);
        QCOMPARE(cutText(longest + QLatin1Char('x')), longest.first(499) + QChar(0x2026));
        // A character is not cut in half.
        const QString wide = QString(498, QLatin1Char('x')) + QString::fromUtf8("\xf0\x9f\x9a\x80\xf0\x9f\x9a\x80");
        QCOMPARE(cutText(wide), QString(498, QLatin1Char('x')) + QChar(0x2026));
        QCOMPARE(
            TransportError(TransportError::Kind::Network, QString(9000, QLatin1Char('x'))).description().size(), 500);
        QCOMPARE(describe(std::make_exception_ptr(std::runtime_error(std::string(9000, 'x')))).size(), 500);
    }

    void anExceptionIsDescribedInItsOwnWords()
    {
        QCOMPARE(describe(std::make_exception_ptr(FileError(QStringLiteral("No disk.")))), QStringLiteral("No disk."));
        QCOMPARE(describe(std::make_exception_ptr(std::runtime_error("plain"))), QStringLiteral("plain"));
        QCOMPARE(describe(std::make_exception_ptr(7)), QStringLiteral("An unknown error occurred."));
        QVERIFY(isCancellation(std::make_exception_ptr(CancellationError())));
        QVERIFY(!isCancellation(std::make_exception_ptr(std::runtime_error("plain"))));
    }
};

VELMORA_TEST(ValuesTest)
#include "values_test.moc"
